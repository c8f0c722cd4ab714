#include "page/read/LogReader.h"

#include "ctl/evidence/EvidenceFolder.h"
#include "page/read/SectionLines.h"

#include <gtest/gtest.h>

#include <fstream>

#include <fcntl.h>

namespace ctl
{
namespace
{

constexpr Wall SET = 1794535648; // 2026-11-13 02:07:28

class LogReaderFixture : public testing::Test
{
protected:
    LogReaderFixture()
    {
        mData.mProcess = "tbrd";
        mData.mPid = 66;
        mData.mResource = "cpu";
        mData.mWall = SET;
    }

    /** Writes the log of the set's day. */
    void WriteLog(const std::string& text) { mFolder.Write("root.111326_00001.log", text); }

    void Read() { ReadLogs(mFolder.GetRoot(), mData); }

    EvidenceFolder mFolder;
    ReportData mData;
};

TEST_F(LogReaderFixture, FindsTheBreachOfTheSetAmongOthers)
{
    const std::string breach =
        "CPU threshold exceeded by process : tbrd (66), Threshold : 10 Percent , Usage : ";
    WriteLog("2026-11-13 01:07:28:000 - " + breach + "50.00 Percent\n" + "2026-11-13 02:07:28:000 - " +
             breach + "95.00 Percent\n" +
             "2026-11-13 02:07:28:000 - Memory threshold exceeded by process : tbrd (66), Threshold : 1 " +
             "MB , Usage : 2.00 MB\n" + "2026-11-13 03:07:28:000 - " + breach + "99.00 Percent\n");
    Read();
    ASSERT_TRUE(mData.mBreach);
    EXPECT_EQ(mData.mBreach->reading, 95);
    EXPECT_EQ(mData.mEvents.size(), 3u);
    EXPECT_TRUE(mData.mNotes.empty());
}

TEST_F(LogReaderFixture, KeepsTheReadingsOfItsCounterAlone)
{
    WriteLog("2026-11-13 02:06:28:000 - CPU usage for process tbrd(66) : 91.00 Percent\n"
             "2026-11-13 02:06:28:000 - CPU usage for process tbrd(67) : 92.00 Percent\n"
             "2026-11-13 02:06:28:000 - Memory usage for process tbrd(66) : 93.00 MB\n");
    Read();
    ASSERT_EQ(mData.mReadings.size(), 1u);
    EXPECT_EQ(mData.mReadings[0].reading, 91);
}

TEST_F(LogReaderFixture, KnowsTheResourceOfASetByTheBreachBeforeIt)
{
    const std::string cpu = "CPU threshold exceeded by process : tbrd (66), Threshold : 1 Percent , Usage : ";
    const std::string memory =
        "Memory threshold exceeded by process : tbrd (66), Threshold : 1 MB , Usage : ";
    const std::string capture = "Taking Process Dump (Count #1) for process tbrd (66).\n";
    WriteLog("2026-11-13 02:07:28:000 - " + cpu + "95.00 Percent\n" + "2026-11-13 02:07:28:001 - " + capture +
             "2026-11-13 02:07:28:002 - " + memory + "2.00 MB\n" + "2026-11-13 02:07:28:003 - " + capture);
    Read();
    ASSERT_EQ(mData.mEvents.size(), 3u) << "the breach of memory is none of this set";
    EXPECT_EQ(mData.mEvents[1].resource, "cpu");
    EXPECT_EQ(mData.mEvents[2].resource, "memory");
}

TEST_F(LogReaderFixture, ShowsTheErrorOfAStopBeforeTheSet)
{
    WriteLog("2026-11-13 01:07:28:000 - Error:Tarnhaven configuration has invalid values.\n"
             "2026-11-13 01:07:28:001 - Tarnhaven Health Sentinel Service stopped.\n");
    Read();
    ASSERT_EQ(mData.mEvents.size(), 2u);
    EXPECT_EQ(mData.mEvents[0].kind, LogEventKind::Failure);
}

TEST_F(LogReaderFixture, GivesLinesWithoutANameToTheSetThatBeganLast)
{
    WriteLog("2026-11-13 02:07:28:000 - Taking Process Dump (Count #1) for process tbrd (66).\n"
             "2026-11-13 02:07:30:000 - Network Performance data collected successfully.\n"
             "2026-11-13 02:17:28:000 - Taking Process Dump (Count #1) for process other (7).\n"
             "2026-11-13 02:17:30:000 - Process specific data collected successfully.\n");
    Read();
    ASSERT_EQ(mData.mEvents.size(), 2u);
    EXPECT_EQ(mData.mEvents[1].detail, "network statistics");
}

TEST_F(LogReaderFixture, ReadsTheLogOfTheDayBeforeToo)
{
    mData.mWall = SET - 2 * 3600; // seven minutes after midnight
    WriteLog("2026-11-13 00:06:28:000 - CPU usage for process tbrd(66) : 2.00 Percent\n");
    mFolder.Write("root.111226_00001.log",
                  "2026-11-12 23:56:28:000 - CPU usage for process tbrd(66) : 1.00 Percent\n");
    Read();
    ASSERT_EQ(mData.mReadings.size(), 2u);
    EXPECT_EQ(mData.mReadings[0].reading, 1);
}

TEST_F(LogReaderFixture, SaysThatThereIsNoLog)
{
    mFolder.Write("other", "");
    Read();
    EXPECT_FALSE(mData.mHasLog);
    EXPECT_EQ(mData.mNotes.at(0), "There is no log of that day in " + mFolder.GetRoot().string() +
                                      ": reading, limit and timeline are not known.");
}

TEST_F(LogReaderFixture, FollowsALinkToTheFolderThatTheOperatorNamed)
{
    WriteLog("2026-11-13 02:06:28:000 - CPU usage for process tbrd(66) : 91.00 Percent\n");
    const std::string link = mFolder.GetPath() + "/logs";
    std::filesystem::create_directory_symlink(mFolder.GetRoot(), link);
    ReadLogs(link, mData);
    EXPECT_TRUE(mData.mHasLog);
    EXPECT_EQ(mData.mReadings.size(), 1u);
}

TEST_F(LogReaderFixture, KeepsAFolderThatCannotBeReadFromOneThatIsAbsent)
{
    ReadLogs(mFolder.GetRoot() / "absent", mData);
    EXPECT_EQ(mData.mLogFailure, "");
    const std::string file = mFolder.Write("file", "");
    ReadLogs(file, mData);
    EXPECT_EQ(mData.mLogFailure, "The folder of the logs, " + file + ", can't be read: Not a directory");
    EXPECT_EQ(mData.mNotes.back(), mData.mLogFailure + ".");
}

TEST_F(LogReaderFixture, OfBinaryTextHasNoEvents)
{
    WriteLog(std::string(300000, '\0') + "\n\xff\xfe\n" + std::string(300000, 'x'));
    Read();
    EXPECT_TRUE(mData.mEvents.empty());
}

TEST(SectionLines, AreCutAtTheirLimitAndPassedOnWhole)
{
    EvidenceFolder folder;
    folder.Write("text", "a\n\n" + std::string(LONGEST_LINE + 10, 'b') + "\nlast");
    const int file = open((folder.GetRoot() / "text").c_str(), O_RDONLY);
    std::vector<std::string> lines;
    EXPECT_TRUE(
        ForEachLine(file, 0, LONGEST_LINE + 18, [&](std::string_view line) { lines.emplace_back(line); }));
    EXPECT_EQ(lines, (std::vector<std::string>{"a", "", std::string(LONGEST_LINE, 'b'), "last"}));
    EXPECT_FALSE(ForEachLine(file, 0, 1 << 20, [](std::string_view) {}));
    close(file);
}

} // namespace
} // namespace ctl
