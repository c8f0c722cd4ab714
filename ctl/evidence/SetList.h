#pragma once

#include "evidence/EvidenceSet.h"

#include <cstdint>
#include <ctime>
#include <deque>
#include <map>
#include <string>

namespace ctl
{

/** What is kept of a set: a few bytes, so that hundreds of thousands fit into memory. */
struct SetRecord
{
    static constexpr int NO_FOLDER = -1;

    std::time_t time = 0;
    std::time_t dumpTime = 0;  ///< the stamp of its thread dump
    std::uint32_t process = 0; ///< place among the names of the list
    std::uint32_t label = 0;   ///< the same
    int pid = 0;
    int number = 0;                  ///< N of the folder EvidenceN
    int dumpNumber = NO_FOLDER;      ///< N of the folder of its thread dump
    FileKind first = FileKind::Core; ///< the kind of its earliest file, thread dumps aside
    bool hasCore = false;
    bool hasHeapDump = false;
    bool hasProcessData = false;
    bool isPinned = false;
    bool isHalfDeleted = false;
    FileSums sums;

    bool HasThreadDump() const { return dumpNumber != NO_FOLDER; }
};

/** What is kept of a thread dump until it is known to which set it belongs. */
struct DumpRecord
{
    std::time_t time = 0;
    int number = 0;          ///< N of its folder
    std::uint32_t label = 0; ///< place among the names of the list
    bool isPinned = false;   ///< a mark bears its name
    bool isHalfDeleted = false;
    FileSums sums; ///< of it alone
};

/** Sets in an order, each as a record. One thread. */
class SetList
{
public:
    SetList() = default;
    SetList(SetList&&) = default;
    SetList& operator=(SetList&&) = default;
    SetList(const SetList&) = delete;
    SetList& operator=(const SetList&) = delete;

    // NOLINTBEGIN(readability-identifier-naming): the names that containers of the language have
    std::size_t size() const { return mRecords.size(); }
    bool empty() const { return mRecords.empty(); }
    // NOLINTEND(readability-identifier-naming)

    /** The set at a place, all but its files: a SetLoader has them. */
    EvidenceSet operator[](std::size_t place) const;

    const SetRecord& GetRecord(std::size_t place) const { return mRecords[place]; }
    /** Valid as long as the list. */
    const std::string& GetProcess(std::size_t place) const { return *mNames[mRecords[place].process]; }
    const std::string& GetLabel(std::size_t place) const { return *mNames[mRecords[place].label]; }

    /** Adds a set, without a thread dump, after the others. */
    void Add(const EvidenceSet& set);

    /** Adds a set that is a thread dump alone. */
    void AddAlone(const std::string& process, int pid, const DumpRecord& dump);

    /** Adds a thread dump to the set at a place. */
    void AddThreadDump(std::size_t place, const DumpRecord& dump);

    /** The place of a name among the names. */
    std::uint32_t GetNamePlace(const std::string& name);

    /** Sorts by time, then folder and label. */
    void Sort();

private:
    std::deque<SetRecord> mRecords;
    std::map<std::string, std::uint32_t> mPlaces;
    std::deque<const std::string*> mNames; ///< the keys of mPlaces by their numbers
};

} // namespace ctl
