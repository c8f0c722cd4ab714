#include "ConfigurationStore.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <ostream>
#include <string>
#include <thread>
#include <vector>

#include <malloc.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "AllocationFailure.h"
#include "RepeatText.h"
#include "StoreAnswer.h"
#include "StoreFile.h"
#include "StoreVersion.h"
#include "TemporaryFolder.h"
#include "thbase.h"

namespace
{

using testing::ElementsAre;
using testing::IsEmpty;

class StoreReads : public testing::Test
{
protected:
    /** The text of a key, or "code N". */
    std::string ReadText(const std::string& key) const
    {
        return TextOrCode([&](char*& value) { return mStore.GetText(key, value); });
    }

    /** The number of a key, or "code N". */
    std::string ReadNumber(const std::string& key) const
    {
        return NumberOrCode([&](int& value) { return mStore.GetNumber(key, value); });
    }

    std::vector<std::string> TakeReports() { return std::exchange(mReports, {}); }

    const TemporaryFolder mFolder;
    const std::string mPath = mFolder / "master.conf";
    std::vector<std::string> mReports;
    ConfigurationStore mStore{mPath, [this](const char* line) { mReports.emplace_back(line); }};

    const std::string mMissing = mPath + " can't be read: No such file or directory; ";
    const std::string mNoVersion = "no version of it has been read yet.";
    const std::string mLastVersion = "the last good version stays in force.";
};

TEST_F(StoreReads, ReadsNothingBeforeItIsAskedTo)
{
    WriteTextFile(mPath, "A = 1\n");
    EXPECT_EQ(ReadText("A"), "code 228");
    EXPECT_EQ(mStore.GetVersion(), nullptr);
}

TEST_F(StoreReads, GivesTextsAndNumbers)
{
    WriteTextFile(mPath, "A = 12\nB = a b\nC =\nD = 2147483648\n");
    EXPECT_EQ(mStore.ReadIfNeeded(), 0);
    EXPECT_EQ(ReadText("A"), "12");
    EXPECT_EQ(ReadNumber("A"), "12");
    EXPECT_EQ(ReadText("B"), "a b");
    EXPECT_EQ(ReadNumber("B"), "code 223");
    EXPECT_EQ(ReadText("C"), "");
    EXPECT_EQ(ReadNumber("C"), "code 223");
    EXPECT_EQ(ReadNumber("D"), "code 223");
    EXPECT_EQ(ReadText("E"), "code 227");
    EXPECT_EQ(ReadNumber("E"), "code 227");
    EXPECT_THAT(mReports, IsEmpty());
}

TEST_F(StoreReads, AnswersUnreadableWhileThereIsNoVersion)
{
    EXPECT_EQ(mStore.ReadIfNeeded(), STORE_RC_UNREADABLE);
    EXPECT_EQ(ReadText("A"), "code 228");
    EXPECT_EQ(ReadNumber("A"), "code 228");
}

TEST_F(StoreReads, AnswersThreadsThatComeDuringTheFirstReadingAlike)
{
    WriteTextFile(mPath, "A = 1\n");
    std::vector<int> results(8, -1);
    std::vector<std::thread> threads;
    for (int& result : results) {
        threads.emplace_back([this, &result] { result = mStore.ReadIfNeeded(); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_THAT(results, testing::Each(0));
    EXPECT_EQ(ReadText("A"), "1");
}

TEST_F(StoreReads, GivesATextRoomForItsEnd)
{
    // Block sizes of the allocator end at 24, so that a text of 24 without its end would get no more.
    const std::string text(24, 'a');
    WriteTextFile(mPath, "A = " + text + "\n");
    EXPECT_EQ(mStore.ReadIfNeeded(), 0);
    char* value = nullptr;
    EXPECT_EQ(mStore.GetText("A", value), 0);
    EXPECT_GT(malloc_usable_size(value), text.size());
    EXPECT_STREQ(value, text.c_str());
    std::free(value);
}

TEST_F(StoreReads, CutsAReportAt1023Characters)
{
    std::vector<std::string> reports;
    const std::string path = "/" + std::string(2000, 'a');
    ConfigurationStore store(path, [&](const char* line) { reports.emplace_back(line); });
    EXPECT_EQ(store.ReadAgain(), STORE_RC_UNREADABLE);
    EXPECT_THAT(reports, ElementsAre(path.substr(0, 1023)));
}

TEST_F(StoreReads, FindsAFileThatAppears)
{
    EXPECT_EQ(mStore.ReadIfNeeded(), STORE_RC_UNREADABLE);
    WriteTextFile(mPath, "A = 1\n");
    EXPECT_EQ(mStore.ReadIfNeeded(), 0);
    EXPECT_EQ(ReadText("A"), "1");
}

TEST_F(StoreReads, TakesNoNewVersionUnlessForcedTo)
{
    WriteTextFile(mPath, "A = 1\n");
    EXPECT_EQ(mStore.ReadIfNeeded(), 0);
    WriteTextFile(mPath, "A = 2\n");
    EXPECT_EQ(mStore.ReadIfNeeded(), 0);
    EXPECT_EQ(ReadText("A"), "1");
    EXPECT_EQ(mStore.ReadAgain(), 0);
    EXPECT_EQ(ReadText("A"), "2");
}

TEST_F(StoreReads, ForgetsAKeyThatIsGone)
{
    WriteTextFile(mPath, "A = 1\nB = 2\n");
    EXPECT_EQ(mStore.ReadAgain(), 0);
    WriteTextFile(mPath, "B = 3\n");
    EXPECT_EQ(mStore.ReadAgain(), 0);
    EXPECT_EQ(ReadText("A"), "code 227");
    EXPECT_EQ(ReadText("B"), "3");
}

TEST_F(StoreReads, TakesAnEmptyFileAsAVersionWithoutKeys)
{
    WriteTextFile(mPath, "");
    EXPECT_EQ(mStore.ReadAgain(), 0);
    EXPECT_EQ(ReadText("A"), "code 227");
}

TEST_F(StoreReads, KeepsTheLastVersionWhenTheFileIsMissingForAMoment)
{
    WriteTextFile(mPath, "A = 1\n");
    EXPECT_EQ(mStore.ReadAgain(), 0);
    std::filesystem::remove(mPath);
    EXPECT_EQ(mStore.ReadAgain(), STORE_RC_UNREADABLE);
    EXPECT_EQ(ReadText("A"), "1");
    EXPECT_THAT(TakeReports(), ElementsAre(mMissing + mLastVersion));
    WriteTextFile(mPath, "A = 2\n");
    EXPECT_EQ(mStore.ReadAgain(), 0);
    EXPECT_EQ(ReadText("A"), "2");
    EXPECT_THAT(mReports, IsEmpty());
}

TEST_F(StoreReads, KeepsTheLastVersionWhateverStandsInThePlaceOfTheFile)
{
    WriteTextFile(mPath, "A = 1\n");
    EXPECT_EQ(mStore.ReadAgain(), 0);
    std::filesystem::remove(mPath);
    std::filesystem::create_directory(mPath);
    EXPECT_EQ(mStore.ReadAgain(), STORE_RC_UNREADABLE);
    std::filesystem::remove(mPath);
    WriteTextFile(mPath, "A = 2\n" + std::string(STORE_FILE_LIMIT, '\n'));
    EXPECT_EQ(mStore.ReadAgain(), STORE_RC_UNREADABLE);
    EXPECT_EQ(ReadText("A"), "1");
    EXPECT_THAT(mReports, ElementsAre(mPath + " can't be read: it is not a regular file; " + mLastVersion,
                                      mPath + " can't be read: it is larger than 16 MiB; " + mLastVersion));
}

TEST_F(StoreReads, ReportsEachForcedReadingThatFails)
{
    EXPECT_EQ(mStore.ReadAgain(), STORE_RC_UNREADABLE);
    EXPECT_EQ(mStore.ReadAgain(), STORE_RC_UNREADABLE);
    EXPECT_THAT(mReports, ElementsAre(mMissing + mNoVersion, mMissing + mNoVersion));
}

TEST_F(StoreReads, ReportsAFailureOfAFirstReadingOnlyWhenItIsNew)
{
    EXPECT_EQ(mStore.ReadIfNeeded(), STORE_RC_UNREADABLE);
    EXPECT_EQ(mStore.ReadIfNeeded(), STORE_RC_UNREADABLE);
    EXPECT_THAT(TakeReports(), ElementsAre(mMissing + mNoVersion));
    std::filesystem::create_directory(mPath);
    EXPECT_EQ(mStore.ReadIfNeeded(), STORE_RC_UNREADABLE);
    EXPECT_EQ(mStore.ReadIfNeeded(), STORE_RC_UNREADABLE);
    EXPECT_THAT(TakeReports(),
                ElementsAre(mPath + " can't be read: it is not a regular file; " + mNoVersion));
}

TEST_F(StoreReads, ReportsASkippedLineWithItsNumber)
{
    WriteTextFile(mPath, std::string("A = 1\nnonsense\n= 2\nB = \0\nC = 3\n", 31));
    EXPECT_EQ(mStore.ReadAgain(), 0);
    EXPECT_THAT(mReports, ElementsAre(mPath + ", line 2 is skipped: it has no equals sign.",
                                      mPath + ", line 3 is skipped: its key is empty.",
                                      mPath + ", line 4 is skipped: it holds a NUL byte."));
    EXPECT_EQ(ReadText("A"), "1");
    EXPECT_EQ(ReadText("B"), "code 227");
    EXPECT_EQ(ReadText("C"), "3");
}

/** The complaints about lines 1 to `last` of a store. */
std::vector<std::string> GetComplaints(const std::string& path, int last)
{
    std::vector<std::string> complaints;
    for (int number = 1; number <= last; ++number) {
        complaints.push_back(path + ", line " + std::to_string(number) +
                             " is skipped: it has no equals sign.");
    }
    return complaints;
}

TEST_F(StoreReads, NamesTwentySkippedLines)
{
    WriteTextFile(mPath, RepeatText("nonsense\n", 20));
    EXPECT_EQ(mStore.ReadAgain(), 0);
    EXPECT_EQ(mReports, GetComplaints(mPath, 20));
}

TEST_F(StoreReads, CountsTheSkippedLinesAfterTheTwentieth)
{
    WriteTextFile(mPath, RepeatText("nonsense\n", 21));
    EXPECT_EQ(mStore.ReadAgain(), 0);
    std::vector<std::string> expected = GetComplaints(mPath, 20);
    expected.push_back(mPath + ", 1 more line is skipped.");
    EXPECT_EQ(TakeReports(), expected);
    WriteTextFile(mPath, RepeatText("nonsense\n", 1'000'000));
    EXPECT_EQ(mStore.ReadAgain(), 0);
    expected.back() = mPath + ", 999980 more lines are skipped.";
    EXPECT_EQ(mReports, expected);
}

TEST_F(StoreReads, ReportsASkippedLineOnceWhileTheFileStaysAsItIs)
{
    WriteTextFile(mPath, "nonsense\n");
    EXPECT_EQ(mStore.ReadIfNeeded(), 0);
    EXPECT_EQ(TakeReports().size(), 1u);
    EXPECT_EQ(mStore.ReadAgain(), 0);
    WriteTextFile(mPath, "nonsense\n");
    EXPECT_EQ(mStore.ReadAgain(), 0);
    EXPECT_THAT(mReports, IsEmpty());
}

TEST_F(StoreReads, ReportsNoSkippedLineAgainAfterAFailureInBetween)
{
    WriteTextFile(mPath, "nonsense\n");
    EXPECT_EQ(mStore.ReadAgain(), 0);
    std::filesystem::rename(mPath, mPath + ".away");
    EXPECT_EQ(mStore.ReadAgain(), STORE_RC_UNREADABLE);
    (void)TakeReports();
    std::filesystem::rename(mPath + ".away", mPath);
    EXPECT_EQ(mStore.ReadAgain(), 0);
    EXPECT_THAT(mReports, IsEmpty());
}

TEST_F(StoreReads, ReportsSkippedLinesAnewWhenTheFileHasChanged)
{
    WriteTextFile(mPath, "nonsense\n");
    EXPECT_EQ(mStore.ReadAgain(), 0);
    (void)TakeReports();
    WriteTextFile(mPath, "nonsense\nA = 1\nmore\n");
    EXPECT_EQ(mStore.ReadAgain(), 0);
    EXPECT_THAT(mReports, ElementsAre(mPath + ", line 1 is skipped: it has no equals sign.",
                                      mPath + ", line 3 is skipped: it has no equals sign."));
}

TEST_F(StoreReads, LetsAVersionLiveForAsLongAsItIsHeld)
{
    WriteTextFile(mPath, "A = 1\n");
    EXPECT_EQ(mStore.ReadAgain(), 0);
    const std::shared_ptr<const StoreVersion> former = mStore.GetVersion();
    WriteTextFile(mPath, "A = 2\n");
    EXPECT_EQ(mStore.ReadAgain(), 0);
    EXPECT_EQ(former->Find("A"), "1");
    EXPECT_EQ(mStore.GetVersion()->Find("A"), "2");
}

TEST_F(StoreReads, ReadsWhileItReports)
{
    // A reader on another thread must not wait for the system log.
    std::string seen;
    ConfigurationStore* reported = nullptr;
    ConfigurationStore store(mPath, [&](const char*) {
        std::thread reader([&] { seen = reported->GetVersion()->Find("A").value(); });
        reader.join();
    });
    reported = &store;
    WriteTextFile(mPath, "A = 1\nnonsense\n");
    EXPECT_EQ(store.ReadAgain(), 0);
    EXPECT_EQ(seen, "1");
}

TEST_F(StoreReads, KeepsTheLastVersionWhenMemoryRunsOutAnywhereInAReading)
{
    WriteTextFile(mPath, "A = 1\n");
    ASSERT_EQ(mStore.ReadAgain(), 0);
    ConfigurationStore store(mPath, [](const char*) {});
    ASSERT_EQ(store.ReadAgain(), 0);
    WriteTextFile(mPath, "A = a value that does not fit into the text object itself\nB = 2\n");
    int result = STORE_RC_NO_MEMORY;
    int passes = 0;
    for (; result != 0 && passes < 100; ++passes) {
        const AllocationFailure failure(passes);
        result = store.ReadAgain();
        ASSERT_EQ(result, failure.HasHit() ? STORE_RC_NO_MEMORY : 0);
        ASSERT_EQ(store.GetVersion()->Find("B").has_value(), result == 0);
    }
    EXPECT_EQ(result, 0);
    EXPECT_GT(passes, 3);
}

TEST_F(StoreReads, ReportsThatMemoryRanOut)
{
    WriteTextFile(mPath, "A = a value that does not fit into the text object itself\n");
    mReports.reserve(1);
    std::string line(1000, ' ');
    ConfigurationStore store(mPath, [&](const char* text) { line = text; });
    {
        const AllocationFailure failure(0);
        EXPECT_EQ(store.ReadIfNeeded(), STORE_RC_NO_MEMORY);
    }
    EXPECT_EQ(line, mPath + " can't be read: memory ran out; " + mNoVersion);
    EXPECT_EQ(store.ReadIfNeeded(), 0);
}

/** A store text in which every one of 300 keys has the value `number`. */
std::string MakeUniformText(int number)
{
    std::string text;
    for (int key = 0; key < 300; ++key) {
        text += "KEY_" + std::to_string(key) + " = " + std::to_string(number) + "\n";
    }
    return text;
}

/** The number of a uniform version; -1 if the version is a mixture or a part. */
int GetUniformNumber(const StoreVersion& version)
{
    const std::string number(version.Find("KEY_0").value_or("-1"));
    return version.GetText() == MakeUniformText(std::atoi(number.c_str())) ? std::atoi(number.c_str()) : -1;
}

void WriteInSmallPieces(const std::string& path, std::string_view text)
{
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    constexpr std::size_t PIECE = 256;
    for (std::size_t place = 0; place < text.size(); place += PIECE) {
        file << text.substr(place, PIECE) << std::flush;
    }
}

struct RewriteCase
{
    std::string name;
    std::function<void(const std::string& path, std::string_view text)> rewrite;

    friend void PrintTo(const RewriteCase& shown, std::ostream* stream) { *stream << shown.name; }
};

class StoreRewrittenWhileRead : public testing::TestWithParam<RewriteCase>
{
protected:
    static constexpr int ROUNDS = 8;
    static constexpr int REWRITES_PER_ROUND = 40;

    /** Reads again and again until it is asked to stop. */
    void ReadUntilStopped()
    {
        while (!mStop) {
            (void)mStore.ReadAgain(); // fails now and then under a writer that does not rest
            const int number = GetUniformNumber(*mStore.GetVersion());
            mMixtures += number < 0 ? 1 : 0;
            mSeen = number;
        }
    }

    bool WaitUntilSeen(int number) const
    {
        const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        while (mSeen != number && std::chrono::steady_clock::now() < limit) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        return mSeen == number;
    }

    const TemporaryFolder mFolder;
    const std::string mPath = mFolder / "master.conf";
    ConfigurationStore mStore{mPath, [](const char*) {}};
    std::atomic<bool> mStop = false;
    std::atomic<int> mMixtures = 0;
    std::atomic<int> mSeen = 0;
};

TEST_P(StoreRewrittenWhileRead, GivesFourReadersOneWholeVersionEach)
{
    WriteTextFile(mPath, MakeUniformText(0));
    ASSERT_EQ(mStore.ReadAgain(), 0);
    std::vector<std::thread> readers;
    for (int reader = 0; reader < 4; ++reader) {
        readers.emplace_back([this] { ReadUntilStopped(); });
    }
    std::chrono::steady_clock::duration longest{};
    for (int number = 1; number <= ROUNDS * REWRITES_PER_ROUND; ++number) {
        const auto begin = std::chrono::steady_clock::now();
        GetParam().rewrite(mPath, MakeUniformText(number));
        longest = std::max(longest, std::chrono::steady_clock::now() - begin);
        if (number % REWRITES_PER_ROUND == 0) {
            EXPECT_TRUE(WaitUntilSeen(number)) << number;
        }
    }
    mStop = true;
    for (std::thread& reader : readers) {
        reader.join();
    }
    // In place, a version is whole as long as its writer doesn't rest between two readings, 30 ms apart. A
    // busy machine may have made it rest; a writer by rename may do so.
    if (GetParam().name == "ByRename" || longest < std::chrono::milliseconds(25)) {
        EXPECT_EQ(mMixtures, 0);
    } else {
        RecordProperty("longest_rewrite_in_nanoseconds", std::to_string(longest.count()));
    }
}

INSTANTIATE_TEST_SUITE_P(Writers, StoreRewrittenWhileRead,
                         testing::Values(RewriteCase{"ByRename", ReplaceTextFile},
                                         RewriteCase{"InPlace", WriteTextFile},
                                         RewriteCase{"InPlaceInSmallPieces", WriteInSmallPieces}),
                         [](const auto& test) { return test.param.name; });

} // namespace
