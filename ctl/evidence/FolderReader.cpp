#include "evidence/FolderReader.h"

#include "base/SafeFile.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <sys/stat.h>

namespace ctl
{
namespace
{
constexpr std::uint64_t DISK_BLOCK = 512; ///< the unit of st_blocks

bool EndsWith(const std::string& text, const std::string& ending)
{
    return text.size() >= ending.size() &&
           text.compare(text.size() - ending.size(), ending.size(), ending) == 0;
}

bool IsMark(const std::string& name)
{
    return name.front() == '.' && (EndsWith(name, PINNED_MARK) || EndsWith(name, DELETING_MARK));
}

FoundFile MakeFile(std::string name, const EvidenceName& parsed, const struct stat& status)
{
    FoundFile found;
    found.label = parsed.label;
    EvidenceFile& file = found.file;
    file.name = std::move(name);
    file.kind = parsed.kind;
    file.time = ResolveStamp(parsed.stamp, status.st_mtime);
    file.modified = status.st_mtime;
    file.bytes = static_cast<std::uint64_t>(status.st_size);
    file.diskBytes = static_cast<std::uint64_t>(status.st_blocks) * DISK_BLOCK;
    file.device = status.st_dev;
    file.inode = status.st_ino;
    file.obstacle = DescribeFileType(status.st_mode);
    return found;
}

void AddName(int folder, std::string name, const FolderRules& rules, FolderFiles& found)
{
    if (IsMark(name)) {
        found.marks.insert(std::move(name));
        return;
    }
    const std::optional<EvidenceName> parsed = ParseEvidenceName(name);
    if (parsed && rules.isWanted && !rules.isWanted(*parsed)) {
        return;
    }
    struct stat status = {};
    if (fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
        if (errno != ENOENT && rules.addUnseen) {
            rules.addUnseen(name, std::strerror(errno));
        }
    } else if (parsed) {
        auto& files = parsed->kind == FileKind::ThreadDump ? found.dumps : found.files;
        files.push_back(MakeFile(std::move(name), *parsed, status));
    } else if (rules.addStranger) {
        rules.addStranger(name, "is not the daemon's");
    }
}
} // namespace

bool FolderFiles::HasMark(const std::string& fileName, const char* ending) const
{
    return !marks.empty() && marks.count("." + fileName.substr(0, fileName.rfind('.')) + ending) != 0;
}

bool FolderFiles::HasMarkOf(const char* ending) const
{
    return std::any_of(marks.begin(), marks.end(),
                       [ending](const std::string& mark) { return EndsWith(mark, ending); });
}

void FolderFiles::ApplyMarks(EvidenceSet& set) const
{
    for (const EvidenceFile& file : set.files) {
        set.isPinned = set.isPinned || HasMark(file.name, PINNED_MARK);
        set.isHalfDeleted = set.isHalfDeleted || HasMark(file.name, DELETING_MARK);
    }
}

FolderFiles ReadEvidenceFolder(int folder, const FolderRules& rules)
{
    std::vector<std::string> names = ListNames(folder, MOST_NAMES);
    if (names.size() == MOST_NAMES && rules.addUnseen) {
        rules.addUnseen("", TOO_MANY_NAMES);
    }
    FolderFiles found;
    for (std::string& name : names) {
        if (rules.addName) {
            rules.addName();
        }
        AddName(folder, std::move(name), rules, found);
    }
    return found;
}

std::string_view DescribeFileType(mode_t mode)
{
    switch (mode & S_IFMT) {
    case S_IFREG:
        return "";
    case S_IFLNK:
        return "is a symbolic link";
    case S_IFDIR:
        return "is a folder";
    case S_IFIFO:
        return "is a named pipe";
    case S_IFSOCK:
        return "is a socket";
    default:
        return "is a device";
    }
}

} // namespace ctl
