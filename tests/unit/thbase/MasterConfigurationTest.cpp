#include "thbase.h"

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <sys/resource.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "AllocationFailure.h"
#include "FreshProcess.h"
#include "LibraryUnderTest.h"
#include "StoreAnswer.h"
#include "SystemLog.h"
#include "TemporaryFolder.h"
#include "runner/NeedOfHost.h"

namespace
{

using testing::ElementsAre;
using testing::IsEmpty;

/**
 * The store at its fixed path, on an isolated host. Each test runs in a process of its own, since the
 * library opens the store once a process.
 */
class MasterConfiguration : public testing::Test
{
protected:
    void SetUp() override
    {
        if (!IsOnIsolatedHost()) {
            AskForHost();
            GTEST_SKIP() << "the store has a fixed path: script/host";
        }
        std::filesystem::create_directories(std::filesystem::path(mPath).parent_path());
        std::filesystem::remove(mPath);
        mLog = std::make_unique<SystemLog>();
    }

    void TearDown() override
    {
        if (mLog != nullptr) {
            std::filesystem::remove(mPath);
        }
    }

    static std::string ReadText(const char* key)
    {
        return TextOrCode(
            [&](char*& value) { return thconfGetKeyValPair(get_master_config_ptr(), key, &value); });
    }

    static std::string ReadNumber(const char* key)
    {
        return NumberOrCode(
            [&](int& value) { return thconfGetKeyValPairAsInt(get_master_config_ptr(), key, &value); });
    }

    const std::string mPath = "/usr/tarnv/tarnhaven/master.conf";
    const std::string mMissing = "<12>" + mPath + " can't be read: No such file or directory; ";
    std::unique_ptr<SystemLog> mLog;
};

TEST_F(MasterConfiguration, IsReadByTheFirstCall)
{
    WriteTextFile(mPath, "A = 12\nB = a b\nC =\n");
    EXPECT_EQ(RunInFreshProcess([&] {
                  EXPECT_EQ(ReadText("A"), "12");
                  EXPECT_EQ(ReadNumber("A"), "12");
                  EXPECT_EQ(ReadText("B"), "a b");
                  EXPECT_EQ(ReadNumber("B"), "code 223");
                  EXPECT_EQ(ReadText("C"), "");
                  EXPECT_EQ(ReadNumber("C"), "code 223");
                  EXPECT_EQ(ReadText("D"), "code 227");
                  EXPECT_EQ(ReadNumber("D"), "code 227");
                  EXPECT_EQ(ReadText(""), "code 227");
              }),
              0);
    EXPECT_THAT(mLog->TakeLines(), IsEmpty());
}

TEST_F(MasterConfiguration, HasOneHandle)
{
    WriteTextFile(mPath, "A = 1\n");
    EXPECT_EQ(RunInFreshProcess([&] {
                  void* const handle = get_master_config_ptr();
                  EXPECT_NE(handle, nullptr);
                  EXPECT_EQ(TH_forced_read_master_config(), 0);
                  EXPECT_EQ(get_master_config_ptr(), handle);
              }),
              0);
}

TEST_F(MasterConfiguration, AnswersUnreadableUntilTheFileAppears)
{
    EXPECT_EQ(RunInFreshProcess([&] {
                  void* const handle = get_master_config_ptr();
                  EXPECT_NE(handle, nullptr);
                  EXPECT_EQ(ReadText("A"), "code 228");
                  EXPECT_EQ(ReadNumber("A"), "code 228");
                  EXPECT_THAT(mLog->TakeLines(),
                              ElementsAre(mMissing + "no version of it has been read yet."));
                  WriteTextFile(mPath, "A = 1\n");
                  EXPECT_EQ(ReadText("A"), "1");
                  EXPECT_EQ(get_master_config_ptr(), handle);
              }),
              0);
    EXPECT_THAT(mLog->TakeLines(), IsEmpty());
}

TEST_F(MasterConfiguration, IsReadAgainOnlyWhenForced)
{
    WriteTextFile(mPath, "A = 1\n");
    EXPECT_EQ(RunInFreshProcess([&] {
                  EXPECT_EQ(ReadText("A"), "1");
                  WriteTextFile(mPath, "A = 2\n");
                  EXPECT_EQ(ReadText("A"), "1");
                  EXPECT_EQ(TH_forced_read_master_config(), 0);
                  EXPECT_EQ(ReadText("A"), "2");
              }),
              0);
    EXPECT_THAT(mLog->TakeLines(), IsEmpty());
}

TEST_F(MasterConfiguration, KeepsItsLastVersionWhenAForcedReadingFails)
{
    WriteTextFile(mPath, "A = 1\n");
    EXPECT_EQ(RunInFreshProcess([&] {
                  EXPECT_EQ(TH_forced_read_master_config(), 0);
                  std::filesystem::remove(mPath);
                  EXPECT_EQ(TH_forced_read_master_config(), STORE_RC_UNREADABLE);
                  EXPECT_EQ(ReadText("A"), "1");
              }),
              0);
    EXPECT_THAT(mLog->TakeLines(), ElementsAre(mMissing + "the last good version stays in force."));
}

TEST_F(MasterConfiguration, SaysWhichLineItSkips)
{
    WriteTextFile(mPath, "A = 1\nnonsense\n");
    EXPECT_EQ(RunInFreshProcess([&] {
                  EXPECT_EQ(ReadText("A"), "1");
                  EXPECT_EQ(TH_forced_read_master_config(), 0);
              }),
              0);
    EXPECT_THAT(mLog->TakeLines(),
                ElementsAre("<12>" + mPath + ", line 2 is skipped: it has no equals sign."));
}

TEST_F(MasterConfiguration, SaysNothingOnTheTerminal)
{
    WriteTextFile(mPath, "A = 1\nnonsense\n");
    EXPECT_THAT(GetLines("TZ=UTC0 '" + GetCallerPath() + "' A B </dev/null 2>&1"),
                ElementsAre("-1 conversions: 0 []", "70", "0", "A: 0 [1], 0 [1]", "B: 227 [], 227 [0]"));
    std::filesystem::remove(mPath);
    EXPECT_THAT(GetLines("TZ=UTC0 '" + GetCallerPath() + "' A </dev/null 2>&1"),
                ElementsAre("-1 conversions: 0 []", "70", "228", "A: 228 [], 228 [0]"));
}

TEST_F(MasterConfiguration, RefusesNullArguments)
{
    WriteTextFile(mPath, "A = 1\n");
    EXPECT_EQ(RunInFreshProcess([&] {
                  char* text = nullptr;
                  int number = 4711;
                  void* const handle = get_master_config_ptr();
                  EXPECT_EQ(thconfGetKeyValPair(handle, nullptr, &text), STORE_RC_BAD_ARGUMENT);
                  EXPECT_EQ(thconfGetKeyValPair(handle, "A", nullptr), STORE_RC_BAD_ARGUMENT);
                  EXPECT_EQ(thconfGetKeyValPairAsInt(handle, nullptr, &number), STORE_RC_BAD_ARGUMENT);
                  EXPECT_EQ(thconfGetKeyValPairAsInt(handle, "A", nullptr), STORE_RC_BAD_ARGUMENT);
                  EXPECT_EQ(text, nullptr);
                  EXPECT_EQ(number, 4711);
              }),
              0);
}

/// Runs `call` with no memory to be had. Its expectations must wait until it is back, for they need memory.
template <typename Call>
auto CallWithoutMemory(const Call& call)
{
    const AllocationFailure failure(0);
    return call();
}

TEST_F(MasterConfiguration, ComesThroughAWantOfMemory)
{
    WriteTextFile(mPath, "A = a value that does not fit into the text object itself\n");
    EXPECT_EQ(RunInFreshProcess([&] {
                  char* text = nullptr;
                  const auto read = [&] { return thconfGetKeyValPair(nullptr, "A", &text); };
                  EXPECT_EQ(CallWithoutMemory(get_master_config_ptr), nullptr);
                  EXPECT_EQ(CallWithoutMemory(TH_forced_read_master_config), STORE_RC_NO_MEMORY);
                  EXPECT_EQ(CallWithoutMemory(read), STORE_RC_NO_MEMORY);
                  EXPECT_EQ(ReadText("A"), "a value that does not fit into the text object itself");
                  WriteTextFile(mPath, "A = another value that does not fit into the text object itself\n");
                  EXPECT_EQ(CallWithoutMemory(TH_forced_read_master_config), STORE_RC_NO_MEMORY);
                  EXPECT_EQ(ReadText("A"), "a value that does not fit into the text object itself");
                  EXPECT_EQ(TH_forced_read_master_config(), 0);
                  EXPECT_EQ(ReadText("A"), "another value that does not fit into the text object itself");
              }),
              0);
    EXPECT_THAT(mLog->TakeLines(),
                ElementsAre("<12>" + mPath +
                            " can't be read: memory ran out; the last good version stays in force."));
}

/** Takes all pieces of memory of this size that there are, in what the process has and may still get. */
void TakeAllMemory(std::size_t piece)
{
    void* volatile last = nullptr; // volatile, or the compiler would see that the pieces are never read
    for (void* memory = std::malloc(piece); memory != nullptr; memory = std::malloc(piece)) {
        *static_cast<void**>(memory) = last; // a chain, so that no piece is without use
        last = memory;
    }
}

TEST_F(MasterConfiguration, SetsNoValueWhenThereIsNoMemoryForIt)
{
    if (IS_SANITIZED) {
        GTEST_SKIP() << "a sanitizer needs all the address space that this test takes away";
    }
    constexpr std::size_t LENGTH = 12'000'000;
    WriteTextFile(mPath, "A = " + std::string(LENGTH, 'x') + "\nB = 1\n");
    EXPECT_EQ(RunInFreshProcess([&] {
                  void* const handle = get_master_config_ptr();
                  rlimit limit = {};
                  ASSERT_EQ(getrlimit(RLIMIT_AS, &limit), 0);
                  limit.rlim_cur = 1; // what is there stays, and nothing comes
                  ASSERT_EQ(setrlimit(RLIMIT_AS, &limit), 0);
                  TakeAllMemory(LENGTH);
                  char* text = nullptr;
                  EXPECT_EQ(thconfGetKeyValPair(handle, "A", &text), STORE_RC_NO_MEMORY);
                  EXPECT_EQ(text, nullptr);
                  EXPECT_EQ(ReadText("B"), "1");
              }),
              0);
}

TEST_F(MasterConfiguration, HasNoCancellationPoint)
{
    WriteTextFile(mPath, "A = 1\nnonsense\n");
    EXPECT_EQ(RunInFreshProcess([&] {
                  EXPECT_TRUE(IsFinishedWhenCancelled([] { (void)get_master_config_ptr(); }));
                  WriteTextFile(mPath, "A = 2\nnonsense\n");
                  EXPECT_TRUE(IsFinishedWhenCancelled([] { (void)TH_forced_read_master_config(); }));
                  EXPECT_TRUE(IsFinishedWhenCancelled([] { EXPECT_EQ(ReadText("A"), "2"); }));
                  EXPECT_EQ(TH_forced_read_master_config(), 0); // no lock was left behind
              }),
              0);
    EXPECT_EQ(mLog->TakeLines().size(), 2u);
}

TEST_F(MasterConfiguration, GivesFourThreadsOneWholeValueEachWhileItIsReplaced)
{
    const auto makeText = [](int version) {
        return "A = " + std::string(65'536, static_cast<char>('a' + version % 26)) + "\n";
    };
    WriteTextFile(mPath, makeText(0));
    EXPECT_EQ(RunInFreshProcess([&] {
                  std::atomic<bool> stop = false;
                  std::atomic<int> mixtures = 0;
                  std::vector<std::thread> readers;
                  for (int reader = 0; reader < 4; ++reader) {
                      readers.emplace_back([&] {
                          while (!stop) {
                              (void)TH_forced_read_master_config(); // may meet a moment without rest
                              const std::string text = ReadText("A");
                              mixtures += text == std::string(65'536, text[0]) ? 0 : 1;
                          }
                      });
                  }
                  for (int version = 1; version <= 52; ++version) {
                      ReplaceTextFile(mPath, makeText(version));
                      while (version % 13 == 0 && ReadText("A")[0] != makeText(version)[4] && !HasFailure()) {
                          std::this_thread::sleep_for(std::chrono::milliseconds(1));
                      }
                  }
                  stop = true;
                  for (std::thread& reader : readers) {
                      reader.join();
                  }
                  EXPECT_EQ(mixtures, 0);
              }),
              0);
}

} // namespace
