#pragma once

#include <ctime>
#include <optional>
#include <string>
#include <string_view>

namespace ctl
{

/** What an evidence file holds, by the ending of its name. */
enum class FileKind
{
    Core,
    MemoryPerf,
    Netstat,
    Iostat,
    Mpstat,
    ProcessData,
    HeapDump,
    ThreadDump,
    CustomScript
};

/** The ending of the daemon's name for the kind, "MemoryPerf"; "core" for a core image, which has none. */
const char* GetKindName(FileKind kind);

/** True for every kind but core images and heap dumps. */
constexpr bool IsText(FileKind kind)
{
    return kind != FileKind::Core && kind != FileKind::HeapDump;
}

/** The local time in a file name. The daemon writes no year. */
struct NameStamp
{
    int day = 0;
    int month = 0; ///< 1 to 12
    int hour = 0;
    int minute = 0;
    int second = 0;
};

/** What the name of an evidence file says: PID_DD-MM_HH.MM.SS_LABEL.ENDING. */
struct EvidenceName
{
    int pid = 0;
    NameStamp stamp;
    std::string label; ///< the counter's: "CPU" or "Memory"
    FileKind kind = FileKind::Core;
};

/** Parses a file name; nothing for a name that the daemon doesn't give. */
std::optional<EvidenceName> ParseEvidenceName(std::string_view name);

/** The N of a folder named EvidenceN, in the daemon's own spelling; nothing for any other name. */
std::optional<int> ParseEvidenceNumber(std::string_view name);

/** The number of a folder named after a process id; nothing for any other name. */
std::optional<int> ParsePidFolder(std::string_view name);

/**
 * Finds the year of a stamp: the last one in which the stamp isn't later than a day after `modified`, the
 * time of the file's last change. A copy that lost its times so keeps its day within a year of the copy.
 *
 * Returns seconds since the epoch, by the time zone of this process; `modified` for a day that never was.
 */
std::time_t ResolveStamp(const NameStamp& stamp, std::time_t modified);

} // namespace ctl
