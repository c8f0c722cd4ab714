#include "platform/UnixHelperFunction.h"

#include "base/MainThread.h"
#include "config/ConfigurationMgr.h"
#include "platform/CommandPath.h"
#include "support/ConfigurationFixture.h"
#include "support/ConfigurationSeam.h"
#include "support/ScriptedHelper.h"

#include <gmock/gmock.h>

#include <atomic>
#include <cerrno>
#include <filesystem>
#include <thread>

#include <syslog.h>
#include <unistd.h>

using testing::ElementsAre;
using testing::IsEmpty;

namespace
{
class UnixHelper : public ConfigurationFixture
{
protected:
    HelperScript mScript;
    ScriptedHelper<> mHelper{mScript};
};
} // namespace

// ---- The object

TEST_F(UnixHelper, KnowsNothingOfTheMachineWhenItIsNew)
{
    EXPECT_NE(mHelper.mCmdPath, nullptr);
    EXPECT_EQ(mHelper.mCPUCount, 0);
    EXPECT_EQ(mHelper.mTotalMemoryInKB, 0);
    EXPECT_THAT(mScript.mLines, IsEmpty());
}

TEST_F(UnixHelper, DeletesItsToolPathsThroughTheirVirtualDestructor)
{
    struct NotingPaths : CmdPath
    {
        explicit NotingPaths(bool& isDeleted) : mIsDeleted(isDeleted) {}
        ~NotingPaths() override { mIsDeleted = true; }
        bool& mIsDeleted;
    };
    bool isDeleted = false;
    {
        ScriptedHelper<> helper(mScript);
        delete helper.mCmdPath;
        helper.mCmdPath = new NotingPaths(isDeleted);
    }
    EXPECT_TRUE(isDeleted);
}

TEST_F(UnixHelper, CanBeDestroyedWithoutToolPaths)
{
    ScriptedHelper<> helper(mScript);
    delete helper.mCmdPath;
    helper.mCmdPath = nullptr;
}

// ---- Cached probes

namespace
{
/** Finds one processor or kilobyte more with each probe, beginning with none. */
struct CountingProbes : UnixHelperFunction
{
    void SetCPUCount() override { mCPUCount = mProbes++; }
    void SetTotalSizeOfMemoryInKB() override { mTotalMemoryInKB = mProbes++; }
    int mProbes = 0;
};
} // namespace

TEST_F(UnixHelper, ProbesTheProcessorsUntilThereAreAny)
{
    CountingProbes helper;
    EXPECT_EQ(helper.GetCPUCount(), 0);
    EXPECT_EQ(helper.GetCPUCount(), 1);
    EXPECT_EQ(helper.GetCPUCount(), 1);
    EXPECT_EQ(helper.mProbes, 2);
}

TEST_F(UnixHelper, ProbesTheMemoryUntilThereIsAny)
{
    CountingProbes helper;
    EXPECT_EQ(helper.GetTotalSizeOfMemoryInKB(), 0);
    EXPECT_EQ(helper.GetTotalSizeOfMemoryInKB(), 1);
    EXPECT_EQ(helper.GetTotalSizeOfMemoryInKB(), 1);
    EXPECT_EQ(helper.mProbes, 2);
}

TEST_F(UnixHelper, RunsNoLineForWhatItKnows)
{
    mHelper.mCPUCount = 4;
    mHelper.mTotalMemoryInKB = 8000000000;
    EXPECT_EQ(mHelper.GetCPUCount(), 4);
    EXPECT_EQ(mHelper.GetTotalSizeOfMemoryInKB(), 8000000000);
    EXPECT_THAT(mScript.mLines, IsEmpty());
}

// ---- Operations without content

TEST_F(UnixHelper, FindsEveryProcessUnderIdZero)
{
    for (const char* const name : {"", "java", "exampled"}) {
        EXPECT_EQ(mHelper.FindProcessId(name), 0);
    }
    EXPECT_THAT(mScript.mLines, IsEmpty());
}

TEST_F(UnixHelper, SendsNoMail)
{
    mConfig->mVerbose = 1;
    mHelper.SendEmailNotification("subject", "exampled", 4711, 90, 95, "%", true);
    EXPECT_THAT(mScript.mLines, IsEmpty());
    EXPECT_THAT(GetLogLines(), IsEmpty());
    EXPECT_THAT(GetSeams().mSystemLog, IsEmpty());
}

// ---- Actions

TEST_F(UnixHelper, ReadsTheConfigurationBeforeARun)
{
    int loads = 0;
    GetConfigurationSeam().mRead = [&loads] {
        ++loads;
        return 101;
    };
    EXPECT_EQ(mHelper.PreCheckForAction(HelperFunctionInterface::THPM_ACTION_RUN), 101);
    EXPECT_EQ(loads, 1);
    EXPECT_EQ(mHelper.PreCheckForAction(HelperFunctionInterface::THPM_ACTION_INSTALL), 0);
    EXPECT_EQ(mHelper.PreCheckForAction(static_cast<HelperFunctionInterface::THPM_ACTION_TYPE>(2)), 0);
    EXPECT_EQ(loads, 1);
    GetConfigurationSeam() = {};
}

TEST_F(UnixHelper, PrintsTheMandatorySettingAfterAnInstallation)
{
    testing::internal::CaptureStdout();
    EXPECT_EQ(mHelper.PostCheckForAction(HelperFunctionInterface::THPM_ACTION_INSTALL), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Info: THHS_EVIDENCE_PATH is a mandatory setting to start the thsentinel.\n"
              "Please set the THHS_EVIDENCE_PATH value in Tarnhaven configuration and perform 'thsentinel "
              "-start' to start the process.\n");
}

TEST_F(UnixHelper, PrintsNothingAfterOtherActions)
{
    testing::internal::CaptureStdout();
    EXPECT_EQ(mHelper.PostCheckForAction(HelperFunctionInterface::THPM_ACTION_RUN), 0);
    EXPECT_EQ(mHelper.PostCheckForAction(static_cast<HelperFunctionInterface::THPM_ACTION_TYPE>(2)), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

// ---- System log

namespace
{
struct LevelCase
{
    const char* mName;
    int mLevel;
    int mPriority;
};

class UnixHelperLevel : public UnixHelper, public testing::WithParamInterface<LevelCase>
{
};
} // namespace

TEST_P(UnixHelperLevel, HasItsPriorityInTheSystemLog)
{
    mHelper.WriteLogToSystem("use of 100%s is %n high",
                             static_cast<HelperFunctionInterface::THPM_SYS_LOG_LEVEL>(GetParam().mLevel));
    ASSERT_EQ(GetSeams().mSystemLog.size(), 1U);
    EXPECT_EQ(GetSeams().mSystemLog[0].mPriority, GetParam().mPriority);
    EXPECT_EQ(GetSeams().mSystemLog[0].mText, "use of 100%s is %n high");
}

INSTANTIATE_TEST_SUITE_P(All, UnixHelperLevel,
                         testing::Values(LevelCase{"Error", 0, LOG_ERR}, LevelCase{"Warning", 1, LOG_WARNING},
                                         LevelCase{"Info", 2, LOG_INFO}, LevelCase{"Debug", 3, LOG_DEBUG},
                                         LevelCase{"Four", 4, LOG_DEBUG}, LevelCase{"Seven", 7, LOG_DEBUG}),
                         [](const auto& test) { return test.param.mName; });

// ---- Threads

namespace
{
void* Store(void* argument)
{
    static_cast<std::atomic<int>*>(argument)->store(1);
    return nullptr;
}

void* WaitForEver(void* /*argument*/)
{
    for (;;) {
        pause();
    }
}
} // namespace

TEST_F(UnixHelper, StartsADetachedThreadWithDefaultAttributes)
{
    std::vector<std::string> calls;
    int argument = 0;
    GetSeams().mPthreadCreate = [&](pthread_t* id, const pthread_attr_t* attributes, void* (*body)(void*),
                                    void* given) {
        EXPECT_EQ(attributes, nullptr);
        EXPECT_EQ(body, &Store);
        EXPECT_EQ(given, &argument);
        *id = 42;
        calls.push_back("create");
        return 0;
    };
    GetSeams().mPthreadDetach = [&calls](pthread_t id) {
        calls.push_back("detach " + std::to_string(id));
        return EINVAL; // the result isn't read
    };
    unsigned long id = 7;
    EXPECT_TRUE(mHelper.CreateThreadWithoutWait(id, Store, &argument));
    EXPECT_EQ(id, 42U);
    EXPECT_THAT(calls, ElementsAre("create", "detach 42"));
}

TEST_F(UnixHelper, LeavesTheIdAndDetachesItWhenNoThreadCanBeStarted)
{
    std::vector<std::string> calls;
    GetSeams().mPthreadCreate = [&calls](pthread_t* id, const pthread_attr_t* /*attributes*/,
                                         void* (*)(void*), void* /*argument*/) {
        *id = 42; // what a failed creation leaves there isn't defined
        calls.push_back("create");
        return EAGAIN;
    };
    GetSeams().mPthreadDetach = [&calls](pthread_t id) {
        calls.push_back("detach " + std::to_string(id));
        return 0;
    };
    unsigned long id = 7;
    EXPECT_FALSE(mHelper.CreateThreadWithoutWait(id, Store, nullptr));
    EXPECT_EQ(id, 7U);
    EXPECT_THAT(calls, ElementsAre("create", "detach 7"));
}

TEST_F(UnixHelper, RunsTheBodyWithItsArgument)
{
    std::atomic<int> argument = 0;
    unsigned long id = GetMainThreadId();
    ASSERT_TRUE(mHelper.CreateThreadWithoutWait(id, Store, &argument));
    EXPECT_NE(id, GetMainThreadId());
    EXPECT_TRUE(WaitFor([&argument] { return argument == 1; }));
}

TEST_F(UnixHelper, CancelsAndJoinsAThread)
{
    pthread_t id = 0;
    ASSERT_EQ(pthread_create(&id, nullptr, WaitForEver, nullptr), 0);
    mHelper.CloseRunningThread(id); // comes back, so the thread has ended
}

TEST_F(UnixHelper, JoinsEvenWhenTheCancellationFails)
{
    std::vector<std::string> calls;
    GetSeams().mPthreadCancel = [&calls](pthread_t id) {
        calls.push_back("cancel " + std::to_string(id));
        return ESRCH;
    };
    GetSeams().mPthreadJoin = [&calls](pthread_t id, void** result) {
        EXPECT_EQ(result, nullptr);
        calls.push_back("join " + std::to_string(id));
        return EINVAL;
    };
    mHelper.CloseRunningThread(42);
    EXPECT_THAT(calls, ElementsAre("cancel 42", "join 42"));
}

TEST(MainThreadId, IsTheMainThreadOnAnyThread)
{
    const unsigned long mainThread = pthread_self();
    EXPECT_EQ(GetMainThreadId(), mainThread);
    std::thread([mainThread] { EXPECT_EQ(GetMainThreadId(), mainThread); }).join();
}
