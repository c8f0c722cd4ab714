#include "evidence/SetLoader.h"

#include "base/SafeFile.h"
#include "evidence/FolderReader.h"

#include <algorithm>
#include <tuple>

namespace ctl
{
namespace
{
/** Lets pass the names whose stamps are near those of some sets, whatever the year. */
class StampFilter
{
public:
    void Add(std::time_t time)
    {
        std::tm local = {};
        if (localtime_r(&time, &local) != nullptr) {
            mSeconds.push_back(
                CountSeconds({local.tm_mday, local.tm_mon + 1, local.tm_hour, local.tm_min, local.tm_sec}));
        }
    }

    void Sort() { std::sort(mSeconds.begin(), mSeconds.end()); }

    bool Fits(const NameStamp& stamp) const
    {
        const int seconds = CountSeconds(stamp);
        const auto next = std::lower_bound(mSeconds.begin(), mSeconds.end(), seconds - NEAR);
        return next != mSeconds.end() && *next <= seconds + NEAR;
    }

private:
    static constexpr int NEAR = 4 * 3600; ///< more than a set takes, and than clocks are put forward or back

    /** Seconds from the beginning of a year with months of 31 days. */
    static int CountSeconds(const NameStamp& stamp)
    {
        return (((stamp.month * 31 + stamp.day) * 24 + stamp.hour) * 60 + stamp.minute) * 60 + stamp.second;
    }

    std::vector<int> mSeconds;
};

/**
 * The place of a file among sorted ones; files.size() if it isn't there, or if several answer the
 * description: names that the daemon never gives, of another process id or of days that never were, must not
 * stand for a set of its own.
 */
std::size_t FindFile(const std::vector<FoundFile>& files, const std::string& label, std::time_t time,
                     FileKind kind)
{
    const auto wanted = std::tie(label, time, kind);
    const auto found =
        std::lower_bound(files.begin(), files.end(), wanted, [](const FoundFile& file, const auto& key) {
            return std::tie(file.label, file.file.time, file.file.kind) < key;
        });
    const auto fits = [&files, &wanted](auto file) {
        return file != files.end() && std::tie(file->label, file->file.time, file->file.kind) == wanted;
    };
    const bool isThere = fits(found) && !fits(std::next(found));
    return isThere ? static_cast<std::size_t>(found - files.begin()) : files.size();
}

/** The place of the first file of a set, with one that came later and stands before it now. */
std::size_t FindBegin(const std::vector<FoundFile>& files, const std::string& label, const SetRecord& record)
{
    const std::size_t known = FindFile(files, label, record.time, record.first);
    if (known == files.size()) {
        return known;
    }
    std::size_t begin = known;
    while (begin > 0 && files[begin - 1].label == label && files[begin - 1].file.time == record.time) {
        --begin;
    }
    const bool isAfterASet = begin > 0 && files[begin - 1].label == label &&
                             record.time - files[begin - 1].file.time <= LONGEST_GAP;
    return isAfterASet ? known : begin;
}

void AddThreadDump(EvidenceSet& set, const SetRecord& record, const std::vector<FoundFile>& dumps)
{
    const std::size_t at = FindFile(dumps, set.label, record.dumpTime, FileKind::ThreadDump);
    if (at == dumps.size()) {
        return;
    }
    EvidenceFile dump = dumps[at].file;
    if (record.dumpNumber != record.number) {
        dump.name.insert(0, "../Evidence" + std::to_string(record.dumpNumber) + "/");
    }
    set.sums.Add(dump);
    set.files.push_back(std::move(dump));
    SortByKind(set.files);
}

/** Looks for sets of one folder anew. */
class SetsOfAFolder
{
public:
    /** `pid` is the open folder of the process id, `places` are those of the sets in the tree. */
    SetsOfAFolder(const EvidenceTree& tree, int pid, const std::vector<std::size_t>& places)
        : mTree(tree), mPid(pid), mPlaces(places)
    {
        for (const std::size_t place : places) {
            const SetRecord& record = tree.sets.GetRecord(place);
            mStamps.Add(record.time);
            if (record.HasThreadDump()) {
                mStamps.Add(record.dumpTime);
            }
        }
        mStamps.Sort();
    }

    /** The sets in the order of the places. */
    std::vector<EvidenceSet> Find()
    {
        std::vector<EvidenceSet> sets = Find(true);
        for (std::size_t index = 0; index < sets.size(); ++index) {
            // It has changed, or has stamps of days that never were.
            if (sets[index].sums != mTree.sets.GetRecord(mPlaces[index]).sums) {
                return Find(false);
            }
        }
        return sets;
    }

private:
    std::vector<EvidenceSet> Find(bool isByStamps)
    {
        FolderRules rules;
        if (isByStamps) {
            rules.isWanted = [this](const EvidenceName& name) { return mStamps.Fits(name.stamp); };
        }
        const int number = mTree.sets.GetRecord(mPlaces.front()).number;
        FolderFiles found = Read(number, rules);
        std::vector<EvidenceSet> sets;
        std::map<int, std::vector<std::size_t>> elsewhere; // by the number of the folder of the thread dump
        for (std::size_t index = 0; index < mPlaces.size(); ++index) {
            const SetRecord& record = mTree.sets.GetRecord(mPlaces[index]);
            sets.push_back(Build(mPlaces[index], found));
            if (record.dumpNumber == number) {
                AddThreadDump(sets.back(), record, found.dumps);
            } else if (record.HasThreadDump()) {
                elsewhere[record.dumpNumber].push_back(index);
            }
            found.ApplyMarks(sets.back());
        }
        for (const auto& [other, indexes] : elsewhere) {
            const FolderFiles later = Read(other, rules);
            for (const std::size_t index : indexes) {
                AddThreadDump(sets[index], mTree.sets.GetRecord(mPlaces[index]), later.dumps);
            }
        }
        return sets;
    }

    FolderFiles Read(int number, const FolderRules& rules) const
    {
        const OpenedFile folder = OpenFolder(mPid, "Evidence" + std::to_string(number));
        FolderFiles found = folder.IsOpen() ? ReadEvidenceFolder(folder.file.Get(), rules) : FolderFiles();
        SortFiles(found.files);
        SortFiles(found.dumps);
        return found;
    }

    /** A set with the files that its folder holds now, thread dumps aside. */
    EvidenceSet Build(std::size_t place, FolderFiles& found) const
    {
        const SetRecord& record = mTree.sets.GetRecord(place);
        EvidenceSet set = mTree.sets[place];
        set.isPinned = false;
        set.isHalfDeleted = false;
        set.sums = {};
        std::size_t at = FindBegin(found.files, set.label, record);
        if (at < found.files.size()) {
            EvidenceSet taken = TakeSet(found.files, at);
            set.files = std::move(taken.files);
            set.files.shrink_to_fit();
            set.sums = taken.sums;
        }
        return set;
    }

    const EvidenceTree& mTree;
    const int mPid;
    const std::vector<std::size_t>& mPlaces;
    StampFilter mStamps;
};

/** Sets of one folder as they are now. */
std::vector<EvidenceSet> FindSets(const EvidenceTree& tree, const std::vector<std::size_t>& places)
{
    const OpenedFile process = OpenFolder(tree.folder.Get(), tree.sets.GetProcess(places.front()));
    const std::string pidName = std::to_string(tree.sets.GetRecord(places.front()).pid);
    const OpenedFile pid = process.IsOpen() ? OpenFolder(process.file.Get(), pidName) : OpenedFile();
    return SetsOfAFolder(tree, pid.file.Get(), places).Find();
}
} // namespace

EvidenceSet LoadSet(const EvidenceTree& tree, std::size_t place)
{
    return tree.sets.GetRecord(place).sums.count == 0 ? tree.sets[place] : FindSets(tree, {place}).front();
}

EvidenceSet SetLoader::Load(std::size_t place)
{
    if (mTree.sets.GetRecord(place).sums.count == 0) {
        return mTree.sets[place]; // it never had a file
    }
    auto held = mHeld.find(place);
    if (held == mHeld.end()) {
        ReadFolder(FindNeighbours(place));
        held = mHeld.find(place);
    }
    return held->second;
}

/** The set at a place and those after it in the same folder, among the next ones in the order of time. */
SetLoader::Places SetLoader::FindNeighbours(std::size_t place) const
{
    const auto key = [](const SetRecord& record) {
        return std::tie(record.process, record.pid, record.number);
    };
    const SetRecord& wanted = mTree.sets.GetRecord(place);
    Places places;
    for (std::size_t next = place; next < std::min(place + WINDOW, mTree.sets.size()); ++next) {
        const SetRecord& record = mTree.sets.GetRecord(next);
        if (key(record) == key(wanted) && record.sums.count != 0) {
            places.push_back(next);
        }
    }
    return places;
}

/** Reads sets of one folder. */
void SetLoader::ReadFolder(const Places& places)
{
    mHeld.erase(mHeld.begin(), mHeld.lower_bound(places.front())); // callers go forward
    if (mHeld.size() + places.size() > MOST_HELD) {
        mHeld.clear();
    }
    ++mReads;
    std::vector<EvidenceSet> sets = FindSets(mTree, places);
    for (std::size_t index = 0; index < places.size(); ++index) {
        mHeld.insert_or_assign(places[index], std::move(sets[index]));
    }
}

} // namespace ctl
