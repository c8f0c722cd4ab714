#include "config/ConfigurationMgr.h"
#include "evidence/CaptureFixture.h"
#include "evidence/CommandRunData.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <memory>

#include <sys/stat.h>

namespace fs = std::filesystem;

using testing::ElementsAre;
using testing::IsEmpty;

class CommandCapture : public CaptureFixture
{
protected:
    void SetUp() override
    {
        CaptureFixture::SetUp();
        mHelper.reset(MakeHelper());
        mFile = MakeFolder() + "/file";
    }

    /** From now on lines run in a real shell, whose own words go nowhere. */
    static void UseRealShell() { GetSeams().mSystem = nullptr; }

    std::unique_ptr<ScriptedHelper<>> mHelper;
    std::string mFile; ///< evidence file
};

// ---- The line and its head --------------------------------------------------------------------------------

struct LineCase
{
    const char* mName;
    const char* mTool;
    const char* mArguments;
    int mFilterPid;
    const char* mCommand; ///< as the head shows it
};

class CommandLine : public CommandCapture, public testing::WithParamInterface<LineCase>
{
};

TEST_P(CommandLine, StandsInTheHeadWithoutItsRedirection)
{
    const LineCase& row = GetParam();
    std::string atRun;
    GetSeams().mSystem = [&](const char* line) {
        mSystemLines.push_back(line);
        atRun = ReadFile(mFile);
        return 0;
    };
    mHelper->CollectCommandData(mFile, row.mTool, row.mArguments, row.mFilterPid);
    EXPECT_EQ(atRun, Section(row.mCommand)) << "the head is there before the line runs";
    EXPECT_THAT(mSystemLines, ElementsAre(row.mCommand + (" >> " + mFile)));
    EXPECT_THAT(GetLogLines(), IsEmpty());
}

TEST_F(CommandCapture, ShowsALineInItsHeadAsFarAsTheShellReadsIt)
{
    EXPECT_TRUE(mHelper->EchoCommandToFile(std::string("cat a\0b", 7), mFile));
    EXPECT_EQ(ReadFile(mFile), Section("cat a"));
}

INSTANTIATE_TEST_SUITE_P(
    Forms, CommandLine,
    testing::Values(LineCase{"ToolWithArguments", "/t/top", "-b -n 1", -1, "/t/top -b -n 1"},
                    LineCase{"ToolWithoutArgumentsKeepsItsBlank", "/t/free", "", -1, "/t/free "},
                    LineCase{"PipeInTheArguments", "/t/netstat", "-na | grep CLOSE_WAIT", -1,
                             "/t/netstat -na | grep CLOSE_WAIT"},
                    LineCase{"Filter", "/t/netstat", "-op", 4321, "/t/netstat -op | /t/grep 4321"},
                    LineCase{"FilterWithoutArguments", "/t/netstat", "", 4321, "/t/netstat  | /t/grep 4321"},
                    LineCase{"FilterOfZero", "/t/netstat", "-op", 0, "/t/netstat -op | /t/grep 0"},
                    LineCase{"FilterOfTheLargestId", "/t/ps", "", 2147483647, "/t/ps  | /t/grep 2147483647"},
                    LineCase{"FilterBelowMinusOne", "/t/ps", "", -2, "/t/ps  | /t/grep -2"},
                    LineCase{"NoTool", "", "", -1, " "}),
    [](const auto& row) { return row.param.mName; });

TEST_F(CommandCapture, HeadIsTwoEmptyLinesARuleTheCommandAndTheRuleAgain)
{
    const std::string rule(82, '-');
    EXPECT_TRUE(mHelper->EchoCommandToFile("/t/ps -e", mFile));
    EXPECT_EQ(ReadFile(mFile), "\n\n" + rule + "\nCommand: /t/ps -e\n" + rule + "\n");
}

TEST_F(CommandCapture, HeadTakesTheCommandAsItIs)
{
    const std::string command = "a\nb %s \xff \"'" + std::string(20000, 'x');
    EXPECT_TRUE(mHelper->EchoCommandToFile(command, mFile));
    EXPECT_TRUE(mHelper->EchoCommandToFile("", mFile));
    EXPECT_EQ(ReadFile(mFile), Section(command) + Section(""));
}

TEST_F(CommandCapture, HeadThatCantBeWrittenIsNotReported)
{
    SetVerbose(1);
    EXPECT_FALSE(mHelper->EchoCommandToFile("/t/ps", ""));
    EXPECT_FALSE(mHelper->EchoCommandToFile("/t/ps", mFile + "/below"));
    EXPECT_FALSE(mHelper->EchoCommandToFile("/t/ps", "/tmp"));
    EXPECT_THAT(GetLogLines(), IsEmpty());
}

// ---- The run ----------------------------------------------------------------------------------------------

TEST_F(CommandCapture, OutputFollowsItsHeadAndTheFileOnlyGrows)
{
    UseRealShell();
    WriteFile(mFile, "old\n");
    mHelper->CollectCommandData(mFile, "/bin/echo", "one", -1);
    mHelper->CollectCommandData(mFile, "/bin/echo", "two", -1);
    EXPECT_EQ(ReadFile(mFile),
              "old\n" + Section("/bin/echo one", "one\n") + Section("/bin/echo two", "two\n"));
}

TEST_F(CommandCapture, FilterKeepsEveryLineThatHoldsTheDigits)
{
    UseRealShell();
    mHelper->mCmdPath->mGrep = "/bin/grep";
    mHelper->CollectCommandData(mFile, "/usr/bin/printf", "'7 a\\n170 b\\n8 port:27\\n8 c\\n'", 7);
    EXPECT_EQ(ReadFile(mFile), Section("/usr/bin/printf '7 a\\n170 b\\n8 port:27\\n8 c\\n' | /bin/grep 7",
                                       "7 a\n170 b\n8 port:27\n"));
}

TEST_F(CommandCapture, StandardErrorStaysOutOfTheFile)
{
    UseRealShell();
    testing::internal::CaptureStderr();
    mHelper->CollectCommandData(mFile, "/bin/cat", "/no/such", -1);
    EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::HasSubstr("/no/such"));
    EXPECT_EQ(ReadFile(mFile), Section("/bin/cat /no/such"));
}

TEST_F(CommandCapture, LineAndRawStatusAreTracedWhenVerbose)
{
    SetVerbose(1);
    mSystemStatus = 768;
    mHelper->CollectCommandData(mFile, "/t/ps", "-e", -1);
    EXPECT_THAT(GetLogLines(),
                ElementsAre("CollectCommandData : Command to execute : /t/ps -e >> " + mFile,
                            "CollectCommandData : command /t/ps -e >> " + mFile + " return the 768"));
}

TEST_F(CommandCapture, ShellThatCantBeStartedShowsAsMinusOne)
{
    SetVerbose(1);
    mSystemStatus = -1;
    mHelper->CollectCommandData(mFile, "/t/ps", "", -1);
    EXPECT_EQ(GetLogLines().back(), "CollectCommandData : command /t/ps  >> " + mFile + " return the -1");
}

TEST_F(CommandCapture, MissingToolLeavesOnlyItsHeadAndStatus127)
{
    UseRealShell();
    SetVerbose(1);
    testing::internal::CaptureStderr();
    mHelper->CollectCommandData(mFile, "/no/such", "-e", -1);
    EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::HasSubstr("not found"));
    EXPECT_EQ(ReadFile(mFile), Section("/no/such -e"));
    EXPECT_EQ(GetLogLines().back(), "CollectCommandData : command /no/such -e >> " + mFile + " return the " +
                                        std::to_string(127 * 256));
}

TEST_F(CommandCapture, EmptyFileNameIsASyntaxErrorOfTheShell)
{
    UseRealShell();
    SetVerbose(1);
    testing::internal::CaptureStderr();
    mHelper->CollectCommandData("", "/bin/touch", mFile, -1);
    EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::Not(IsEmpty()));
    EXPECT_FALSE(fs::exists(mFile)) << "the tool hasn't run";
    EXPECT_THAT(GetLogLines(),
                ElementsAre("CollectCommandData : Command to execute : /bin/touch " + mFile + " >> ",
                            "CollectCommandData : command /bin/touch " + mFile + " >>  return the 512"));
}

TEST_F(CommandCapture, FileThatCantBeOpenedKeepsTheToolFromRunning)
{
    UseRealShell();
    SetVerbose(1);
    testing::internal::CaptureStderr();
    mHelper->CollectCommandData("/no/such/file", "/bin/touch", mFile, -1);
    (void)testing::internal::GetCapturedStderr();
    EXPECT_FALSE(fs::exists(mFile));
    EXPECT_EQ(GetLogLines().back(),
              "CollectCommandData : command /bin/touch " + mFile + " >> /no/such/file return the 512");
}

// ---- In the background ------------------------------------------------------------------------------------

TEST_F(CommandCapture, NewRunHasEmptyTextsAndNoFilter)
{
    const CommandRunData run;
    EXPECT_EQ(run.mOutputFile + run.mCommandPath + run.mArguments, "");
    EXPECT_EQ(run.mFilterPid, -1);
}

TEST_F(CommandCapture, BackgroundRunPassesItsArgumentsToItsThread)
{
    mHelper->CollectCommandDataInBackground(mFile, "/t/iostat", "-xt 5 50", 7);
    ASSERT_EQ(mStarts.size(), 1U);
    EXPECT_EQ(mStarts[0].mBody, ThreadRunCommand);
    const auto& run = *static_cast<CommandRunData*>(mStarts[0].mRecord);
    EXPECT_EQ(run.mOutputFile, mFile);
    EXPECT_EQ(run.mCommandPath, "/t/iostat");
    EXPECT_EQ(run.mArguments, "-xt 5 50");
    EXPECT_EQ(run.mFilterPid, 7);
    EXPECT_THAT(mSystemLines, IsEmpty()) << "it has returned and nothing has run yet";
    RunStarts();
    EXPECT_THAT(mSystemLines, ElementsAre("/t/iostat -xt 5 50 | /t/grep 7 >> " + mFile));
    EXPECT_EQ(ReadFile(mFile), Section("/t/iostat -xt 5 50 | /t/grep 7"));
    EXPECT_THAT(GetLogLines(), IsEmpty());
}

TEST_F(CommandCapture, BackgroundRunIsLoggedWithItsThreadWhenVerbose)
{
    SetVerbose(1);
    mHelper->CollectCommandDataInBackground(mFile, "/t/iostat", "", -1);
    EXPECT_THAT(GetLogLines(), ElementsAre("Thread (TID : 77) created to run the /t/iostat command "));
    RunStarts();
}

TEST_F(CommandCapture, BackgroundRunThatCantStartIsAlwaysLogged)
{
    RefuseThreads();
    mHelper->CollectCommandDataInBackground(mFile, "/t/iostat", "", -1);
    EXPECT_THAT(GetLogLines(), ElementsAre("Error: Failed to create a thread to run the /t/iostat command "));
    EXPECT_THAT(mSystemLines, IsEmpty());
    EXPECT_FALSE(fs::exists(mFile));
}

TEST_F(CommandCapture, BackgroundRunWithoutAHelperIsSkippedSilently)
{
    SetVerbose(1);
    GetHelperSeam().mMake = [] { return nullptr; };
    EXPECT_EQ(ThreadRunCommand(new CommandRunData{mFile, "/t/iostat", "", -1}), nullptr);
    EXPECT_EQ(ThreadRunCommand(nullptr), nullptr);
    EXPECT_THAT(mSystemLines, IsEmpty());
    EXPECT_FALSE(fs::exists(mFile));
    EXPECT_THAT(GetLogLines(), IsEmpty());
}

TEST_F(CommandCapture, BackgroundRunReturnsBeforeItsCommandEnds)
{
    UseRealShell();
    StartRealThreads();
    const std::string gate = mFile + ".gate";
    ASSERT_EQ(mkfifo(gate.c_str(), 0600), 0);
    mHelper->CollectCommandDataInBackground(mFile, "/bin/cat", gate, -1);
    EXPECT_TRUE(WaitFor([&] { return ReadFile(mFile) == Section("/bin/cat " + gate); }));
    WriteFile(gate, "let through\n", 0600);
    JoinThreads();
    EXPECT_EQ(ReadFile(mFile), Section("/bin/cat " + gate, "let through\n"));
}
