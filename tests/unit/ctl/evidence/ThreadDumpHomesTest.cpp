#include "evidence/ThreadDumpHomes.h"

#include <gmock/gmock.h>

using namespace ctl;
using testing::ElementsAre;

namespace
{
class ThreadDumpHomes : public testing::Test
{
protected:
    /** Adds a set of the label "Memory" with a file of each kind. */
    void AddSet(int number, std::time_t time, const std::vector<FileKind>& kinds)
    {
        EvidenceSet set;
        set.process = "adminconsole";
        set.pid = 7;
        set.label = "Memory";
        set.number = number;
        set.time = time;
        for (const FileKind kind : kinds) {
            set.files.emplace_back().kind = kind;
        }
        set.sums = AddUp(set.files);
        mSets.Add(set);
    }

    void AddDump(int number, std::time_t time, const std::string& label = "Memory")
    {
        DumpRecord& dump = mDumps.emplace_back();
        dump.number = number;
        dump.time = time;
        dump.label = mSets.GetNamePlace(label);
        dump.sums.count = 1;
    }

    /** The stamp of the thread dump of each set, 0 where there is none. */
    std::vector<std::time_t> Place()
    {
        PlaceThreadDumps(mSets, 0, "adminconsole", 7, mDumps);
        std::vector<std::time_t> times;
        for (std::size_t place = 0; place < mSets.size(); ++place) {
            times.push_back(mSets.GetRecord(place).dumpTime);
        }
        return times;
    }

    SetList mSets;
    std::vector<DumpRecord> mDumps;
};
} // namespace

TEST_F(ThreadDumpHomes, AreSetsWithAHeapDump)
{
    AddSet(1, 100, {FileKind::HeapDump, FileKind::Netstat});
    AddSet(2, 700, {FileKind::Netstat});
    AddDump(1, 900);
    EXPECT_THAT(Place(), ElementsAre(900, 0));
    EXPECT_EQ(mSets.GetRecord(0).sums.count, 3U);
}

TEST_F(ThreadDumpHomes, AreFoundFromTheFolderOfTheNextSet)
{
    AddSet(1, 100, {FileKind::HeapDump});
    AddSet(2, 700, {FileKind::HeapDump});
    AddDump(2, 1200);
    AddDump(2, 650);
    EXPECT_THAT(Place(), ElementsAre(650, 1200));
    EXPECT_EQ(mSets.GetRecord(0).dumpNumber, 2);
}

TEST_F(ThreadDumpHomes, AreSetsWithoutACoreImageBeforeOthers)
{
    AddSet(1, 100, {FileKind::Netstat});
    AddSet(2, 200, {FileKind::Core});
    AddDump(2, 300);
    EXPECT_THAT(Place(), ElementsAre(300, 0));
}

TEST_F(ThreadDumpHomes, AreSetsOfTheirFolderBeforeLaterOnes)
{
    AddSet(1, 100, {FileKind::HeapDump});
    AddSet(2, 200, {FileKind::HeapDump});
    AddDump(1, 300);
    EXPECT_THAT(Place(), ElementsAre(300, 0));
}

TEST_F(ThreadDumpHomes, OfNoOwnFolderAreTheLatestSet)
{
    AddSet(1, 100, {FileKind::HeapDump});
    AddSet(2, 200, {FileKind::HeapDump});
    AddDump(3, 300);
    EXPECT_THAT(Place(), ElementsAre(0, 300));
}

TEST_F(ThreadDumpHomes, TakeOneThreadDumpEach)
{
    AddSet(1, 100, {FileKind::HeapDump});
    AddSet(1, 200, {FileKind::HeapDump});
    AddDump(1, 300);
    AddDump(1, 400);
    AddDump(1, 500);
    EXPECT_THAT(Place(), ElementsAre(400, 300, 500)) << "the third stands alone";
}

TEST_F(ThreadDumpHomes, AreNoLaterSetsAndNoneOfAnotherLabel)
{
    AddSet(1, 100, {FileKind::HeapDump});
    AddSet(2, 900, {FileKind::HeapDump});
    AddDump(1, 300, "CPU");
    AddDump(1, 99);
    EXPECT_THAT(Place(), ElementsAre(0, 0, 99, 300));
    const EvidenceSet alone = mSets[3];
    EXPECT_EQ(alone.folder, "adminconsole/7/Evidence1");
    EXPECT_EQ(alone.resource, "cpu");
    EXPECT_EQ(alone.time, 300);
}
