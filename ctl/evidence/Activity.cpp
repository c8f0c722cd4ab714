#include "evidence/Activity.h"

#include "base/ProgramNames.h"
#include "base/SafeFile.h"

#include <algorithm>

#include <sys/stat.h>

namespace ctl
{
namespace
{
constexpr std::size_t LONGEST_LINE = std::size_t{16} * 1024;
constexpr std::size_t LONGEST_NAME = 64;

bool Contains(const std::string& text, const std::string& wanted)
{
    return text.find(wanted) != std::string::npos;
}

/** The kind of the file that a path in a command line names, by what comes after the folder. */
std::optional<EvidenceName> ParsePathEnd(const std::string& line, std::size_t at)
{
    const std::size_t end = std::min(line.find_first_of(" \"'", at), line.size());
    const std::string name = line.substr(at, end - at);
    const auto parsed = ParseEvidenceName(name);
    // gcore is given the name without the ending that it adds.
    return parsed ? parsed : ParseEvidenceName(name + "." + name.substr(0, name.find('_')));
}
} // namespace

bool IsCaptureLine(const std::string& line, const EvidenceSet& set, FileKind kind)
{
    const std::string jcmd = "/jcmd " + std::to_string(set.pid) + " ";
    if ((kind == FileKind::HeapDump || kind == FileKind::ThreadDump) && Contains(line, jcmd)) {
        return true;
    }
    // The path before it may be spelt otherwise than here, as the settings have it, or go through a link.
    const std::string folder = "/" + set.folder + "/";
    for (std::size_t at = line.find(folder); at != std::string::npos; at = line.find(folder, at + 1)) {
        const auto name = ParsePathEnd(line, at + folder.size());
        if (name && name->kind == kind && name->label == set.label) {
            return true;
        }
    }
    return false;
}

Activity::Activity(std::string processes, std::time_t now) : mProcesses(std::move(processes)), mNow(now) {}

void Activity::ReadProcesses()
{
    if (mIsRead) {
        return;
    }
    mIsRead = true;
    const OpenedFile folder = OpenFolder(AT_FDCWD, mProcesses);
    for (const std::string& name :
         folder.IsOpen() ? ListNames(folder.file.Get()) : std::vector<std::string>()) {
        if (!ParsePidFolder(name)) {
            continue;
        }
        const FileText command = ReadFile(folder.file.Get(), name + "/comm", LONGEST_NAME);
        mHasDaemon = mHasDaemon || command.text == std::string(SHORT_NAME) + "\n";
        std::string line = ReadFile(folder.file.Get(), name + "/cmdline", LONGEST_LINE).text;
        std::replace(line.begin(), line.end(), '\0', ' ');
        if (Contains(line, "/Evidence") || Contains(line, "/jcmd ")) {
            mLines.push_back(std::move(line));
        }
    }
}

bool Activity::IsBeingWritten(const EvidenceTree& tree, const EvidenceSet& set, FileKind kind)
{
    ReadProcesses();
    const std::string path = tree.GetPath(set);
    return std::any_of(mLines.begin(), mLines.end(),
                       [&](const std::string& line) { return IsCaptureLine(line, set, kind); });
}

bool Activity::HasDaemon()
{
    ReadProcesses();
    return mHasDaemon;
}

bool Activity::IsAlive(int pid) const
{
    struct stat status = {};
    return stat((mProcesses + "/" + std::to_string(pid)).c_str(), &status) == 0;
}

} // namespace ctl
