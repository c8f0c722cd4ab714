#include "base/LogLine.h"

#include "config/ConfigurationMgr.h"
#include "config/ConfigurationValueReaders.h"
#include "config/SettingsFixture.h"
#include "config/THCrossPlatformMapping.h"
#include "platform/THUEnv.h"
#include "support/ChildProcess.h"

#include <atomic>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <thread>

#include <fcntl.h>
#include <unistd.h>

extern "C" FILE* __real_fopen64(const char* path, const char* mode);

using namespace std::string_literals;

namespace
{
mutex firstUnit;
mutex secondUnit;

void WriteLine(mutex& unit, const std::string& text)
{
    WriteLogLine(unit, "%s\n", text.c_str());
}

class LogLines : public SettingsFixture
{
protected:
    static void Freeze(int year, int month, int day, int hour, int minute, int second)
    {
        GetStore().mLocalTime = MakeLocalTime(year, month, day, hour, minute, second);
        GetSeams().mGettimeofday = [](struct timeval* now) { *now = {0, 45000}; };
    }
};

std::string ReadLog(const std::string& name)
{
    return ReadFile(GetTHPerfMonLogPath() + "/" + name);
}

std::ptrdiff_t CountOpenFiles()
{
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

/** Write calls of this thread so far. */
long CountWrites()
{
    std::istringstream io(ReadFile("/proc/thread-self/io"));
    for (std::string name; io >> name;) {
        long count = 0;
        io >> count;
        if (name == "syscw:") {
            return count;
        }
    }
    return -1;
}

TEST_F(LogLines, IsAStampAndTheTextInTheFileOfTheDay)
{
    Freeze(2026, 11, 13, 2, 7, 28);
    WriteLine(firstUnit, "first");
    WriteLine(secondUnit, "second");
    EXPECT_EQ(ReadLog("root.111326_00001.log"), "2026-11-13 02:07:28:045 - first\n"
                                                "2026-11-13 02:07:28:045 - second\n");
}

TEST_F(LogLines, OpensTheFileForAppendingAndKeepsItFromTheProgramsThatAreStarted)
{
    std::string opened;
    int flags = 0;
    GetSeams().mFopen64 = [&](const char* path, const char* mode) {
        FILE* const file = __real_fopen64(path, mode);
        opened = path + " "s + mode;
        flags = fcntl(fileno(file), F_GETFD);
        return file;
    };
    WriteLine(firstUnit, "text");
    EXPECT_EQ(opened, GetTHPerfMonLogFilePath() + " a+e");
    EXPECT_EQ(flags, FD_CLOEXEC);
}

TEST_F(LogLines, IsAppendedToWhatTheFileHolds)
{
    Freeze(2026, 11, 13, 2, 7, 28);
    WriteFile(GetTHPerfMonLogFilePath(), "from another run, without line end");
    WriteLine(firstUnit, "appended");
    EXPECT_EQ(ReadFile(GetTHPerfMonLogFilePath()),
              "from another run, without line end2026-11-13 02:07:28:045 - appended\n");
}

TEST_F(LogLines, KeepsTabsAndBytesOfEveryKind)
{
    Freeze(2026, 11, 13, 2, 7, 28);
    WriteLogLine(firstUnit, "\tKEY\tELEMENT\n");
    WriteLogLine(firstUnit, "'%c' %%s %d\n", '\0', -1);
    WriteLine(firstUnit, "\xff\x01%n%s");
    EXPECT_EQ(ReadFile(GetTHPerfMonLogFilePath()), "2026-11-13 02:07:28:045 - \tKEY\tELEMENT\n"
                                                   "2026-11-13 02:07:28:045 - '\0' %s -1\n"
                                                   "2026-11-13 02:07:28:045 - \xff\x01%n%s\n"s);
}

TEST_F(LogLines, FindsTheFileOfTheDayAnewForEachLine)
{
    Freeze(2026, 12, 31, 23, 59, 59);
    WriteLine(firstUnit, "old year");
    Freeze(2027, 1, 1, 0, 0, 1);
    WriteLine(firstUnit, "new year");
    EXPECT_EQ(ReadLog("root.123126_00001.log"), "2026-12-31 23:59:59:045 - old year\n");
    EXPECT_EQ(ReadLog("root.010127_00001.log"), "2027-01-01 00:00:01:045 - new year\n");
}

TEST_F(LogLines, NamesTheFileByMonthDayAndTwoDigitsOfTheYear)
{
    Freeze(2026, 3, 5, 0, 0, 0);
    WriteLine(firstUnit, "march");
    Freeze(2100, 3, 5, 0, 0, 0);
    WriteLine(firstUnit, "century");
    EXPECT_EQ(ReadLog("root.030526_00001.log"), "2026-03-05 00:00:00:045 - march\n");
    EXPECT_EQ(ReadLog("root.030500_00001.log"), "2100-03-05 00:00:00:045 - century\n");
}

TEST_F(LogLines, MakesAFileThatWasRemovedAnew)
{
    WriteLine(firstUnit, "gone");
    ForgetLog();
    WriteLine(firstUnit, "here");
    EXPECT_EQ(GetLogLines(), Lines{"here"});
}

TEST_F(LogLines, PreparesTheFolderBeforeTheFirstLine)
{
    StartAnew();
    WriteLine(firstUnit, "the very first");
    EXPECT_EQ(GetLogLines(), Lines{"the very first"});
}

TEST_F(LogLines, IsStampedOnceItsFileIsOpen)
{
    bool wasThere = false;
    GetSeams().mGettimeofday = [&wasThere](struct timeval* now) {
        *now = {0, 0};
        wasThere = std::filesystem::exists(GetTHPerfMonLogFilePath());
    };
    WriteLine(firstUnit, "text");
    EXPECT_TRUE(wasThere);
    EXPECT_EQ(GetLogLines(), Lines{"text"});
}

TEST_F(LogLines, CarriesNoSecondStampWhenItBringsItsOwn)
{
    Freeze(2026, 11, 13, 2, 7, 28);
    WriteStampedLine(firstUnit, "2025-01-01 00:00:00:000 - %s");
    EXPECT_EQ(ReadFile(GetTHPerfMonLogFilePath()), "2025-01-01 00:00:00:000 - %s\n");
}

TEST_F(LogLines, IsLeftOutWhenItIsVerboseAndTheGateIsShut)
{
    WriteVerboseLine(firstUnit, "%s\n", "unwanted");
    mConfig->mVerbose = 1;
    WriteVerboseLine(firstUnit, "%s\n", "wanted");
    EXPECT_EQ(GetLogLines(), Lines{"wanted"});
}

TEST_F(LogLines, LeavesNoFileOpen)
{
    WriteLine(firstUnit, "one to begin with");
    const std::ptrdiff_t before = CountOpenFiles();
    for (int line = 0; line < 100; ++line) {
        WriteLine(firstUnit, "line");
    }
    EXPECT_EQ(CountOpenFiles(), before);
    EXPECT_EQ(GetLogLines().size(), 101U);
}

TEST_F(LogLines, ReachesTheFileInOneWriteHoweverLong)
{
    if (CountWrites() < 0) {
        GTEST_SKIP() << "this kernel doesn't count the write calls of a thread";
    }
    for (const std::size_t size :
         {std::size_t{0}, std::size_t{100}, std::size_t{BUFSIZ - 28}, std::size_t{BUFSIZ - 27},
          std::size_t{BUFSIZ - 26}, std::size_t{BUFSIZ}, std::size_t{4096}, std::size_t{1} << 20}) {
        ForgetLog();
        const std::string text(size, 'x');
        const long before = CountWrites();
        WriteLine(firstUnit, text);
        EXPECT_EQ(CountWrites() - before, 1) << size;
        EXPECT_TRUE(ReadFile(GetTHPerfMonLogFilePath()).substr(26) == text + "\n") << size;
    }
}

/** The lines of the log; adds a failure for one that is not the same letter `textSize` times. */
std::size_t CountWholeLines(std::size_t textSize)
{
    std::ifstream log(GetTHPerfMonLogFilePath());
    std::size_t count = 0;
    for (std::string line; std::getline(log, line); ++count) {
        EXPECT_TRUE(line.size() == 26 + textSize && line.find_first_not_of(line.back(), 26) == line.npos)
            << "line " << count << " is torn";
    }
    return count;
}

constexpr std::size_t TEXT_SIZE = 100000;
constexpr std::size_t LINES = 100;
constexpr char LETTERS[] = "abcdef"; ///< one for each writer

TEST_F(LogLines, IsNeverTornByTheLinesOfAnotherUnit)
{
    std::vector<std::thread> threads;
    for (std::size_t index = 0; index < 6; ++index) {
        threads.emplace_back([index] {
            const std::string text(TEXT_SIZE, LETTERS[index]);
            for (std::size_t line = 0; line < LINES; ++line) {
                WriteLine(index % 2 == 0 ? firstUnit : secondUnit, text);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(CountWholeLines(TEXT_SIZE), 6 * LINES);
}

TEST_F(LogLines, DoesNotWaitForTheLineOfAnotherUnit)
{
    const MutexHold hold(firstUnit);
    WriteLine(secondUnit, "written");
    EXPECT_EQ(GetLogLines(), Lines{"written"});
}

TEST_F(LogLines, WaitsForTheLineOfItsOwnUnit)
{
    std::atomic<pid_t> writerId = 0;
    firstUnit.lock();
    std::thread writer([&] {
        writerId = gettid();
        WriteLine(firstUnit, "second");
    });
    EXPECT_TRUE(WaitFor([&] { return writerId != 0 && IsAsleep(writerId); }));
    WriteLine(secondUnit, "first");
    firstUnit.unlock();
    writer.join();
    EXPECT_EQ(GetLogLines(), (Lines{"first", "second"}));
}

TEST_F(LogLines, IsLostQuietlyWithoutItsFolder)
{
    SpoilLogFolder();
    const std::string console = GetConsole([] {
        WriteLine(firstUnit, "lost");
        WriteLine(firstUnit, "lost, and the lock is free");
    });
    EXPECT_EQ(console, "");
    EXPECT_EQ(ReadFile(GetTHPerfMonLogPath()), "not a folder");
}

TEST_F(LogLines, IsLostQuietlyWhereItsFileIsAFolder)
{
    std::filesystem::create_directory(GetTHPerfMonLogFilePath());
    WriteLine(firstUnit, "lost");
    EXPECT_TRUE(std::filesystem::is_empty(GetTHPerfMonLogFilePath()));
    std::filesystem::remove(GetTHPerfMonLogFilePath());
    WriteLine(firstUnit, "the next is not");
    EXPECT_EQ(GetLogLines(), Lines{"the next is not"});
}

TEST_F(LogLines, IsLostQuietlyOnAFullDisk)
{
    std::filesystem::create_symlink("/dev/full", GetTHPerfMonLogFilePath());
    WriteLine(firstUnit, "lost");
    WriteLine(firstUnit, std::string(100000, 'x'));
    ForgetLog();
    WriteLine(firstUnit, "the next is not");
    EXPECT_EQ(GetLogLines(), Lines{"the next is not"});
}

TEST_F(LogLines, IsMissingAloneWhereItsOpenFailsWithinALongerWalk)
{
    mConfig->mVerbose = 1;
    mConfig->mProcessNameAndProcessIDMap = {{"a", 1}, {"b", 2}, {"c", 3}};
    LoseOneLogLine(2);
    mConfig->PrintProcessNameAndProcessIDMap();
    EXPECT_EQ(GetLogLines(), (Lines{"\tKEY\tELEMENT", "\ta\t1", "\tc\t3"}));
}

TEST_F(LogLines, LeavesResultsAsTheyAreWhenItIsLost)
{
    SpoilLogFolder();
    mConfig->mVerbose = 1;
    EXPECT_FALSE(ValidateInputForSpecialChars("a;b"));
    EXPECT_EQ(mConfig->GetThreasholdValue({}, "tbrd"), -1);
}

/** Writes a line whose writer is cancelled in the middle of it, then waits to be gone. */
void* WriteWhileCancelled(void* /*argument*/)
{
    GetSeams().mGettimeofday = [](struct timeval* now) {
        *now = {0, 0};
        (void)pthread_cancel(pthread_self());
    };
    WriteLine(firstUnit, "whole");
    pthread_testcancel();
    WriteLine(firstUnit, "never");
    return nullptr;
}

TEST_F(LogLines, IsFinishedAndItsLockFreeWhenItsThreadIsCancelled)
{
    const std::ptrdiff_t before = CountOpenFiles();
    pthread_t writer = {};
    ASSERT_EQ(pthread_create(&writer, nullptr, WriteWhileCancelled, nullptr), 0);
    ASSERT_EQ(pthread_join(writer, nullptr), 0);
    GetSeams().mGettimeofday = nullptr;
    EXPECT_EQ(CountOpenFiles(), before);
    WriteLine(firstUnit, "after it");
    EXPECT_EQ(GetLogLines(), (Lines{"whole", "after it"}));
}

constexpr std::size_t CANCELLED_TEXT_SIZE = 20000;

void* WriteForGood(void* /*argument*/)
{
    const std::string text(CANCELLED_TEXT_SIZE, 'a');
    for (;;) {
        WriteLogLine(firstUnit, "%s\n", text.c_str());
        pthread_testcancel(); // a line itself is never the place
    }
}

TEST_F(LogLines, IsWholeWheneverItsThreadIsCancelled)
{
#ifdef __SANITIZE_THREAD__
    GTEST_SKIP() << "the thread sanitizer loses sight of a lock when a call that it watches is cancelled";
#endif
    constexpr std::size_t ROUNDS = 300;
    // A process of its own: a cancelled thread leaves its stream behind.
    ChildProcess process([] {
        for (std::size_t round = 0; round < ROUNDS; ++round) {
            pthread_t writer = {};
            if (pthread_create(&writer, nullptr, WriteForGood, nullptr) != 0) {
                _exit(1);
            }
            (void)usleep(static_cast<useconds_t>(round * 7)); // each round another place
            (void)pthread_cancel(writer);
            (void)pthread_join(writer, nullptr);
            WriteLine(firstUnit, std::string(CANCELLED_TEXT_SIZE, 'b'));
        }
        _exit(0);
        return 0;
    });
    EXPECT_EQ(process.Wait(), 0);
    EXPECT_GE(CountWholeLines(CANCELLED_TEXT_SIZE), ROUNDS);
}

TEST_F(LogLines, VerboseIsOneAndNothingElse)
{
    EXPECT_FALSE(IsVerbose());
    mConfig->mVerbose = 1;
    EXPECT_TRUE(IsVerbose());
    for (const int other : {0, 2, -1, 257}) {
        mConfig->mVerbose = other;
        EXPECT_FALSE(IsVerbose()) << other;
    }
}
} // namespace
