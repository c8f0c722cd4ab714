#include "config/ConfigurationMgr.h"

#include "config/JavaProcessNames.h"
#include "config/SettingsFixture.h"
#include "counters/CPUCounterMgr.h"
#include "counters/DeadLockCounterMgr.h"
#include "counters/MemoryCounterMgr.h"
#include "evidence/SnapshotData.h"
#include "platform/THUEnv.h"
#include "platform/UnixHelperFunction.h"
#include "support/HelperSeam.h"
#include "support/WatchedMemory.h"

#include <atomic>
#include <filesystem>
#include <thread>

namespace
{
class ConfigurationObject : public SettingsFixture
{
};

TEST_F(ConfigurationObject, StartsWithTheDefaults)
{
    const struct
    {
        const char* mName;
        int mActual;
        int mExpected;
    } rows[] = {{"mPollInterval", mConfig->mPollInterval, 600},
                {"mCaptureNetworkStat", mConfig->mCaptureNetworkStat, 1},
                {"mDeadlockInterval", mConfig->mDeadlockInterval, 60},
                {"mIncreaseLogLevel", mConfig->mIncreaseLogLevel, 0},
                {"mCaptureProcessDump", mConfig->mCaptureProcessDump, 0},
                {"mAlwaysDump", mConfig->mAlwaysDump, 0},
                {"mForceReadingInterval", mConfig->mForceReadingInterval, 0},
                {"mCPUCount", mConfig->mCPUCount, 1},
                {"mMaxDumpCount", mConfig->mMaxDumpCount, 3},
                {"mCaptureDiskIO", mConfig->mCaptureDiskIO, 1},
                {"mNumberOfReadings", mConfig->mNumberOfReadings, 50},
                {"mReadingInterval", mConfig->mReadingInterval, 5},
                {"mVerbose", mConfig->mVerbose, 0},
                {"mDaemonPid", mConfig->mDaemonPid, 0},
                {"mCurrentEvidenceNumber", mConfig->mCurrentEvidenceNumber, 0},
                {"mCaptureWithoutThreshold", mConfig->mCaptureWithoutThreshold, 0},
                {"mPurgeOldEvidence", mConfig->mPurgeOldEvidence, 0}};
    for (const auto& row : rows) {
        EXPECT_EQ(row.mActual, row.mExpected) << row.mName;
    }
    EXPECT_EQ(mConfig->mTotalMemoryInKB, 1048576);
}

TEST_F(ConfigurationObject, StartsWithEmptyTextsButTheUnitAndThePaths)
{
    EXPECT_EQ(mConfig->mMemoryUnit, "ABSOLUTE");
    EXPECT_EQ(mConfig->mEvidencePath, "");
    EXPECT_EQ(mConfig->mReservedText, "");
    EXPECT_EQ(mConfig->mCustomScriptPath, "");
    EXPECT_EQ(mConfig->mJdkHome, "");
    EXPECT_EQ(mConfig->mBasePath, "/usr/tarnv");
    EXPECT_EQ(mConfig->mLogFilePath, GetTHPerfMonLogFilePath());
}

TEST_F(ConfigurationObject, StartsWithEmptyTables)
{
    EXPECT_TRUE(mConfig->mProcessNameAndProcessIDMap.empty());
    EXPECT_TRUE(mConfig->mProcessIDAndProcessNameMap.empty());
    EXPECT_TRUE(mConfig->mMonitoredProcessNames.empty());
    EXPECT_TRUE(mConfig->mCustomScriptArguments.empty());
    EXPECT_TRUE(mConfig->mLogLevelMap.empty());
    EXPECT_TRUE(mConfig->mThreadMap.empty());
}

TEST_F(ConfigurationObject, KnowsTheJavaProcesses)
{
    const std::map<std::string, std::string> known = {{"adminconsole", "tarn.thx.AdminConsole"},
                                                      {"thwmc", "Dthwmc"}};
    EXPECT_EQ(mConfig->mJavaProcessMap, known);
    EXPECT_EQ(ADMIN_CONSOLE_JAVA, "adminconsole");
    EXPECT_EQ(WEB_MANAGEMENT_JAVA, "thwmc");
}

TEST_F(ConfigurationObject, InsertsTheJavaProcessesOnlyWhereTheyAreMissing)
{
    mConfig->mJavaProcessMap = {{"thwmc", "changed"}, {"other", "kept"}};
    mConfig->InitJavaProcesses();
    const std::map<std::string, std::string> known = {
        {"adminconsole", "tarn.thx.AdminConsole"}, {"other", "kept"}, {"thwmc", "changed"}};
    EXPECT_EQ(mConfig->mJavaProcessMap, known);
}

TEST_F(ConfigurationObject, HasAManagerForEachResource)
{
    EXPECT_NE(dynamic_cast<CPUCounterMgr*>(mConfig->mCPUCounterMgr), nullptr);
    EXPECT_NE(dynamic_cast<MemoryCounterMgr*>(mConfig->mMemoryCounterMgr), nullptr);
    EXPECT_NE(dynamic_cast<DeadLockCounterMgr*>(mConfig->mDeadLockCounterMgr), nullptr);
    EXPECT_EQ(mConfig->mCPUCounterMgr->GetMessageStr(), "CPU");
    EXPECT_EQ(mConfig->mMemoryCounterMgr->GetMessageStr(), "Memory");
    EXPECT_EQ(mConfig->mDeadLockCounterMgr->GetMessageStr(), "Deadlock");
}

TEST_F(ConfigurationObject, IsTheSameObjectAtEachCall)
{
    EXPECT_EQ(ConfigurationMgr::GetInstance(), mConfig);
    EXPECT_EQ(ConfigurationMgr::mConfigMgr, mConfig);
}

TEST_F(ConfigurationObject, IsReturnedWithoutALockOnceItIsBuilt)
{
    const long before = CountLocks();
    EXPECT_EQ(ConfigurationMgr::GetInstance(), mConfig);
    EXPECT_EQ(CountLocks(), before);
    ForgetConfiguration();
    mConfig = ConfigurationMgr::GetInstance();
    EXPECT_GT(CountLocks(), before) << "the building is under one";
}

/** Counts the folders that helpers are asked to make. */
class FolderCounter : public UnixHelperFunction
{
public:
    explicit FolderCounter(std::atomic<int>& count) : mCount(count) {}

    bool HF_CreateDir(std::string path, bool recursive) override
    {
        ++mCount;
        return UnixHelperFunction::HF_CreateDir(path, recursive);
    }

private:
    std::atomic<int>& mCount;
};

/** Notes how many objects there had been when the folder of the log was asked for. */
class MomentOfFolder : public UnixHelperFunction
{
public:
    explicit MomentOfFolder(std::size_t& moment) : mMoment(moment) {}

    bool HF_CreateDir(std::string path, bool recursive) override
    {
        mMoment = CountAllocations();
        return UnixHelperFunction::HF_CreateDir(path, recursive);
    }

private:
    std::size_t& mMoment;
};

TEST_F(ConfigurationObject, IsBuiltFromItsHelperThenTheFolderOfTheLogThenItsManagersInOrder)
{
    std::size_t folder = 0;
    ForgetConfiguration();
    GetHelperSeam().mMake = [&folder] { return new MomentOfFolder(folder); };
    mConfig = ConfigurationMgr::GetInstance();
    const std::size_t helper = GetAllocationNumber(mConfig->mHelper);
    const std::size_t processor = GetAllocationNumber(mConfig->mCPUCounterMgr);
    const std::size_t memory = GetAllocationNumber(mConfig->mMemoryCounterMgr);
    EXPECT_GT(helper, 0U);
    EXPECT_LT(helper, folder);
    EXPECT_LT(folder, processor);
    EXPECT_LT(processor, memory);
    EXPECT_LT(memory, GetAllocationNumber(mConfig->mDeadLockCounterMgr));
}

TEST_F(ConfigurationObject, IsBuiltOnceForThreadsThatComeAtTheSameMoment)
{
    constexpr int ROUNDS = 50;
    constexpr int THREADS = 4;
    std::atomic<int> helpers = 0;
    std::atomic<int> folders = 0;
    GetHelperSeam().mMake = [&] {
        ++helpers;
        return new FolderCounter(folders);
    };
    for (int round = 0; round < ROUNDS; ++round) {
        ForgetConfiguration();
        std::atomic<int> arrived = 0;
        ConfigurationMgr* seen[THREADS] = {};
        std::vector<std::thread> threads;
        for (ConfigurationMgr*& instance : seen) {
            threads.emplace_back([&arrived, &instance] {
                ++arrived;
                while (arrived < THREADS) {
                    std::this_thread::yield();
                }
                instance = ConfigurationMgr::GetInstance();
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        for (const ConfigurationMgr* const instance : seen) {
            ASSERT_NE(instance, nullptr);
            ASSERT_EQ(instance, seen[0]);
        }
    }
    EXPECT_EQ(helpers, ROUNDS);
    EXPECT_EQ(folders, ROUNDS);
}

TEST_F(ConfigurationObject, FindsTheThresholdOfExactlyThatName)
{
    const std::map<std::string, int> thresholds = {{"tbrd", 90}, {"zero", 0}};
    mConfig->mVerbose = 1;
    EXPECT_EQ(mConfig->GetThreasholdValue(thresholds, "tbrd"), 90);
    EXPECT_EQ(mConfig->GetThreasholdValue(thresholds, "zero"), 0);
    EXPECT_EQ(GetLogLines(), Lines());
    for (const char* const name : {"TBRD", "tbr", "tbrd ", ""}) {
        EXPECT_EQ(mConfig->GetThreasholdValue(thresholds, name), -1) << name;
    }
    EXPECT_EQ(GetLogLines(), (Lines{"Could not find threshold value for process TBRD",
                                    "Could not find threshold value for process tbr",
                                    "Could not find threshold value for process tbrd ",
                                    "Could not find threshold value for process "}));
}

TEST_F(ConfigurationObject, DoesNotTraceAMissingThresholdUnlessVerbose)
{
    for (const int verbose : {0, 2, -1}) {
        mConfig->mVerbose = verbose;
        EXPECT_EQ(mConfig->GetThreasholdValue({}, "tbrd"), -1);
    }
    EXPECT_EQ(GetLogLines(), Lines());
}

TEST_F(ConfigurationObject, InsertsIntoACopyOnly)
{
    std::map<std::string, int> thresholds = {{"a", 1}};
    mConfig->InsertIntoMap(thresholds, "b", 2);
    EXPECT_EQ(thresholds, (std::map<std::string, int>{{"a", 1}}));
}

TEST_F(ConfigurationObject, DumpsTheNameTableWhenVerbose)
{
    mConfig->mVerbose = 1;
    mConfig->mProcessNameAndProcessIDMap = {{"tbrd", 12}, {"java", 7}, {"tbrd", 3}};
    mConfig->PrintProcessNameAndProcessIDMap();
    EXPECT_EQ(GetLogLines(), (Lines{"\tKEY\tELEMENT", "\tjava\t7", "\ttbrd\t12", "\ttbrd\t3"}));
}

TEST_F(ConfigurationObject, DumpsTheHeadOfAnEmptyNameTable)
{
    mConfig->mVerbose = 1;
    mConfig->PrintProcessNameAndProcessIDMap();
    EXPECT_EQ(GetLogLines(), Lines{"\tKEY\tELEMENT"});
}

TEST_F(ConfigurationObject, DoesNotDumpTheNameTableUnlessVerbose)
{
    mConfig->mProcessNameAndProcessIDMap = {{"tbrd", 12}};
    for (const int verbose : {0, 2}) {
        mConfig->mVerbose = verbose;
        mConfig->PrintProcessNameAndProcessIDMap();
    }
    EXPECT_EQ(GetLogLines(), Lines());
}

TEST_F(ConfigurationObject, DumpsTheNameTableToTheEndWhenLinesAreLost)
{
    mConfig->mVerbose = 1;
    mConfig->mProcessNameAndProcessIDMap = {{"tbrd", 12}};
    SpoilLogFolder();
    mConfig->PrintProcessNameAndProcessIDMap();
    EXPECT_EQ(ReadFile(GetTHPerfMonLogPath()), "not a folder");
}

/** Notes what it is asked for. */
class NotingHelper : public UnixHelperFunction
{
public:
    explicit NotingHelper(Lines& notes) : mNotes(notes) {}

    void PopulateProcessNameAndProcessIDMap(std::multimap<std::string, int>& table) override
    {
        table.emplace("filled", 1);
    }

    void PopulateProcessIDAndProcessNameMap(std::map<int, std::string>& table) override
    {
        table.emplace(2, "filled");
    }

    void CloseRunningThread(unsigned long threadId) override
    {
        mNotes.push_back("close " + std::to_string(threadId));
    }

private:
    Lines& mNotes;
};

class ConfigurationMgrHelper : public SettingsFixture
{
protected:
    void SetUp() override
    {
        GetHelperSeam().mMake = [this] { return new NotingHelper(mNotes); };
        SettingsFixture::SetUp();
    }

    Lines mNotes;
};

TEST_F(ConfigurationMgrHelper, FillsTheProcessTables)
{
    mConfig->PopulateProcessNameAndProcessIDMultiMap();
    mConfig->PopulateProcessIDAndProcessNameMap();
    EXPECT_EQ(mConfig->mProcessNameAndProcessIDMap, (std::multimap<std::string, int>{{"filled", 1}}));
    EXPECT_EQ(mConfig->mProcessIDAndProcessNameMap, (std::map<int, std::string>{{2, "filled"}}));
}

TEST_F(ConfigurationMgrHelper, ClosesNoThreadWhenNoneIsRegistered)
{
    mConfig->CloseThreadHandles();
    EXPECT_EQ(mNotes, Lines());
}

TEST_F(ConfigurationMgrHelper, ClosesEveryRegisteredThreadAndKeepsTheEntries)
{
    // The leak check of the sanitizer build sees whether the record is freed.
    mConfig->mThreadMap = {{30, nullptr}, {7, new SnapshotData}};
    mConfig->CloseThreadHandles();
    EXPECT_EQ(mNotes, (Lines{"close 7", "close 30"}));
    EXPECT_EQ(mConfig->mThreadMap.size(), 2U);
}
} // namespace
