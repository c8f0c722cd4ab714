#include "log/EventFeed.h"

#include <gtest/gtest.h>

#include "ctl/evidence/EvidenceFolder.h"

namespace ctl
{
namespace
{

const std::string YESTERDAY = "root.111326_00001.log";
const std::string TODAY = "root.111426_00001.log";
const std::string STAMP = "2026-11-13 02:07:28:045 - ";

std::string Failure(const std::string& name)
{
    return STAMP + "Error:" + name + "\n";
}

class EventFeedFixture : public testing::Test
{
protected:
    void Append(const std::string& name, const std::string& text)
    {
        std::ofstream(mFolder.GetRoot() / name, std::ios::app | std::ios::binary) << text;
    }

    /** Puts a copy of a log in its place. */
    void Replace(const std::string& name)
    {
        std::filesystem::copy(mFolder.GetRoot() / name, mFolder.GetRoot() / "copy");
        std::filesystem::rename(mFolder.GetRoot() / "copy", mFolder.GetRoot() / name);
    }

    /** Reads on from the cursor; the details of the events, or their kinds. At most `most` of them. */
    std::string Read(std::size_t most = 1000)
    {
        std::string found;
        std::size_t count = 0;
        EventFeed* reader = nullptr;
        EventFeed feed(mFolder.GetRoot(), mCursor, [&](const FedEvent& event) {
            mFirstKept = mFirstKept.value_or(reader->GetCursor());
            found += (event.event.detail.empty() ? "." : event.event.detail) + " ";
            mIds.push_back(event.id);
            ++count;
        });
        reader = &feed;
        mFailure = feed.Read([&] { return count < most; });
        mCursor = feed.GetCursor();
        return found;
    }

    EvidenceFolder mFolder;
    EventCursor mCursor;
    std::optional<EventCursor> mFirstKept; ///< at the first event of all
    std::vector<std::string> mIds;
    std::string mFailure;
};

TEST_F(EventFeedFixture, HandsOutEachEventOnceWhereverItIsInterrupted)
{
    Append(YESTERDAY, Failure("a") + Failure("b"));
    Append(TODAY, Failure("c") + Failure("d"));
    for (const char* const wanted : {"a ", "b ", "c ", "d ", ""}) {
        EXPECT_EQ(Read(1), wanted);
    }
    EXPECT_EQ(mIds[1], YESTERDAY + ":" + std::to_string(Failure("a").size()));
}

TEST_F(EventFeedFixture, TakesLinesThatArriveInTheLogOfYesterday)
{
    Append(YESTERDAY, Failure("a"));
    Append(TODAY, Failure("b"));
    EXPECT_EQ(Read(), "a b ");
    Append(YESTERDAY, Failure("c"));
    EXPECT_EQ(Read(), "c ");
    EXPECT_EQ(Read(), "");
}

TEST_F(EventFeedFixture, TakesWhatTheServiceWritesAfterTheClockWasSetBack)
{
    for (const char* const day : {"12", "13", "14", "15"}) {
        Append("root.11" + std::string(day) + "26_00001.log", Failure(day));
    }
    EXPECT_EQ(Read(), "12 13 14 15 ");
    Append("root.111226_00001.log", Failure("again12"));
    Append("root.111126_00001.log", Failure("new11"));
    EXPECT_EQ(Read(), "new11 again12 ") << "a log of old that grows, and one of a day before all";
    EXPECT_EQ(Read(), "");
    std::filesystem::remove(mFolder.GetRoot() / "root.111326_00001.log");
    EXPECT_EQ(Read(), "");
}

TEST_F(EventFeedFixture, ReadsNoDayAgainThatACursorOfOldHasLeftOut)
{
    Append("root.111226_00001.log", Failure("12"));
    Append(YESTERDAY, Failure("13"));
    Append(TODAY, Failure("14"));
    EXPECT_EQ(Read(), "12 13 14 ");
    mCursor.places.erase("root.111226_00001.log");
    mCursor.isWhole = false;
    Append(TODAY, Failure("on"));
    EXPECT_EQ(Read(), "on ");
}

TEST_F(EventFeedFixture, BeginsAnewWithAFileThatWasReplacedOrCut)
{
    Append(TODAY, Failure("a") + Failure("b"));
    EXPECT_EQ(Read(), "a b ");
    mFolder.Write("new", Failure("c") + Failure("d") + Failure("e"));
    std::filesystem::rename(mFolder.GetRoot() / "new", mFolder.GetRoot() / TODAY);
    EXPECT_EQ(Read(), "c d e ");
    mFolder.Write(TODAY, Failure("f"));
    EXPECT_EQ(Read(), "f ");
}

TEST_F(EventFeedFixture, BeginsAnewWithAFileThatWasCutAndHasGrownPastItsPlace)
{
    Append(TODAY, Failure("a") + Failure("b"));
    EXPECT_EQ(Read(), "a b ");
    mFolder.Write(TODAY, Failure("c") + Failure("d") + Failure("e"));
    EXPECT_EQ(Read(), "c d e ");
}

TEST_F(EventFeedFixture, ReadsACopyOfALogOnWhereItReadTheLogTo)
{
    Append(YESTERDAY, Failure("a"));
    Append(TODAY, Failure("b"));
    EXPECT_EQ(Read(), "a b ");
    Replace(YESTERDAY);
    Replace(TODAY);
    EXPECT_EQ(Read(), "");
    Replace(TODAY);
    Append(TODAY, Failure("c"));
    EXPECT_EQ(Read(), "c ");
}

TEST_F(EventFeedFixture, KnowsACopyAlsoByTheCursorThatWasKeptAtAnEvent)
{
    Append(TODAY, Failure("a") + Failure("b"));
    EXPECT_EQ(Read(), "a b ");
    mCursor = mFirstKept.value();
    Replace(TODAY);
    EXPECT_EQ(Read(), "b ");
}

TEST_F(EventFeedFixture, KnowsACopyAlsoAfterACursorOfOldThatSaidNothingOfWhatItHolds)
{
    Append(TODAY, Failure("a"));
    EXPECT_EQ(Read(), "a ");
    mCursor.places.at(TODAY).mark.reset();
    EXPECT_EQ(Read(), "");
    Replace(TODAY);
    EXPECT_EQ(Read(), "");
}

TEST_F(EventFeedFixture, DoesNotReadAgainWhatWasAwayForAWhile)
{
    Append(YESTERDAY, Failure("a"));
    Append(TODAY, Failure("b"));
    EXPECT_EQ(Read(), "a b ");
    const std::filesystem::path away = mFolder.GetRoot() / "away";
    std::filesystem::create_directory(away);
    std::filesystem::copy(mFolder.GetRoot() / YESTERDAY, away / YESTERDAY);
    std::filesystem::rename(mFolder.GetRoot() / TODAY, away / TODAY);
    std::filesystem::remove(mFolder.GetRoot() / YESTERDAY);
    EXPECT_EQ(Read(), "");
    std::filesystem::rename(away / YESTERDAY, mFolder.GetRoot() / YESTERDAY);
    EXPECT_EQ(Read(), "");
    std::filesystem::rename(away / TODAY, mFolder.GetRoot() / TODAY);
    Append(TODAY, Failure("c"));
    EXPECT_EQ(Read(), "c ");
}

TEST_F(EventFeedFixture, WaitsForTheEndOfACopy)
{
    const std::string text = Failure("a") + Failure("b");
    Append(TODAY, text);
    EXPECT_EQ(Read(), "a b ");
    std::filesystem::rename(mFolder.GetRoot() / TODAY, mFolder.GetRoot() / "away");
    for (const std::size_t size : {std::size_t{0}, std::size_t{20}, text.size() - 1, text.size()}) {
        const std::string path = mFolder.Write(TODAY, text.substr(0, size));
        EvidenceFolder::SetTime(path, std::time(nullptr) + 30); // stays new for longer than this may take
        EXPECT_EQ(Read(), "") << size;
    }
    std::filesystem::rename(mFolder.GetRoot() / TODAY, mFolder.GetRoot() / "away");
    EvidenceFolder::SetTime(mFolder.Write(TODAY, text.substr(0, text.size() - 1)), 1);
    EXPECT_EQ(Read(), "a ") << "nobody copies any more: it was cut";
}

TEST_F(EventFeedFixture, ForgetsTheOldestOfManyLogsThatAreGone)
{
    for (int log = 0; log < 500; ++log) {
        char name[64];
        (void)std::snprintf(name, sizeof name, "root.%02d%02d%02d_00001.log", log % 12 + 1, log % 28 + 1,
                            log / 12 % 50 + 26);
        mCursor.places[name] = {1, 2, LogMark()};
    }
    const std::string newest = "root.123199_00001.log";
    mCursor.places[newest] = {1, 2, LogMark()};
    EXPECT_EQ(Read(), "");
    EXPECT_EQ(mCursor.places.size(), 400U);
    EXPECT_TRUE(mCursor.places.contains(newest));
    EXPECT_FALSE(mCursor.places.contains("root.010126_00001.log")) << "the oldest";
}

TEST_F(EventFeedFixture, ForgetsWhatItWouldNotKnowAgain)
{
    mCursor.places["../no log"] = {1, 2, LogMark()};
    mCursor.places[TODAY] = {1, 2, std::nullopt};
    EXPECT_EQ(Read(), "");
    EXPECT_TRUE(mCursor.places.empty());
}

TEST_F(EventFeedFixture, WaitsForTheEndOfALine)
{
    const std::string line = Failure("whole");
    Append(TODAY, line.substr(0, line.size() - 3));
    EXPECT_EQ(Read(), "");
    Append(TODAY, line.substr(line.size() - 3));
    EXPECT_EQ(Read(), "whole ");
}

TEST_F(EventFeedFixture, PassesOverWhatIsNoLine)
{
    Append(TODAY, std::string(700'000, '\xff') + "\n" + std::string(100, '\0') +
                      Failure("no stamp at its begin") + STAMP + "Error: \x1b[2J" + std::string(90'000, 'x') +
                      "\n" + Failure("after"));
    const std::string found = Read();
    EXPECT_TRUE(found.starts_with(" \x1b[2Jxxx"));
    EXPECT_TRUE(found.ends_with("x after "));
    EXPECT_LT(found.size(), 70'000U) << "a text is cut";
}

TEST_F(EventFeedFixture, FollowsNoLinkAndOpensNoDevice)
{
    mFolder.Write("elsewhere", Failure("a"));
    std::filesystem::create_symlink(mFolder.GetRoot() / "elsewhere", mFolder.GetRoot() / TODAY);
    EXPECT_EQ(mkfifo((mFolder.GetRoot() / YESTERDAY).c_str(), 0600), 0);
    EXPECT_EQ(Read(), "");
    EXPECT_EQ(mFailure, "");
}

TEST_F(EventFeedFixture, SaysThatTheFolderCannotBeRead)
{
    EventFeed feed("/nowhere", {}, [](const FedEvent&) {});
    EXPECT_EQ(feed.Read([] { return true; }), "/nowhere: No such file or directory");
}

TEST_F(EventFeedFixture, SaysOnceThatTheServiceStopped)
{
    const std::string stopped = STAMP + "Tarnhaven Health Sentinel Service stopped.\n";
    const std::string started = STAMP + "Tarnhaven Health Sentinel Service started\n";
    Append(TODAY, started + stopped + stopped);
    EXPECT_EQ(Read(), ". . ");
    Append(TODAY, stopped);
    EXPECT_EQ(Read(), "") << "also when it is read later";
    Append(TODAY, started + stopped);
    EXPECT_EQ(Read(), ". . ");
}

TEST_F(EventFeedFixture, SaysThatTheServiceStoppedWhereTheLogsBeginAfterItsStart)
{
    const std::string pass = STAMP + "Tarnhaven Health Sentinel Service is monitoring the resources.\n";
    const std::string stopped = STAMP + "Tarnhaven Health Sentinel Service stopped.\n";
    Append(YESTERDAY, pass + stopped + stopped);
    EXPECT_EQ(Read(), ". ");
    std::filesystem::remove(mFolder.GetRoot() / YESTERDAY);
    Append(TODAY, pass + stopped);
    EXPECT_EQ(Read(), ". ") << "the log with the next start has been removed";
}

} // namespace
} // namespace ctl
