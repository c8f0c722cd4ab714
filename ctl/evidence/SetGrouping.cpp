#include "evidence/SetGrouping.h"

#include <algorithm>
#include <tuple>

namespace ctl
{
namespace
{
/** Captures of a breach start together; what keeps them apart is the load of the host. */
constexpr std::time_t LONGEST_GAP = 30;

std::string GetFolderName(int number)
{
    return "Evidence" + std::to_string(number);
}

std::string ToSmallLetters(std::string text)
{
    for (char& letter : text) {
        letter = letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
    }
    return text;
}

bool BelongsTo(const EvidenceSet& set, const FoundFile& found)
{
    return set.number == found.number && set.label == found.label &&
           found.file.time - set.files.back().time <= LONGEST_GAP && set.Find(found.file.kind) == nullptr;
}

EvidenceSet BeginSet(const std::string& process, int pid, const FoundFile& found)
{
    EvidenceSet set;
    set.process = process;
    set.pid = pid;
    set.label = found.label;
    set.resource = ToSmallLetters(found.label);
    set.number = found.number;
    set.time = found.file.time;
    set.folder = process + "/" + std::to_string(pid) + "/" + GetFolderName(found.number);
    return set;
}

void PlaceFile(std::vector<EvidenceSet>& sets, const std::string& process, int pid, FoundFile& found)
{
    // The files come folder by folder, so only the last set can be the one.
    if (sets.empty() || !BelongsTo(sets.back(), found)) {
        sets.push_back(BeginSet(process, pid, found));
    }
    sets.back().files.push_back(std::move(found.file));
}

/** True if `left` is the better home for a thread dump of the folder `number`. */
bool IsBetterHome(const EvidenceSet& left, const EvidenceSet& right, int number)
{
    const auto rate = [number](const EvidenceSet& set) {
        return std::make_tuple(set.Find(FileKind::HeapDump) != nullptr, set.Find(FileKind::Core) == nullptr,
                               set.number == number, set.time);
    };
    return rate(left) > rate(right);
}

EvidenceSet* FindHome(std::vector<EvidenceSet>& sets, const FoundFile& dump)
{
    EvidenceSet* home = nullptr;
    for (EvidenceSet& set : sets) {
        const bool fits = set.label == dump.label && set.time <= dump.file.time &&
                          set.Find(FileKind::ThreadDump) == nullptr;
        if (fits && (home == nullptr || IsBetterHome(set, *home, dump.number))) {
            home = &set;
        }
    }
    return home;
}

void PlaceThreadDump(std::vector<EvidenceSet>& sets, const std::string& process, int pid, FoundFile& dump)
{
    EvidenceSet* const home = FindHome(sets, dump);
    if (home == nullptr) {
        sets.push_back(BeginSet(process, pid, dump));
        sets.back().files.push_back(std::move(dump.file));
        return;
    }
    if (home->number != dump.number) {
        dump.file.name = "../" + GetFolderName(dump.number) + "/" + dump.file.name;
    }
    home->files.push_back(std::move(dump.file));
}

bool ComesBefore(const FoundFile& left, const FoundFile& right)
{
    return std::tie(left.number, left.label, left.file.time, left.file.kind) <
           std::tie(right.number, right.label, right.file.time, right.file.kind);
}
} // namespace

std::vector<EvidenceSet> GroupFiles(const std::string& process, int pid, std::vector<FoundFile> files)
{
    std::sort(files.begin(), files.end(), ComesBefore);
    std::vector<EvidenceSet> sets;
    for (FoundFile& found : files) {
        if (found.file.kind != FileKind::ThreadDump) {
            PlaceFile(sets, process, pid, found);
        }
    }
    // Last, when all sets are known that a dump may belong to.
    for (FoundFile& found : files) {
        if (found.file.kind == FileKind::ThreadDump) {
            PlaceThreadDump(sets, process, pid, found);
        }
    }
    for (EvidenceSet& set : sets) {
        set.sums = AddUp(set.files);
        std::sort(set.files.begin(), set.files.end(),
                  [](const EvidenceFile& left, const EvidenceFile& right) {
                      return std::tie(left.kind, left.time) < std::tie(right.kind, right.time);
                  });
    }
    return sets;
}

} // namespace ctl
