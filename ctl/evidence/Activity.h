#pragma once

#include "evidence/EvidenceTree.h"

#include <ctime>
#include <optional>
#include <string>
#include <vector>

namespace ctl
{

/**
 * What runs on this host now, as far as it shows whether a capture is still at work: the command lines of the
 * daemon's tools name the file that they write. Read once, when it is first asked for.
 */
class Activity
{
public:
    /** `processes` is the folder of processes, /proc; `now` seconds since the epoch. */
    explicit Activity(std::string processes = "/proc", std::time_t now = std::time(nullptr));

    std::time_t GetNow() const { return mNow; }

    /** True if a tool runs that writes the file of this kind of this set. */
    bool IsBeingWritten(const EvidenceTree& tree, const EvidenceSet& set, FileKind kind);

    /** True if a daemon runs. */
    bool HasDaemon();

    /** True if a process of this id exists. */
    bool IsAlive(int pid) const;

private:
    void ReadProcesses();

    const std::string mProcesses;
    const std::time_t mNow;
    bool mIsRead = false;
    bool mHasDaemon = false;
    std::vector<std::string> mLines; ///< command lines that may be those of captures, with blanks
};

/** True if a command line is that of a tool that writes the file of this kind of this set. */
bool IsCaptureLine(const std::string& line, const EvidenceSet& set, FileKind kind);

} // namespace ctl
