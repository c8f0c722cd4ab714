#include "config/ConfigurationMgr.h"
#include "platform/THUEnv.h"
#include "platform/UnixHelperFunction.h"
#include "support/ConfigurationFixture.h"
#include "support/ScriptedHelper.h"

#include <gmock/gmock.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <thread>

#include <fcntl.h>
#include <unistd.h>

extern "C" FILE* __real_popen(const char* command, const char* mode);

using testing::ElementsAre;
using testing::IsEmpty;

namespace
{
const std::string NUL(1, '\0');

class CommandExecution : public ConfigurationFixture
{
protected:
    /** The output of a command that prints just these bytes. */
    std::string PassThroughPipe(const std::string& bytes)
    {
        const std::string file = MakeFolder() + "/bytes";
        WriteFile(file, bytes);
        return mHelper.ExecuteCommand(("cat " + file).c_str());
    }

    UnixHelperFunction mHelper;
    std::string mOutput = "old";
};
} // namespace

// ---- Status

namespace
{
struct StatusCase
{
    const char* mName;
    const char* mCommand;
    int mStatus;
    const char* mReturnCodeLine; ///< null when no return code is logged
};

class CommandExecutionStatus : public CommandExecution, public testing::WithParamInterface<StatusCase>
{
};

constexpr StatusCase STATUSES[] = {
    {"Success", "true", 0, "ReturnCode:0"},
    {"ExitOne", "exit 1", 1 * 256, "ReturnCode:1"},
    {"ExitThree", "exit 3", 3 * 256, "ReturnCode:3"},
    {"HighestExit", "exit 255", 255 * 256, "ReturnCode:255"},
    {"LastOfAPipe", "exit 3 | true", 0, "ReturnCode:0"},
    {"UnknownTool", "/no/such/tool 2>/dev/null", 127 * 256, "ReturnCode:127"},
    {"EmptyLine", "", 0, "ReturnCode:0"},
    {"Terminated", "kill -TERM $$", SIGTERM, nullptr},
    {"Killed", "kill -KILL $$", SIGKILL, nullptr},
};
} // namespace

TEST_P(CommandExecutionStatus, IsTheRawOneAndIsLoggedDecodedAfterANormalExit)
{
    mConfig->mVerbose = 1;
    EXPECT_EQ(mHelper.ExecuteCommandWithRc(GetParam().mCommand, mOutput), GetParam().mStatus);
    EXPECT_EQ(mOutput, "");
    std::vector<std::string> lines = {std::string("Cmd:") + GetParam().mCommand, "Output:"};
    if (GetParam().mReturnCodeLine != nullptr) {
        lines.push_back(GetParam().mReturnCodeLine);
    }
    EXPECT_EQ(GetLogLines(), lines);
}

TEST_P(CommandExecutionStatus, IsDroppedByExecuteCommand)
{
    EXPECT_EQ(mHelper.ExecuteCommand(GetParam().mCommand), "");
}

INSTANTIATE_TEST_SUITE_P(All, CommandExecutionStatus, testing::ValuesIn(STATUSES),
                         [](const auto& test) { return test.param.mName; });

TEST_F(CommandExecution, ReturnsTheErrorNumberWhenNoPipeCanBeOpened)
{
    mConfig->mVerbose = 1;
    GetSeams().mPopen = [](const char* /*command*/, const char* /*mode*/) -> FILE* {
        errno = EMFILE;
        return nullptr;
    };
    EXPECT_EQ(mHelper.ExecuteCommandWithRc("true", mOutput), EMFILE);
    EXPECT_EQ(mOutput, "");
    EXPECT_EQ(mHelper.ExecuteCommand("false"), "");
    EXPECT_THAT(GetLogLines(), ElementsAre("Cmd:true", "Cmd:false"));
}

TEST_F(CommandExecution, KeepsItsPipeFromWhatAnotherThreadStarts)
{
    const std::string go = MakeFolder() + "/go";
    std::atomic<int> pipe = -1;
    GetSeams().mPopen = [&](const char* command, const char* mode) {
        GetSeams().mPopen = nullptr;
        FILE* const stream = popen(command, mode);
        pipe = fileno(stream);
        return stream;
    };
    std::thread other([&] {
        EXPECT_TRUE(WaitFor([&] { return pipe >= 0 && fcntl(pipe, F_GETFD) == FD_CLOEXEC; }));
        WriteFile(go, "");
    });
    (void)mHelper.ExecuteCommand(("until [ -e " + go + " ]; do sleep 0.01; done").c_str());
    other.join();
}

TEST_F(CommandExecution, ReturnsMinusOneAndLogsNoReturnCodeWhenTheChildCannotBeWaitedFor)
{
    mConfig->mVerbose = 1;
    ASSERT_NE(signal(SIGCHLD, SIG_IGN), SIG_ERR); // children vanish when they end
    EXPECT_EQ(mHelper.ExecuteCommandWithRc("echo out", mOutput), -1);
    ASSERT_NE(signal(SIGCHLD, SIG_DFL), SIG_ERR);
    EXPECT_EQ(mOutput, "out\n");
    EXPECT_THAT(GetLogLines(), ElementsAre("Cmd:echo out", "Output:out", "(no stamp)"));
}

TEST_F(CommandExecution, EndsTheReadingAtAnErrorThatStays)
{
    GetSeams().mPopen = [](const char* command, const char* mode) {
        FILE* const pipe = __real_popen(command, mode);
        const int folder = open("/", O_RDONLY | O_CLOEXEC); // can be opened, can't be read
        EXPECT_EQ(dup2(folder, fileno(pipe)), fileno(pipe));
        close(folder);
        return pipe;
    };
    EXPECT_EQ(mHelper.ExecuteCommandWithRc("exit 3", mOutput), 768);
    EXPECT_EQ(mOutput, "");
}

TEST_F(CommandExecution, PassesTheLineToTheShellForReading)
{
    std::vector<std::string> calls;
    GetSeams().mPopen = [&calls](const char* command, const char* mode) -> FILE* {
        calls = {command, mode};
        return nullptr;
    };
    EXPECT_EQ(mHelper.ExecuteCommand("a \"b\" | 'c' $HOME"), "");
    EXPECT_THAT(calls, ElementsAre("a \"b\" | 'c' $HOME", "r"));
}

TEST_F(CommandExecution, RunsCommandsThroughTheVirtualTable)
{
    HelperScript script;
    script.mAnswer = [](const std::string& line) { return "answer to " + line; };
    script.mStatus = [](const std::string& /*line*/) { return 256; };
    ScriptedHelper<> helper(script);
    EXPECT_EQ(helper.ExecuteCommand("question"), "answer to question");
    EXPECT_THAT(script.mLines, ElementsAre("question"));
}

// ---- Output

TEST_F(CommandExecution, ReplacesWhatTheOutputHeld)
{
    EXPECT_EQ(mHelper.ExecuteCommandWithRc("echo new", mOutput), 0);
    EXPECT_EQ(mOutput, "new\n");
}

TEST_F(CommandExecution, GivesTheOutputOfAFailedCommandToo)
{
    EXPECT_EQ(mHelper.ExecuteCommandWithRc("echo out; exit 3", mOutput), 768);
    EXPECT_EQ(mOutput, "out\n");
    EXPECT_EQ(mHelper.ExecuteCommand("echo out; exit 3"), "out\n");
}

TEST_F(CommandExecution, KeepsAnOutputWithoutAFinalLineFeed)
{
    EXPECT_EQ(mHelper.ExecuteCommand("printf 'one\ntwo'"), "one\ntwo");
}

TEST_F(CommandExecution, LeavesStandardErrorToTheLineItself)
{
    testing::internal::CaptureStderr();
    EXPECT_EQ(mHelper.ExecuteCommand("echo lost >&2; echo kept"), "kept\n");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "lost\n");
    EXPECT_EQ(mHelper.ExecuteCommand("{ echo error >&2; } 2>&1"), "error\n");
}

TEST_F(CommandExecution, CutsALineAtItsFirstNulAndContinuesWithTheNext)
{
    EXPECT_EQ(PassThroughPipe("ab" + NUL + "cd\nef\n"), "abef\n");
    EXPECT_EQ(PassThroughPipe(NUL + NUL), "");
}

TEST_F(CommandExecution, PassesEveryOtherByteOn)
{
    std::string bytes;
    for (int value = 1; value < 256; ++value) {
        bytes += static_cast<char>(value);
    }
    EXPECT_EQ(PassThroughPipe(bytes + bytes), bytes + bytes);
}

TEST_F(CommandExecution, KeepsManyMegabytes)
{
    EXPECT_EQ(mHelper.ExecuteCommand("yes 'a line of the listing' | head -c 5000000").size(), 5000000U);
}

namespace
{
/** Characters without a line feed, no two neighbouring stretches alike. */
std::string MakeLongText(std::size_t length)
{
    std::string text;
    for (std::size_t number = 0; text.size() < length; ++number) {
        text += std::to_string(number) + ",";
    }
    return text.substr(0, length);
}

class CommandExecutionLongLine : public CommandExecution, public testing::WithParamInterface<std::size_t>
{
};
} // namespace

TEST_P(CommandExecutionLongLine, ArrivesWhole)
{
    const std::string text = MakeLongText(GetParam());
    EXPECT_EQ(PassThroughPipe(text), text);
    EXPECT_EQ(PassThroughPipe(text + "\n"), text + "\n");
    EXPECT_EQ(PassThroughPipe("first\n" + text + "\nlast\n"), "first\n" + text + "\nlast\n");
}

INSTANTIATE_TEST_SUITE_P(AroundTheBuffer, CommandExecutionLongLine,
                         testing::Values(8094, 8095, 8096, 2 * 8095, 20000, 1 << 20));

TEST_F(CommandExecution, TakesALongLineInPiecesOf8095Bytes)
{
    std::string text = MakeLongText(20000);
    text[10] = text[16200] = '\0'; // each takes the rest of its own piece with it
    EXPECT_EQ(PassThroughPipe(text), text.substr(0, 10) + text.substr(8095, 8095) + text.substr(16190, 10));
}

// ---- The trace

TEST_F(CommandExecution, TracesAnOutputOfSeveralLinesAsOneText)
{
    mConfig->mVerbose = 1;
    EXPECT_EQ(mHelper.ExecuteCommand("echo 100%s; echo two"), "100%s\ntwo\n");
    EXPECT_THAT(GetLogLines(), ElementsAre("Cmd:echo 100%s; echo two", "Output:100%s", "(no stamp)two",
                                           "(no stamp)", "ReturnCode:0"));
}

TEST_F(CommandExecution, TracesALongOutputWhole)
{
    mConfig->mVerbose = 1;
    const std::string text = MakeLongText(1 << 20);
    EXPECT_EQ(PassThroughPipe(text), text);
    const std::vector<std::string> lines = GetLogLines();
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_EQ(lines[1], "Output:" + text);
}

namespace
{
class CommandExecutionGate : public CommandExecution, public testing::WithParamInterface<int>
{
};
} // namespace

TEST_P(CommandExecutionGate, KeepsTheTraceAwayUnlessItIsExactlyOne)
{
    mConfig->mVerbose = GetParam();
    EXPECT_EQ(mHelper.ExecuteCommand("echo out"), "out\n");
    EXPECT_THAT(GetLogLines(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(ClosedAt, CommandExecutionGate, testing::Values(0, 2, -1),
                         [](const auto& test) { return "Row" + std::to_string(test.index); });

TEST_F(CommandExecution, RunsTheCommandWhenTheLogCannotBeOpened)
{
    mConfig->mVerbose = 1;
    std::filesystem::remove_all(GetTHPerfMonLogPath());
    WriteFile(GetTHPerfMonLogPath(), "no folder");
    EXPECT_EQ(mHelper.ExecuteCommandWithRc("echo out; exit 3", mOutput), 768);
    EXPECT_EQ(mOutput, "out\n");
    std::filesystem::remove(GetTHPerfMonLogPath());
}

TEST_F(CommandExecution, BlocksNoLogLineWhileACommandRuns)
{
    mConfig->mVerbose = 1;
    const std::string folder = MakeFolder();
    const std::string waiting =
        "cd " + folder + "; : >waits; until [ -e go ]; do sleep 0.01; done; echo went";
    std::string first;
    std::thread other([&] { first = mHelper.ExecuteCommand(waiting.c_str()); });
    EXPECT_TRUE(WaitFor([&] { return std::filesystem::exists(folder + "/waits"); }));
    UnixHelperFunction helper;
    EXPECT_EQ(helper.ExecuteCommand(("cd " + folder + "; : >go").c_str()), "");
    other.join();
    EXPECT_EQ(first, "went\n");
}

// ---- Interrupted reads

namespace
{
std::atomic<int> gInterruptions = 0; // lock-free, so a handler may write it

void CountInterruption(int /*signal*/)
{
    ++gInterruptions;
}

/** True while the thread sleeps in the kernel. */
bool IsBlocked(pid_t thread)
{
    const std::string status = ReadFile("/proc/self/task/" + std::to_string(thread) + "/stat");
    return status.find(") S ") != std::string::npos;
}

/** Interrupts the thread that made it, once, when that waits for more output of a command. */
class Interruption
{
public:
    explicit Interruption(const std::string& folder)
        : mReader(pthread_self()), mReaderId(gettid()), mThread([this, folder] {
              EXPECT_TRUE(WaitFor([&] { return std::filesystem::exists(folder + "/printed"); }));
              EXPECT_TRUE(WaitFor([this] { return IsBlocked(mReaderId); }));
              EXPECT_EQ(pthread_kill(mReader, SIGHUP), 0);
              EXPECT_TRUE(WaitFor([] { return gInterruptions == 1; }));
              WriteFile(folder + "/go", "");
          })
    {}

    ~Interruption() { mThread.join(); }

private:
    pthread_t mReader;
    pid_t mReaderId;
    std::thread mThread;
};

class CommandExecutionInterrupted : public CommandExecution
{
protected:
    void SetUp() override
    {
        CommandExecution::SetUp();
        gInterruptions = 0;
        struct sigaction action = {}; // without SA_RESTART, as the daemon has its handlers
        action.sa_handler = CountInterruption;
        ASSERT_EQ(sigaction(SIGHUP, &action, nullptr), 0);
    }

    /** The output of a command that is interrupted between the two pieces of its output. */
    std::string Run(const std::string& before, const std::string& after)
    {
        const std::string folder = MakeFolder();
        WriteFile(folder + "/before", before);
        WriteFile(folder + "/after", after);
        const std::string command = "cd " + folder +
                                    "; cat before; : >printed; until [ -e go ]; do sleep 0.01; done;"
                                    " cat after; exit 3";
        const Interruption interruption(folder);
        EXPECT_EQ(mHelper.ExecuteCommandWithRc(command.c_str(), mOutput), 768);
        return mOutput;
    }
};
} // namespace

TEST_F(CommandExecutionInterrupted, ContinuesBeforeTheFirstByte)
{
    EXPECT_EQ(Run("", "one\ntwo\n"), "one\ntwo\n");
}

TEST_F(CommandExecutionInterrupted, ContinuesBetweenTwoLines)
{
    EXPECT_EQ(Run("one\n", "two\n"), "one\ntwo\n");
}

TEST_F(CommandExecutionInterrupted, KeepsWhatItHasOfALine)
{
    EXPECT_EQ(Run("one\ntw", "o\nthree"), "one\ntwo\nthree");
}

TEST_F(CommandExecutionInterrupted, KeepsWhatItHasOfALineLongerThanTheBuffer)
{
    const std::string text = MakeLongText(20000);
    EXPECT_EQ(Run(text.substr(0, 9000), text.substr(9000)), text);
}
