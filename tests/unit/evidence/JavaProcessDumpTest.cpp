#include "config/ConfigurationMgr.h"
#include "evidence/CaptureFixture.h"
#include "evidence/SnapshotData.h"
#include "support/HostFixture.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <memory>

namespace fs = std::filesystem;

using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

namespace
{
constexpr int PID = 5000;
constexpr uid_t ROOT = 0;
constexpr uid_t ORDINARY = 1000;
const std::string OWNER_LINE = "/t/ps -eo pid,user | /t/grep \"^[[:space:]]*\\<5000\\>\"";
const std::string WEB_TEMP = "/usr/tarnv/wmc/webserver/temp";
const std::string TEMP = "/usr/tarnv/tmp";
} // namespace

class JavaProcessDump : public CaptureFixture
{
protected:
    void SetUp() override
    {
        CaptureFixture::SetUp();
        mHelper.reset(MakeHelper());
        SetUser(ROOT);
        SetOwner("tarnweb");
        mHeap = Path("adminconsole", PID, 1, "Memory", "hprof");
        mThreads = Path("adminconsole", PID, 1, "Memory", "ThreadDump");
    }

    /** The user that the daemon runs as. */
    static void SetUser(uid_t user)
    {
        GetSeams().mGetuid = [user] { return user; };
    }

    /** Who owns the Java process by ps; unknown when empty. */
    void SetOwner(const std::string& owner)
    {
        mScript.mAnswer = [owner](const std::string& line) {
            return line == OWNER_LINE && !owner.empty() ? " 5000  " + owner + "\n" : "";
        };
    }

    /** From now on the lines with this text in them fail. */
    void LetFail(const std::vector<std::string>& texts)
    {
        mScript.mStatus = [texts](const std::string& line) {
            return std::any_of(texts.begin(), texts.end(),
                               [&](const std::string& text) { return line.find(text) != std::string::npos; })
                       ? 256
                       : 0;
        };
    }

    bool Create(const std::string& jdkHome = "/jdk")
    {
        return mHelper->CreateJavaProcessDump("adminconsole", jdkHome, PID, "Memory");
    }

    /** Creates the dump, forgets the lines and the log of that, and runs its thread. */
    void CreateAndRun(const std::string& jdkHome = "/jdk")
    {
        EXPECT_TRUE(Create(jdkHome));
        mScript.mLines.clear();
        ForgetLog();
        RunStarts();
    }

    const SnapshotData& GetRecord() const { return *static_cast<SnapshotData*>(mStarts.at(0).mRecord); }

    static std::string MoveLine(const std::string& from, const std::string& to)
    {
        return "mv -f " + from + " \"" + to + "\"";
    }

    std::unique_ptr<ScriptedHelper<>> mHelper;
    std::string mHeap;    ///< evidence file of the heap dump
    std::string mThreads; ///< evidence file of the thread dump
};

// ---- The record -------------------------------------------------------------------------------------------

TEST_F(JavaProcessDump, RecordHoldsAllThatTheThreadNeeds)
{
    EXPECT_TRUE(Create());
    const SnapshotData& record = GetRecord();
    EXPECT_EQ(record.mProcessName, mHeap);
    EXPECT_EQ(record.mPid, PID);
    EXPECT_EQ(record.mCommand,
              "su tarnweb -c \"/jdk/bin/jcmd 5000 GC.heap_dump " + WEB_TEMP + "/5000dump.hprof\"");
    EXPECT_EQ(record.mCounterType, "Memory");
    EXPECT_EQ(record.mJdkHome, "/jdk");
    EXPECT_EQ(record.mJavaProcessName, "adminconsole");
    EXPECT_EQ(record.mUser, "tarnweb");
    EXPECT_EQ(record.mTempPath, WEB_TEMP);
    EXPECT_TRUE(fs::is_directory(mRoot + "/adminconsole/5000/Evidence1")) << "made before the thread";
    EXPECT_THAT(mScript.mLines, ElementsAre(OWNER_LINE, OWNER_LINE)) << "for the folder and for the owner";
    RunStarts();
}

struct UserCase
{
    const char* mName;
    uid_t mUser;
    const char* mOwner;
    std::string mCommand;
    std::string mTempPath;
};

class JavaUser : public JavaProcessDump, public testing::WithParamInterface<UserCase>
{
};

TEST_P(JavaUser, DecidesOnFormAndFolder)
{
    SetUser(GetParam().mUser);
    SetOwner(GetParam().mOwner);
    EXPECT_TRUE(Create());
    EXPECT_EQ(GetRecord().mCommand, GetParam().mCommand);
    EXPECT_EQ(GetRecord().mTempPath, GetParam().mTempPath);
    RunStarts();
}

INSTANTIATE_TEST_SUITE_P(
    Contexts, JavaUser,
    testing::Values(
        UserCase{"RootAndAnotherOwner", ROOT, "tarnweb",
                 "su tarnweb -c \"/jdk/bin/jcmd 5000 GC.heap_dump " + WEB_TEMP + "/5000dump.hprof\"",
                 WEB_TEMP},
        UserCase{"RootAndRoot", ROOT, "root",
                 "su root -c \"/jdk/bin/jcmd 5000 GC.heap_dump " + TEMP + "/5000dump.hprof\"", TEMP},
        UserCase{"RootAndNoOwnerFound", ROOT, "",
                 "su root -c \"/jdk/bin/jcmd 5000 GC.heap_dump " + TEMP + "/5000dump.hprof\"", TEMP},
        UserCase{"OrdinaryAndAnotherOwner", ORDINARY, "tarnweb",
                 "/jdk/bin/jcmd 5000 GC.heap_dump " + TEMP + "/5000dump.hprof", TEMP},
        UserCase{"OrdinaryAndRoot", ORDINARY, "root",
                 "/jdk/bin/jcmd 5000 GC.heap_dump " + TEMP + "/5000dump.hprof", TEMP}),
    [](const auto& row) { return row.param.mName; });

TEST_F(JavaProcessDump, WithoutAnEvidencePathTheDumpIsTriedAllTheSame)
{
    ConfigurationMgr::GetInstance()->mEvidencePath = "/no/such/root";
    CreateAndRun();
    EXPECT_THAT(mScript.mLines,
                ElementsAre(StartsWith("su tarnweb"), MoveLine(WEB_TEMP + "/5000dump.hprof", ""),
                            StartsWith("su tarnweb"), MoveLine(WEB_TEMP + "/Thread_dump.log", "")));
}

// ---- The lines of the thread ------------------------------------------------------------------------------

TEST_F(JavaProcessDump, HeapComesFirstAndThreadsSecondAsTheOwner)
{
    CreateAndRun();
    EXPECT_THAT(
        mScript.mLines,
        ElementsAre("su tarnweb -c \"/jdk/bin/jcmd 5000 GC.heap_dump " + WEB_TEMP + "/5000dump.hprof\"",
                    MoveLine(WEB_TEMP + "/5000dump.hprof", mHeap),
                    "su tarnweb -c \"/jdk/bin/jcmd 5000 Thread.print > " + WEB_TEMP + "/Thread_dump.log\"",
                    MoveLine(WEB_TEMP + "/Thread_dump.log", mThreads)));
    EXPECT_THAT(GetLogLines(), IsEmpty());
}

TEST_F(JavaProcessDump, ADaemonThatIsNotRootNeedsNoSu)
{
    SetUser(ORDINARY);
    CreateAndRun();
    EXPECT_THAT(mScript.mLines, ElementsAre("/jdk/bin/jcmd 5000 GC.heap_dump " + TEMP + "/5000dump.hprof",
                                            MoveLine(TEMP + "/5000dump.hprof", mHeap),
                                            "/jdk/bin/jcmd 5000 Thread.print > " + TEMP + "/Thread_dump.log",
                                            MoveLine(TEMP + "/Thread_dump.log", mThreads)));
}

TEST_F(JavaProcessDump, WithoutAJdkTheLinesStartAtTheRoot)
{
    SetUser(ORDINARY);
    LetFail({"jcmd"});
    CreateAndRun("");
    EXPECT_THAT(mScript.mLines, ElementsAre("/bin/jcmd 5000 GC.heap_dump " + TEMP + "/5000dump.hprof",
                                            "/bin/jcmd 5000 Thread.print > " + TEMP + "/Thread_dump.log"));
}

TEST_F(JavaProcessDump, ThreadDumpTakesTimeAndFolderOfItsOwn)
{
    EXPECT_TRUE(Create());
    ConfigurationMgr::GetInstance()->mCurrentEvidenceNumber = 2;
    GetStore().mLocalTime = MakeLocalTime(2026, 11, 13, 2, 15, 0);
    RunStarts();
    EXPECT_EQ(mScript.mLines.back(),
              MoveLine(WEB_TEMP + "/Thread_dump.log",
                       mRoot + "/adminconsole/5000/Evidence2/5000_13-11_02.15.00_Memory.ThreadDump"));
}

TEST_F(JavaProcessDump, DestinationOfTheMoveIsQuotedAndItsSourceIsNot)
{
    auto* const record = new SnapshotData("/a b/heap", PID, "Memory");
    record->mTempPath = "/c d";
    EXPECT_EQ(ThreadJavaProcessDump(record), nullptr);
    EXPECT_EQ(mScript.mLines.at(1), "mv -f /c d/5000dump.hprof \"/a b/heap\"");
}

// ---- The buffer of 512 bytes ------------------------------------------------------------------------------

struct CutCase
{
    const char* mName;
    uid_t mUser;
    std::size_t mExtra; ///< characters that the heap line has beyond 511
};

class JavaLineCut : public JavaProcessDump, public testing::WithParamInterface<CutCase>
{
};

TEST_P(JavaLineCut, KeepsWhatFits)
{
    SetUser(GetParam().mUser);
    const bool isRoot = GetParam().mUser == ROOT;
    const std::string folder = isRoot ? WEB_TEMP : TEMP;
    const auto line = [&](const std::string& home, const std::string& rest) {
        const std::string inner = home + "/bin/jcmd 5000 " + rest;
        return isRoot ? "su tarnweb -c \"" + inner + "\"" : inner;
    };
    const std::string heapRest = "GC.heap_dump " + folder + "/5000dump.hprof";
    const std::string home(511 + GetParam().mExtra - line("", heapRest).size(), 'j');
    ASSERT_EQ(line(home, heapRest).size(), 511 + GetParam().mExtra);
    CreateAndRun(home);
    EXPECT_EQ(mScript.mLines.at(0), line(home, heapRest).substr(0, 511));
    EXPECT_EQ(mScript.mLines.at(2),
              line(home, "Thread.print > " + folder + "/Thread_dump.log").substr(0, 511));
    EXPECT_EQ(mScript.mLines.at(1), MoveLine(folder + "/5000dump.hprof", mHeap)) << "moves aren't cut";
}

INSTANTIATE_TEST_SUITE_P(Lengths, JavaLineCut,
                         testing::Values(CutCase{"RootFits", ROOT, 0}, CutCase{"RootLosesItsQuote", ROOT, 1},
                                         CutCase{"RootLosesMuch", ROOT, 600},
                                         CutCase{"OrdinaryFits", ORDINARY, 0},
                                         CutCase{"OrdinaryLosesOne", ORDINARY, 1},
                                         CutCase{"OrdinaryLosesMuch", ORDINARY, 6000}),
                         [](const auto& row) { return row.param.mName; });

// ---- Outcomes ---------------------------------------------------------------------------------------------

/** Which lines fail, and what runs and is logged then. */
struct OutcomeCase
{
    const char* mName;
    std::vector<std::string> mFailing; ///< texts in the lines that fail
    std::vector<int> mRun;             ///< which of the four lines run: heap, its move, threads, their move
    std::vector<int> mFailed;          ///< which of them are logged as failed
    bool mIsSuccess;
};

class JavaOutcome : public JavaProcessDump, public testing::WithParamInterface<OutcomeCase>
{
protected:
    void SetUp() override
    {
        JavaProcessDump::SetUp();
        mLines = {"su tarnweb -c \"/jdk/bin/jcmd 5000 GC.heap_dump " + WEB_TEMP + "/5000dump.hprof\"",
                  MoveLine(WEB_TEMP + "/5000dump.hprof", mHeap),
                  "su tarnweb -c \"/jdk/bin/jcmd 5000 Thread.print > " + WEB_TEMP + "/Thread_dump.log\"",
                  MoveLine(WEB_TEMP + "/Thread_dump.log", mThreads)};
        LetFail(GetParam().mFailing);
    }

    std::vector<std::string> GetExpectedLog() const
    {
        const auto failures = [this](int first, int last) {
            std::vector<std::string> logged;
            for (const int line : GetParam().mFailed) {
                if (line >= first && line <= last) {
                    logged.push_back("ThreadJavaProcessDump failed to execute : " +
                                     mLines[static_cast<std::size_t>(line)]);
                }
            }
            return logged;
        };
        std::vector<std::string> log = {"Starting to gather GC.heap_dump for PID : 5000"};
        for (const std::string& line : failures(0, 1)) {
            log.push_back(line);
        }
        log.push_back("Starting to gather Thread Dump for PID : 5000");
        for (const std::string& line : failures(2, 3)) {
            log.push_back(line);
        }
        if (GetParam().mIsSuccess) {
            log.push_back("ThreadJavaProcessDump executed successfully.");
        }
        return log;
    }

    std::vector<std::string> mLines;
};

TEST_P(JavaOutcome, RunsAndLogs)
{
    SetVerbose(1);
    CreateAndRun();
    std::vector<std::string> expected;
    for (const int line : GetParam().mRun) {
        expected.push_back(mLines[static_cast<std::size_t>(line)]);
    }
    EXPECT_EQ(mScript.mLines, expected);
    EXPECT_EQ(GetLogLines(), GetExpectedLog());
}

TEST_P(JavaOutcome, IsSilentUnlessVerbose)
{
    CreateAndRun();
    EXPECT_THAT(GetLogLines(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Rows, JavaOutcome,
    testing::Values(
        OutcomeCase{"BothArrive", {}, {0, 1, 2, 3}, {}, true},
        OutcomeCase{"HeapFailsBeforeGoodThreads", {"GC.heap_dump"}, {0, 2, 3}, {0}, true},
        OutcomeCase{"HeapIsNotMoved", {"mv -f " + WEB_TEMP + "/5000"}, {0, 1, 2, 3}, {1}, true},
        OutcomeCase{"ThreadsFailAfterGoodHeap", {"Thread.print"}, {0, 1, 2}, {2}, true},
        OutcomeCase{"ThreadsAreNotMoved", {"Thread_dump.log \""}, {0, 1, 2, 3}, {3}, true},
        OutcomeCase{"BothFail", {"jcmd"}, {0, 2}, {0, 2}, false},
        OutcomeCase{"NeitherIsMoved", {"mv -f"}, {0, 1, 2, 3}, {1, 3}, false},
        OutcomeCase{"HeapFailsAndThreadsAreNotMoved", {"GC.heap", "mv -f"}, {0, 2, 3}, {0, 3}, false},
        OutcomeCase{"HeapIsNotMovedAndThreadsFail", {"mv -f", "Thread.print"}, {0, 1, 2}, {1, 2}, false}),
    [](const auto& row) { return row.param.mName; });

TEST_F(JavaProcessDump, LinesAreWrittenBeforeTheRecordIsFreed)
{
    SetVerbose(1);
    EXPECT_THAT(NoteEndOfRecord(ThreadJavaProcessDump, new SnapshotData("heap", PID, "Memory")),
                ElementsAre(false, false, false, true));
    EXPECT_EQ(GetLogLines().back(), "ThreadJavaProcessDump executed successfully.");
}

TEST_F(JavaProcessDump, FailedMoveLeavesTheTemporaryFile)
{
    RequireHost(); // the dumps go through the product's folder for temporary files
    if (IsSkipped()) {
        return;
    }
    mScript.mStatus = [](const std::string& line) {
        return line.rfind("mv", 0) == 0 ? system(line.c_str()) : 0;
    };
    GetSeams().mSystem = nullptr;
    SetUser(ORDINARY);
    WriteFile(TEMP + "/5000dump.hprof", "heap");
    WriteFile(TEMP + "/Thread_dump.log", "threads");
    EXPECT_TRUE(Create());
    fs::remove_all(mRoot + "/adminconsole");
    testing::internal::CaptureStderr();
    RunStarts();
    (void)testing::internal::GetCapturedStderr();
    EXPECT_EQ(ReadFile(TEMP + "/5000dump.hprof"), "heap") << "its folder has gone meanwhile";
    EXPECT_EQ(ReadFile(mThreads), "threads") << "whose folder was made anew";
    EXPECT_FALSE(fs::exists(TEMP + "/Thread_dump.log"));
}
