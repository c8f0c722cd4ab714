#include "evidence/SetGrouping.h"

#include <algorithm>
#include <tuple>

namespace ctl
{
namespace
{
bool BelongsTo(const EvidenceSet& set, const FoundFile& found)
{
    return set.label == found.label && found.file.time - set.files.back().time <= LONGEST_GAP &&
           set.Find(found.file.kind) == nullptr;
}

bool ComesBefore(const FoundFile& left, const FoundFile& right)
{
    return std::tie(left.label, left.file.time, left.file.kind, left.file.name) <
           std::tie(right.label, right.file.time, right.file.kind, right.file.name);
}
} // namespace

void SortFiles(std::vector<FoundFile>& files)
{
    std::sort(files.begin(), files.end(), ComesBefore);
}

EvidenceSet TakeSet(std::vector<FoundFile>& files, std::size_t& place)
{
    EvidenceSet set;
    set.label = files[place].label;
    set.resource = GetResource(set.label);
    set.time = files[place].file.time;
    do {
        set.files.push_back(std::move(files[place].file));
        ++place;
    } while (place < files.size() && BelongsTo(set, files[place]));
    set.sums = AddUp(set.files);
    SortByKind(set.files);
    return set;
}

} // namespace ctl
