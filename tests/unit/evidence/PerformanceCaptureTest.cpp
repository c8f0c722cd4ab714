#include "config/ConfigurationMgr.h"
#include "evidence/CaptureFixture.h"
#include "evidence/CommandRunData.h"
#include "evidence/SnapshotData.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <memory>

namespace fs = std::filesystem;

using testing::ElementsAre;
using testing::IsEmpty;

namespace
{
constexpr int PID = 4321;

using Worker = void (UnixHelperFunction::*)(std::string, int, std::string, std::string);
using Commands = std::vector<std::string>;

const Commands NETWORK_COMMANDS = {
    "/t/netstat -p --tcp | grep CLOSE_WAIT",
    "/t/netstat -na | grep CLOSE_WAIT",
    "/t/netstat -e",
    "/t/netstat -s",
    "/t/netstat -nalp",
    "/t/netstat -op | /t/grep 4321",
    "/t/netstat -nop | /t/grep 4321",
    "/t/netstat -anop | /t/grep 4321",
    "/t/netstat -tanoxp | /t/grep 4321",
};

const Commands MEMORY_COMMANDS = {
    "/t/top -b -n 1",       "/t/ps faxeo pid,pmem,rss,vsz,sz,size,args --width 120", "/t/free ", "/t/vmstat ",
    "/t/cat /proc/meminfo",
};

const Commands PROCESS_COMMANDS = {
    "/t/cat /proc/4321/smaps",
    "/t/cat /proc/4321/status",
    "/t/gstack 4321",
    "/t/pmap 4321",
};
} // namespace

class PerformanceCapture : public CaptureFixture
{
protected:
    void SetUp() override
    {
        CaptureFixture::SetUp();
        mHelper.reset(MakeHelper());
        SetReadings(5, 1);
        GetSeams().mSleep = [this](unsigned seconds) {
            mSleeps.push_back(seconds);
            return 0U;
        };
    }

    static void SetReadings(int interval, int count)
    {
        ConfigurationMgr::GetInstance()->mReadingInterval = interval;
        ConfigurationMgr::GetInstance()->mNumberOfReadings = count;
    }

    void Work(Worker worker, const std::string& javaName = "")
    {
        (mHelper.get()->*worker)("exampled", PID, "CPU", javaName);
    }

    /** Checks that these lines ran in this order, and that the file has a head for each. */
    void ExpectCommands(const Commands& commands, const std::string& file)
    {
        Commands lines;
        std::string sections;
        for (const std::string& command : commands) {
            lines.push_back(command + " >> " + file);
            sections += Section(command);
        }
        EXPECT_EQ(mSystemLines, lines);
        EXPECT_EQ(ReadFile(file), sections);
    }

    std::unique_ptr<ScriptedHelper<>> mHelper;
    std::vector<unsigned> mSleeps; ///< seconds, each call
};

// ---- The lines of one pass --------------------------------------------------------------------------------

struct WorkerCase
{
    const char* mSuffix;
    Worker mWorker;
    Commands mCommands;
    std::vector<unsigned> mSleeps;
};

class PerformanceWorker : public PerformanceCapture, public testing::WithParamInterface<WorkerCase>
{
};

TEST_P(PerformanceWorker, RunsItsLinesInOrderIntoOneFile)
{
    Work(GetParam().mWorker);
    ExpectCommands(GetParam().mCommands, Path("exampled", PID, 1, "CPU", GetParam().mSuffix));
    EXPECT_EQ(mSleeps, GetParam().mSleeps);
    EXPECT_THAT(GetLogLines(), IsEmpty());
}

TEST_P(PerformanceWorker, WritesUnderTheJavaNameWhenThereIsOne)
{
    Work(GetParam().mWorker, "adminconsole");
    ExpectCommands(GetParam().mCommands, Path("adminconsole", PID, 1, "CPU", GetParam().mSuffix));
    EXPECT_FALSE(fs::exists(mRoot + "/exampled"));
}

TEST_P(PerformanceWorker, TriesEveryLineWithAnEmptyFileName)
{
    ConfigurationMgr::GetInstance()->mEvidencePath = "/no/such/root";
    Work(GetParam().mWorker);
    Commands lines;
    for (const std::string& command : GetParam().mCommands) {
        lines.push_back(command + " >> ");
    }
    EXPECT_EQ(mSystemLines, lines);
    EXPECT_EQ(mSleeps, GetParam().mSleeps) << "the readings are waited out all the same";
    EXPECT_THAT(GetLogLines(), ElementsAre("Error: Failed to create evidence folder /no/such/root"));
}

TEST_P(PerformanceWorker, ContinuesAfterALineThatFails)
{
    mSystemStatus = 127 * 256;
    Work(GetParam().mWorker);
    EXPECT_EQ(mSystemLines.size(), GetParam().mCommands.size());
}

INSTANTIATE_TEST_SUITE_P(
    Families, PerformanceWorker,
    testing::Values(WorkerCase{"Netstat", &UnixHelperFunction::ExecuteNetStat, NETWORK_COMMANDS, {}},
                    WorkerCase{"MemoryPerf", &UnixHelperFunction::ExecuteMemStat, MEMORY_COMMANDS, {5}},
                    WorkerCase{
                        "ProcessData", &UnixHelperFunction::ExecuteProcessSpecificCmd, PROCESS_COMMANDS, {}}),
    [](const auto& row) { return row.param.mSuffix; });

// ---- Readings ---------------------------------------------------------------------------------------------

class MemoryReadings : public PerformanceCapture, public testing::WithParamInterface<int>
{
};

TEST_P(MemoryReadings, TakeFiveSectionsAndASleepEach)
{
    const int count = GetParam();
    SetReadings(7, count);
    Commands expected;
    std::vector<unsigned> sleeps;
    for (int reading = 0; reading < count; ++reading) {
        expected.insert(expected.end(), MEMORY_COMMANDS.begin(), MEMORY_COMMANDS.end());
        sleeps.push_back(7);
    }
    Work(&UnixHelperFunction::ExecuteMemStat);
    ExpectCommands(expected, Path("exampled", PID, 1, "CPU", "MemoryPerf"));
    EXPECT_EQ(mSleeps, sleeps) << "one after each reading, the last included";
}

INSTANTIATE_TEST_SUITE_P(Counts, MemoryReadings, testing::Values(-1, 0, 1, 2, 50));

TEST_F(PerformanceCapture, MemoryReadingsKeepTheSettingsOfTheirStart)
{
    SetReadings(7, 2);
    GetSeams().mSleep = [this](unsigned seconds) {
        mSleeps.push_back(seconds);
        SetReadings(1, 10);
        return 0U;
    };
    Work(&UnixHelperFunction::ExecuteMemStat);
    EXPECT_THAT(mSleeps, ElementsAre(7U, 7U));
    EXPECT_EQ(mSystemLines.size(), 10U);
}

TEST_F(PerformanceCapture, MemoryReadingSleepsAfterItsLines)
{
    std::size_t linesAtSleep = 0;
    GetSeams().mSleep = [&](unsigned) {
        linesAtSleep = mSystemLines.size();
        return 0U;
    };
    Work(&UnixHelperFunction::ExecuteMemStat);
    EXPECT_EQ(linesAtSleep, 5U);
}

TEST_F(PerformanceCapture, NetworkTakesOneSnapshotWhateverTheReadings)
{
    SetReadings(5, 50);
    Work(&UnixHelperFunction::ExecuteNetStat);
    EXPECT_EQ(mSystemLines.size(), 9U);
    EXPECT_THAT(mSleeps, IsEmpty());
}

// ---- Disk -------------------------------------------------------------------------------------------------

struct DiskCase
{
    const char* mName;
    int mInterval;
    int mCount;
    std::string mIostat;
    std::string mMpstat;
};

class DiskArguments : public PerformanceCapture, public testing::WithParamInterface<DiskCase>
{
};

TEST_P(DiskArguments, PutTheIntervalBeforeTheCountAndLetTheToolsSample)
{
    SetReadings(GetParam().mInterval, GetParam().mCount);
    Work(&UnixHelperFunction::ExecuteDiskStat);
    ASSERT_EQ(mStarts.size(), 2U);
    EXPECT_EQ(mStarts[0].mBody, ThreadRunCommand);
    EXPECT_EQ(mStarts[1].mBody, ThreadRunCommand);
    EXPECT_THAT(mSystemLines, IsEmpty()) << "it has returned without them";
    RunStarts();
    const std::string iostatFile = Path("exampled", PID, 1, "CPU", "DiskPerf_iostat");
    const std::string mpstatFile = Path("exampled", PID, 1, "CPU", "DiskPerf_mpstat");
    EXPECT_THAT(mSystemLines, ElementsAre(GetParam().mIostat + " >> " + iostatFile,
                                          GetParam().mMpstat + " >> " + mpstatFile));
    EXPECT_EQ(ReadFile(iostatFile), Section(GetParam().mIostat));
    EXPECT_EQ(ReadFile(mpstatFile), Section(GetParam().mMpstat));
    EXPECT_THAT(mSleeps, IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Settings, DiskArguments,
                         testing::Values(DiskCase{"Defaults", 5, 50, "/t/iostat -xt 5 50", "/t/mpstat 5 50"},
                                         DiskCase{"One", 1, 1, "/t/iostat -xt 1 1", "/t/mpstat 1 1"},
                                         DiskCase{"None", 0, 0, "/t/iostat -xt 0 0", "/t/mpstat 0 0"},
                                         DiskCase{"Largest", 2147483647, -2147483647,
                                                  "/t/iostat -xt 2147483647 -2147483647",
                                                  "/t/mpstat 2147483647 -2147483647"}),
                         [](const auto& row) { return row.param.mName; });

TEST_F(PerformanceCapture, DiskWritesUnderTheJavaNameWhenThereIsOne)
{
    Work(&UnixHelperFunction::ExecuteDiskStat, "adminconsole");
    RunStarts();
    EXPECT_THAT(GetEvidence(),
                ElementsAre("adminconsole/4321/Evidence1/4321_13-11_02.10.28_CPU.DiskPerf_iostat",
                            "adminconsole/4321/Evidence1/4321_13-11_02.10.28_CPU.DiskPerf_mpstat",
                            "adminconsole/4321/evidence.lock"));
}

TEST_F(PerformanceCapture, DiskTriesBothToolsWithAnEmptyFileName)
{
    ConfigurationMgr::GetInstance()->mEvidencePath = "/no/such/root";
    Work(&UnixHelperFunction::ExecuteDiskStat);
    RunStarts();
    EXPECT_THAT(mSystemLines, ElementsAre("/t/iostat -xt 5 1 >> ", "/t/mpstat 5 1 >> "));
}

TEST_F(PerformanceCapture, DiskIsDoneWhenItsToolsWereStarted)
{
    SetVerbose(1);
    EXPECT_EQ(ThreadCaptureDiskPerformanceData(new SnapshotData("exampled", PID, "CPU")), nullptr);
    EXPECT_THAT(GetLogLines(), ElementsAre("Thread (TID : 77) created to run the /t/iostat command ",
                                           "Thread (TID : 77) created to run the /t/mpstat command ",
                                           "Disk Performance data collected successfully."));
    RunStarts();
}

TEST_F(PerformanceCapture, DiskStartsTheSecondToolWhenTheFirstCantBe)
{
    RefuseThreads();
    Work(&UnixHelperFunction::ExecuteDiskStat);
    EXPECT_THAT(GetLogLines(), ElementsAre("Error: Failed to create a thread to run the /t/iostat command ",
                                           "Error: Failed to create a thread to run the /t/mpstat command "));
}

// ---- Thread bodies ----------------------------------------------------------------------------------------

namespace
{
/** Notes which worker it was asked for. */
class WorkerRecorder : public UnixHelperFunction
{
public:
    explicit WorkerRecorder(std::vector<std::string>& calls) : mCalls(calls) {}
    ~WorkerRecorder() override { mCalls.push_back("deleted"); }

    void ExecuteNetStat(std::string name, int pid, std::string label, std::string java) override
    {
        Note("net", name, pid, label, java);
    }
    void ExecuteMemStat(std::string name, int pid, std::string label, std::string java) override
    {
        Note("memory", name, pid, label, java);
    }
    void ExecuteDiskStat(std::string name, int pid, std::string label, std::string java) override
    {
        Note("disk", name, pid, label, java);
    }
    void ExecuteProcessSpecificCmd(std::string name, int pid, std::string label, std::string java) override
    {
        Note("process", name, pid, label, java);
    }

private:
    void Note(const std::string& worker, const std::string& name, int pid, const std::string& label,
              const std::string& java)
    {
        mCalls.push_back(worker + ":" + name + ":" + std::to_string(pid) + ":" + label + ":" + java);
    }

    std::vector<std::string>& mCalls;
};

struct BodyCase
{
    const char* mWorker;
    ThreadFunction mBody;
    const char* mDone;
};
} // namespace

class PerformanceThread : public PerformanceCapture, public testing::WithParamInterface<BodyCase>
{
protected:
    void Run()
    {
        GetHelperSeam().mMake = [this] { return new WorkerRecorder(mCalls); };
        auto* const record = new SnapshotData("java", PID, "CPU");
        record->mJavaProcessName = "adminconsole";
        EXPECT_EQ(GetParam().mBody(record), nullptr);
    }

    std::vector<std::string> mCalls;
};

TEST_P(PerformanceThread, RunsItsWorkerWithAHelperOfItsOwn)
{
    Run();
    EXPECT_THAT(mCalls,
                ElementsAre(std::string(GetParam().mWorker) + ":java:4321:CPU:adminconsole", "deleted"));
    EXPECT_THAT(GetLogLines(), IsEmpty());
}

TEST_P(PerformanceThread, LogsThatItIsDoneWhenVerbose)
{
    SetVerbose(1);
    Run();
    EXPECT_THAT(GetLogLines(), ElementsAre(GetParam().mDone));
}

TEST_P(PerformanceThread, WritesItsDoneLineBeforeItsRecordIsFreed)
{
    SetVerbose(1);
    GetHelperSeam().mMake = [this] { return new WorkerRecorder(mCalls); };
    EXPECT_THAT(NoteEndOfRecord(GetParam().mBody, new SnapshotData("java", PID, "CPU")),
                ElementsAre(false, true));
    EXPECT_THAT(GetLogLines(), ElementsAre(GetParam().mDone));
}

INSTANTIATE_TEST_SUITE_P(
    Families, PerformanceThread,
    testing::Values(
        BodyCase{"memory", ThreadMemoryPerformance, "Memory Performance data collected successfully."},
        BodyCase{"net", ThreadNetworkPerformance, "Network Performance data collected successfully."},
        BodyCase{"disk", ThreadCaptureDiskPerformanceData, "Disk Performance data collected successfully."},
        BodyCase{"process", ThreadProcessSpecificData, "Process specific data collected successfully."}),
    [](const auto& row) { return row.param.mWorker; });

TEST_F(PerformanceCapture, DoneLineComesAlsoWhenNothingCouldBeCollected)
{
    SetVerbose(1);
    mSystemStatus = 512;
    ConfigurationMgr::GetInstance()->mEvidencePath = "/no/such/root";
    EXPECT_EQ(ThreadProcessSpecificData(new SnapshotData("exampled", PID, "CPU")), nullptr);
    EXPECT_THAT(GetLogLines(),
                ElementsAre("Error: Failed to create evidence folder /no/such/root",
                            "CollectCommandData : Command to execute : /t/cat /proc/4321/smaps >> ",
                            "CollectCommandData : command /t/cat /proc/4321/smaps >>  return the 512",
                            "CollectCommandData : Command to execute : /t/cat /proc/4321/status >> ",
                            "CollectCommandData : command /t/cat /proc/4321/status >>  return the 512",
                            "CollectCommandData : Command to execute : /t/gstack 4321 >> ",
                            "CollectCommandData : command /t/gstack 4321 >>  return the 512",
                            "CollectCommandData : Command to execute : /t/pmap 4321 >> ",
                            "CollectCommandData : command /t/pmap 4321 >>  return the 512",
                            "Process specific data collected successfully."));
}

TEST_F(PerformanceCapture, ProcessThatHasEndedLeavesOnlyHeads)
{
    GetSeams().mSystem = nullptr;
    CmdPath& tools = *mHelper->mCmdPath;
    tools.mCat = "/bin/cat";
    tools.mGstack = tools.mPmap = "/no/such";
    testing::internal::CaptureStderr();
    mHelper->ExecuteProcessSpecificCmd("exampled", 99999999, "CPU", "");
    (void)testing::internal::GetCapturedStderr();
    EXPECT_EQ(ReadFile(mRoot + "/exampled/9999999/Evidence1/99999999_13-11_02.10.28_CPU.ProcessData"),
              Section("/bin/cat /proc/99999999/smaps") + Section("/bin/cat /proc/99999999/status") +
                  Section("/no/such 99999999") + Section("/no/such 99999999"));
}
