#pragma once

#include "evidence/SetGrouping.h"

#include <functional>
#include <set>
#include <string>
#include <vector>

#include <sys/types.h>

namespace ctl
{

/** Names that are looked at in one folder; what comes after is reported and left alone. */
constexpr std::size_t MOST_NAMES = 100'000;

/** Said of a folder that holds more. */
constexpr char TOO_MANY_NAMES[] = "holds more than 100000 names; the rest was not looked at";

/** Mark of a pinned set, in its folder: a dot, the stem, and this. */
constexpr char PINNED_MARK[] = ".pinned";
/** Mark of a set that is being deleted. */
constexpr char DELETING_MARK[] = ".deleting";

/** What one folder EvidenceN holds. */
struct FolderFiles
{
    std::vector<FoundFile> files; ///< all but thread dumps
    std::vector<FoundFile> dumps; ///< thread dumps
    std::set<std::string> marks;  ///< names of marks

    /** True if a mark of this ending bears the name of a file, its ending aside. */
    bool HasMark(const std::string& fileName, const char* ending) const;
    /** True if there is a mark of this ending. */
    bool HasMarkOf(const char* ending) const;
    /** Reads the marks of a set whose files lie here. */
    void ApplyMarks(EvidenceSet& set) const;
};

/** Says what becomes of the names of a folder. Each may be empty. */
struct FolderRules
{
    std::function<bool(const EvidenceName& name)> isWanted; ///< false: the file isn't looked at
    std::function<void(const std::string& name, const std::string& why)> addStranger; ///< not the daemon's
    std::function<void(const std::string& name, const std::string& why)> addUnseen;   ///< can't be looked at
    std::function<void()> addName;                                                    ///< once for each name
};

/** Looks at the files of an open folder EvidenceN. Nothing of them is read, and no link is followed. */
FolderFiles ReadEvidenceFolder(int folder, const FolderRules& rules);

/** What a file is that can't hold evidence, "is a symbolic link"; empty for a plain file. */
std::string_view DescribeFileType(mode_t mode);

} // namespace ctl
