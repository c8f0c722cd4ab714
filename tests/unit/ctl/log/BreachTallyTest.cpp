#include "log/BreachTally.h"

#include <filesystem>

#include <gtest/gtest.h>

#include "ctl/evidence/EvidenceFolder.h"

namespace ctl
{
namespace
{

const std::string YESTERDAY = "root.111326_00001.log";
const std::string TODAY = "root.111426_00001.log";
const std::string START = "Tarnhaven Health Sentinel Service started";
const std::pair<std::string, std::string> KEY = {"a", "cpu"};
constexpr std::time_t MIDDAY_TODAY = 1794657600; // 2026-11-14 12:00 UTC

class BreachTallyFixture : public testing::Test
{
protected:
    void Say(const std::string& log, const std::string& text)
    {
        std::ofstream(mFolder.GetRoot() / log, std::ios::app | std::ios::binary)
            << "2026-11-13 02:07:28:045 - " << text << '\n';
    }
    void Breach(const std::string& log)
    {
        Say(log, "CPU threshold exceeded by process : a (7), Threshold : 1 Percent , Usage : 2.00 Percent");
    }
    BreachTally Begin(std::time_t since = 0) { return BeginTally(mFolder.GetRoot(), since); }
    /** Counts on, after the tally went through a text as one run leaves it to the next. */
    static long long CountOnAsText(BreachTally& tally)
    {
        const std::string text = "# TYPE x gauge\nx 1\n" + FormatTally(tally) + "\n";
        tally = FindTally(text, tally.folder).value_or(BreachTally());
        EXPECT_EQ(CountOn(tally), "");
        return tally.counts[KEY];
    }

    EvidenceFolder mFolder;
};

TEST_F(BreachTallyFixture, CountsEachBreachSinceTheLatestStartOnce)
{
    Breach(YESTERDAY);
    Say(YESTERDAY, START);
    Breach(YESTERDAY);
    Breach(TODAY);
    BreachTally tally = Begin();
    EXPECT_EQ(CountOnAsText(tally), 2);
    EXPECT_EQ(CountOnAsText(tally), 2);
    Breach(TODAY);
    EXPECT_EQ(CountOnAsText(tally), 3);
    Say(TODAY, START);
    EXPECT_EQ(CountOnAsText(tally), 0);
}

TEST_F(BreachTallyFixture, DoesNotFallWhenLogsAreRemoved)
{
    Say(YESTERDAY, START);
    Breach(YESTERDAY);
    Breach(TODAY);
    BreachTally tally = Begin();
    EXPECT_EQ(CountOnAsText(tally), 2);
    std::filesystem::remove(mFolder.GetRoot() / YESTERDAY);
    EXPECT_EQ(CountOnAsText(tally), 2);
    Breach(TODAY);
    EXPECT_EQ(CountOnAsText(tally), 3);
}

TEST_F(BreachTallyFixture, DoesNotCountAgainWhatIsInACopyOfALog)
{
    Say(YESTERDAY, START);
    Breach(TODAY);
    BreachTally tally = Begin();
    EXPECT_EQ(CountOnAsText(tally), 1);
    std::filesystem::copy(mFolder.GetRoot() / TODAY, mFolder.GetRoot() / "copy");
    std::filesystem::rename(mFolder.GetRoot() / "copy", mFolder.GetRoot() / TODAY);
    EXPECT_EQ(CountOnAsText(tally), 1);
    Breach(TODAY);
    EXPECT_EQ(CountOnAsText(tally), 2);
}

TEST_F(BreachTallyFixture, CountsNamesThatReadAlikeWithoutTheirBadBytesAsOne)
{
    for (const char* const name : {"a\xff", "a\xfe"}) {
        Say(TODAY, std::string("CPU threshold exceeded by process : ") + name +
                       " (7), Threshold : 1 Percent , Usage : 2.00 Percent");
    }
    BreachTally tally = Begin();
    EXPECT_EQ(CountOn(tally), "");
    EXPECT_EQ(tally.counts, (decltype(tally.counts){{{"a\xef\xbf\xbd", "cpu"}, 2}}));
}

TEST_F(BreachTallyFixture, BeginsWithTheDayOfTheStart)
{
    Breach(YESTERDAY);
    Breach(TODAY);
    BreachTally tally = Begin(MIDDAY_TODAY);
    EXPECT_EQ(CountOnAsText(tally), 1);
}

TEST_F(BreachTallyFixture, SaysWhyTheLogsCantBeReadAndKeepsItsCount)
{
    Breach(TODAY);
    BreachTally tally = Begin();
    EXPECT_EQ(CountOnAsText(tally), 1);
    tally.folder += "/missing";
    EXPECT_EQ(CountOn(tally), mFolder.GetRoot().string() + "/missing: No such file or directory");
    EXPECT_EQ(tally.counts[KEY], 1);
}

TEST_F(BreachTallyFixture, IsNotFoundInWhatItDidNotWrite)
{
    BreachTally tally = Begin();
    tally.counts[{"a\"\\\xff", "cpu"}] = 5;
    const std::string line = FormatTally(tally);
    const std::string folder = tally.folder;
    ASSERT_TRUE(FindTally(line, folder));
    EXPECT_EQ(FindTally(line, folder)->counts.begin()->second, 5);
    EXPECT_FALSE(FindTally(line, "/other"));
    EXPECT_FALSE(FindTally("", folder));
    EXPECT_FALSE(FindTally("x " + line, folder));
    EXPECT_FALSE(FindTally(line.substr(0, line.size() - 1), folder));
    EXPECT_FALSE(FindTally("# thsentinelctl breaches: " + std::string(100'000, '['), folder));
    EXPECT_FALSE(FindTally("# thsentinelctl breaches: {\"folder\": 1}", folder));
    EXPECT_FALSE(FindTally(std::string("# thsentinelctl breaches: \0\x1b", 29), folder));
}

} // namespace
} // namespace ctl
