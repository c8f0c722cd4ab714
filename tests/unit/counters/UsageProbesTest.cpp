#include "config/ConfigurationMgr.h"
#include "platform/RhelHelperFunction.h"
#include "platform/ToolHost.h"
#include "support/ScriptedHelper.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <sstream>

using testing::IsEmpty;

namespace
{
constexpr int PID = 4711;

struct Probe
{
    const char* mName;
    double (UnixHelperFunction::*mRead)(std::string, int);
    double mFactor; ///< what the tool's value is multiplied by
    const char* mColumns;
};

constexpr Probe PROBES[] = {
    {"Cpu", &UnixHelperFunction::GetCPUUsageForProcessInPercent, 1.0, "pid,%cpu,command"},
    {"MemoryPercent", &UnixHelperFunction::GetMemoryUsageForProcessInPercent, 1.0, "pid,%mem,command"},
    {"MemoryMegabytes", &UnixHelperFunction::GetMemoryUsageForProcessInMB, 0.0009765625, "pid,rss,command"},
};

struct Reading
{
    const char* mName;
    std::string mOutput;
    double mValue; ///< of the tool, for the process 4711 "java"
};

const Reading READINGS[] = {
    {"Plain", " 4711 12.5 /opt/jre/bin/java -Dthwmc\n", 12.5},
    {"BareName", "4711 2048 java\n", 2048.0},
    {"ManyBlanks", "   4711    0.3    java   \n", 0.3},
    {"NoLineFeed", "4711 7 java", 7.0},
    {"Above100", "4711 799 java\n", 799.0},
    {"NoOutput", "", 0.0},
    {"BlanksAlone", "   \n", 0.0},
    {"AnotherProcess", "4712 12.5 java\n", 0.0},
    {"LongerId", "47110 12.5 java\n", 0.0},
    {"IdPassedToAnotherProgram", "4711 12.5 /usr/bin/exampled java\n", 0.0},
    {"LongerName", "4711 12.5 javaw\n", 0.0},
    {"ShorterName", "4711 12.5 jav\n", 0.0},
    {"NameInOtherCase", "4711 12.5 Java\n", 0.0},
    {"NameMissing", "4711 12.5\n", 0.0},
    {"NameOnlyInTheArguments", "4711 12.5 /bin/sh java\n", 0.0},
    {"ValueIsNoNumber", "4711 - java\n", 0.0},
    {"ValueWithATail", "4711 12.5% java\n", 12.5},
    {"LinesRunTogether", "4711 12.5 java\n4712 99 java\n", 0.0},
    {"LinesRunTogetherAfterTheName", "4711 12.5 java -x\n4712 99 java\n", 12.5},
    {"HeadLine", "PID %CPU COMMAND\n4711 12.5 java\n", 0.0},
    {"FailureText", "error: process ID list syntax error\n", 0.0},
    {"BlankInThePath", "4711 12.5 /opt/Some Folder/java\n", 0.0},
    {"NotUtf8", "4711 12.5 \xff/java\n", 12.5},
    {"Nul", "4711 12.5 java" + std::string(1, '\0') + "x\n", 12.5},
    {"HugeLine", "4711 12.5 java " + std::string(1 << 20, 'a') + "\n", 12.5},
};

class UsageProbes : public ConfigurationFixture
{
protected:
    void SetUp() override
    {
        ConfigurationFixture::SetUp();
        mConfig->mMonitoredProcessNames = {"java", "exampled"};
        mScript.mAnswer = [this](const std::string& /*line*/) { return mOutput; };
    }

    HelperScript mScript;
    ScriptedHelper<> mHelper{mScript};
    std::string mOutput; ///< of every shell line
};

class UsageProbesReading : public UsageProbes, public testing::WithParamInterface<Reading>
{
};

class UsageProbesOnHost : public ScriptedPsHost, public testing::WithParamInterface<Probe>
{
};
} // namespace

// ---- Usage of a process

TEST_P(UsageProbesReading, IsBelievedOnlyForTheRightIdAndName)
{
    mOutput = GetParam().mOutput;
    for (const Probe& probe : PROBES) {
        EXPECT_EQ((mHelper.*probe.mRead)("java", PID), GetParam().mValue * probe.mFactor) << probe.mName;
    }
}

TEST_P(UsageProbesReading, IsBelievedOnRedHatAlike)
{
    ScriptedHelper<RhelHelperFunction> helper(mScript);
    mOutput = GetParam().mOutput;
    EXPECT_EQ(helper.GetCPUUsageForProcessInPercent("java", PID), GetParam().mValue);
}

INSTANTIATE_TEST_SUITE_P(All, UsageProbesReading, testing::ValuesIn(READINGS),
                         [](const auto& test) { return test.param.mName; });

TEST_F(UsageProbes, ShowResidentKilobytesAsMegabytes)
{
    for (const auto& [kilobytes, megabytes] : {std::pair("2048", 2.0), std::pair("1", 0.0009765625),
                                               std::pair("1536", 1.5), std::pair("0", 0.0)}) {
        mOutput = std::string("4711 ") + kilobytes + " java\n";
        EXPECT_EQ(mHelper.GetMemoryUsageForProcessInMB("java", PID), megabytes);
    }
}

TEST_F(UsageProbes, LogNothing)
{
    mConfig->mVerbose = 1;
    mOutput = "garbage";
    for (const Probe& probe : PROBES) {
        EXPECT_EQ((mHelper.*probe.mRead)("java", PID), 0.0);
    }
    EXPECT_THAT(GetLogLines(), IsEmpty());
}

TEST_P(UsageProbesOnHost, ReadTheLineOfTheWholeId)
{
    mConfig->mMonitoredProcessNames = {"java"};
    SetListing("   123 10 /usr/bin/java\n"
               "  1234 20 /usr/bin/java\n"
               "     1 30 /usr/bin/java 1234 12\n");
    UnixHelperFunction helper;
    const Probe& probe = GetParam();
    EXPECT_EQ((helper.*probe.mRead)("java", 123), 10 * probe.mFactor);
    EXPECT_EQ((helper.*probe.mRead)("java", 1234), 20 * probe.mFactor);
    EXPECT_EQ((helper.*probe.mRead)("java", 12), 0.0);
    EXPECT_EQ((helper.*probe.mRead)("java", 1), 30 * probe.mFactor);
    EXPECT_EQ(GetPsArguments(), "-eo " + std::string(probe.mColumns) + "\n");
}

TEST_P(UsageProbesOnHost, ReadNothingOfAProcessThatTheFilterDoesNotLetPass)
{
    mConfig->mMonitoredProcessNames = {"java"};
    SetListing("123 10 /opt/exampled\n124 10 /usr/tarnv/exampled\n");
    UnixHelperFunction helper;
    EXPECT_EQ((helper.*GetParam().mRead)("exampled", 123), 0.0);
    EXPECT_EQ((helper.*GetParam().mRead)("exampled", 124), 10 * GetParam().mFactor);
}

TEST_P(UsageProbesOnHost, ReadNothingWhenTheToolFails)
{
    mConfig->mMonitoredProcessNames = {"java"};
    mHost.Provide("/usr/bin/ps", "#!/bin/sh\necho 'unknown option' >&2\nexit 1\n");
    testing::internal::CaptureStderr();
    UnixHelperFunction helper;
    EXPECT_EQ((helper.*GetParam().mRead)("java", PID), 0.0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "unknown option\n");
}

INSTANTIATE_TEST_SUITE_P(All, UsageProbesOnHost, testing::ValuesIn(PROBES),
                         [](const auto& test) { return test.param.mName; });

// ---- Processors and memory of the machine

namespace
{
struct MachineCase
{
    const char* mName;
    const char* mOutput;
    int mProcessors;
    std::int64_t mKilobytes;
};

class UsageProbesMachine : public UsageProbes, public testing::WithParamInterface<MachineCase>
{
};

constexpr MachineCase MACHINES[] = {
    {"Number", "16\n", 16, 16},
    {"NumberWithBlanksAround", "   8  \n", 8, 8},
    {"SeveralLines", "4\n5\n", 4, 4},
    {"Zero", "0\n", 0, 0},
    {"NoNumber", "wc: error\n", 0, 0},
    {"LineFeedAlone", "\n", 0, 0},
    {"NumberWithATail", "32823512kB\n", 32823512, 32823512},
    {"BeyondThirtyTwoBits", "8589934596\n", 4, 8589934596},
};
} // namespace

TEST_P(UsageProbesMachine, IsTheNumberThatThePipelinePrints)
{
    mOutput = GetParam().mOutput;
    mHelper.mCPUCount = 77;
    mHelper.SetCPUCount();
    EXPECT_EQ(mHelper.mCPUCount, GetParam().mProcessors);
    mHelper.mTotalMemoryInKB = 77;
    mHelper.SetTotalSizeOfMemoryInKB();
    EXPECT_EQ(mHelper.mTotalMemoryInKB, GetParam().mKilobytes);
}

INSTANTIATE_TEST_SUITE_P(All, UsageProbesMachine, testing::ValuesIn(MACHINES),
                         [](const auto& test) { return test.param.mName; });

TEST_F(UsageProbes, KeepWhatTheyKnowOfTheMachineWhenThePipelinePrintsNothing)
{
    mHelper.mCPUCount = 77;
    mHelper.mTotalMemoryInKB = 78;
    mHelper.SetCPUCount();
    mHelper.SetTotalSizeOfMemoryInKB();
    EXPECT_EQ(mHelper.mCPUCount, 77);
    EXPECT_EQ(mHelper.mTotalMemoryInKB, 78);
    EXPECT_EQ(mScript.mLines.size(), 2U);
}

TEST_F(UsageProbes, TryTheMachineAgainAfterAFailure)
{
    EXPECT_EQ(mHelper.GetCPUCount(), 0);
    EXPECT_EQ(mHelper.GetTotalSizeOfMemoryInKB(), 0);
    mOutput = "8\n";
    EXPECT_EQ(mHelper.GetCPUCount(), 8);
    EXPECT_EQ(mHelper.GetTotalSizeOfMemoryInKB(), 8);
    EXPECT_EQ(mHelper.GetCPUCount(), 8);
    EXPECT_EQ(mScript.mLines.size(), 4U);
}

TEST_F(UsageProbes, FindTheMachinesOwnNumbers)
{
    UnixHelperFunction helper;
    std::istringstream lines(ReadFile("/proc/cpuinfo"));
    int count = 0;
    for (std::string line; std::getline(lines, line);) {
        count += line.rfind("processor", 0) == 0 ? 1 : 0;
    }
    EXPECT_EQ(helper.GetCPUCount(), count);
    const std::string memory = ReadFile("/proc/meminfo");
    const std::size_t total = memory.find("MemTotal:") + std::string("MemTotal:").size();
    EXPECT_EQ(helper.GetTotalSizeOfMemoryInKB(), std::strtol(memory.c_str() + total, nullptr, 10));
}
