#include "processes/Explanation.h"

#include <algorithm>
#include <fstream>
#include <optional>

#include <unistd.h>

#include "base/Common.h"
#include "base/TimeText.h"
#include "ctl/evidence/EvidenceFolder.h"
#include "ctl/processes/ServiceFixture.h"

namespace ctl
{
namespace
{

/** The service watches tbrd, process 7, of four processors: 200 s old, with a limit of 10 percent. */
class ExplanationFixture : public ServiceFixture
{
protected:
    ExplanationFixture()
    {
        Configure({{"THHS_MONITOR_CPU", "tbrd:10"}, {"THHS_DUMP_COUNT", "2"}});
        mState.live.machine = {4, 1 << 20, 0, 1000};
        LiveCounter counter = MakeCounter();
        counter.reading = 2;
        counter.details.startTicks = GetTicks(800);
        counter.details.cpuTicks = GetTicks(16);
        mState.live.counters.push_back(counter);
    }

    static std::uint64_t GetTicks(int seconds)
    {
        return static_cast<std::uint64_t>(sysconf(_SC_CLK_TCK)) * static_cast<std::uint64_t>(seconds);
    }

    void StartWithCounter()
    {
        Start();
        Say("CPU counter added for process tbrd with PID - 7 : tbrd#7");
    }

    Explanation Ask(const std::string& subject = "tbrd")
    {
        mTrace.history = mState.history;
        return Explain(mState, mTrace, subject, mAt.value_or(mState.now));
    }

    /** Asks from now on about a time, of which the log is what was said so far. */
    void AskOfPast(std::time_t at)
    {
        mAt = at;
        mState.now = at + 100'000;
        mState.live.counters.clear(); // the process has ended since then
    }

    CounterExplanation AskForCounter()
    {
        const Explanation explanation = Ask();
        EXPECT_EQ(explanation.counters.size(), 1U);
        return explanation.counters.empty() ? CounterExplanation() : explanation.counters[0];
    }

    bool Says(const std::string& reason)
    {
        const std::vector<std::string> reasons = AskForCounter().reasons;
        return std::find(reasons.begin(), reasons.end(), reason) != reasons.end();
    }

    CounterTrace mTrace;
    std::optional<std::time_t> mAt;
};

TEST_F(ExplanationFixture, CountsHowLongOneFullProcessorTakesToTheLimit)
{
    StartWithCounter();
    // Above 10 percent of four processors means 0.44 processors over the whole life: (16 + t) / (200 + t) =
    // 0.44.
    EXPECT_NEAR(AskForCounter().secondsAtFull.value_or(0), 128.57, 0.01);
    EXPECT_TRUE(
        Says("at one full processor from now on, its reading is above the limit after 2 min 9 s: the reading "
             "is the average over its whole life"));
    mState.live.counters[0].limit = 24;
    EXPECT_EQ(AskForCounter().secondsAtFull, std::nullopt);
    EXPECT_TRUE(Says("one full processor never brings it above the limit on this host"));
}

struct WindowRow
{
    int passes;
    int left; ///< until the next decision
};

class ExplainedWindow : public ExplanationFixture, public testing::WithParamInterface<WindowRow>
{
};

TEST_P(ExplainedWindow, EndsWithTheFifthReadingOfSixPasses)
{
    StartWithCounter();
    for (int pass = 0; pass < GetParam().passes; ++pass) {
        Pass();
    }
    const CounterExplanation answer = AskForCounter();
    EXPECT_EQ(answer.window, (GetParam().passes - 1) % 6 + 1);
    EXPECT_EQ(answer.decision, mState.now + GetParam().left * 100);
}

INSTANTIATE_TEST_SUITE_P(Passes, ExplainedWindow,
                         testing::Values(WindowRow{1, 4}, WindowRow{4, 1}, WindowRow{5, 6}, WindowRow{6, 5},
                                         WindowRow{7, 4}));

TEST_F(ExplanationFixture, HoldsReadingsAndAverageAgainstTheLimit)
{
    StartWithCounter();
    for (const double value : {1.0, 2.0, 30.0, 40.0, 10.9}) {
        mTrace.readings[{7, "cpu"}].push_back({START, value});
    }
    EXPECT_EQ(AskForCounter().average, 16);
    EXPECT_TRUE(
        Says("the fifth reading of the last full window, 10.90, is not above the limit of 10 Percent"));
    EXPECT_TRUE(Says("the average of its five, 16.00, is above the limit of 10 Percent"));
    EXPECT_TRUE(Says("the present reading, 2.00, is not above the limit of 10 Percent"));
    EXPECT_TRUE(Says("both the fifth reading and the average of five must be above the limit"));
    Configure({{"THHS_MONITOR_CPU", "tbrd:10"}, {"THHS_ALWAYS_DUMP", "1"}});
    EXPECT_TRUE(Says("the fifth reading alone decides, as THHS_ALWAYS_DUMP is set"));
}

TEST_F(ExplanationFixture, SaysThatTheSetsAreUsedUp)
{
    StartWithCounter();
    for (const char* const number : {"1", "2"}) {
        Say("CPU threshold exceeded by process : tbrd (7), Threshold : 10 Percent , Usage : 20.00 Percent");
        Say("Taking Process Dump (Count #" + std::string(number) + ") for process tbrd (7).");
    }
    const CounterExplanation answer = AskForCounter();
    EXPECT_EQ(answer.setsTaken, 2);
    EXPECT_EQ(answer.breaches, 2);
    EXPECT_EQ(answer.lastBreach, START);
    EXPECT_TRUE(
        Says("its 2 sets are used up: a breach is only logged until the process or the service starts anew"));
}

TEST_F(ExplanationFixture, SaysWhatItCannotKnow)
{
    mState.lock.state = DaemonLock::State::Running;
    EXPECT_TRUE(
        Says("the place in the window isn't known: the log doesn't reach back to the first pass of this "
             "counter"));
    EXPECT_TRUE(
        Says("the readings of the window aren't known: the log names them with THHS_VERBOSE = 1 only"));
    EXPECT_EQ(AskForCounter().setsTaken, std::nullopt);
    mState.history.failure = "/logs: Permission denied";
    EXPECT_TRUE(Says("the place in the window isn't known without the log"));
    EXPECT_TRUE(Says("the readings of the window aren't known without the log"));
}

TEST_F(ExplanationFixture, PromisesNoDecisionOfAServiceThatDoesNotRun)
{
    StartWithCounter();
    Pass();
    mState.lock.state = DaemonLock::State::Stopped;
    EXPECT_EQ(AskForCounter().decision, std::nullopt);
    EXPECT_TRUE(Says("the service doesn't run"));
    EXPECT_FALSE(Says(
        "a decision falls at the fifth reading of six passes: the last pass was number 1, so it falls in "
        "4 passes"));
}

TEST_F(ExplanationFixture, DoesNotCallAServiceEndedOfWhichItMayNotKnow)
{
    StartWithCounter();
    Pass();
    mState.lock.state = DaemonLock::State::Unknown;
    mState.lock.reason = "/lock: Permission denied";
    EXPECT_TRUE(Says("it can't be told whether the service runs: /lock: Permission denied"));
    EXPECT_FALSE(Says("the service doesn't run"));
}

TEST_F(ExplanationFixture, SaysThatTheServiceIsStuck)
{
    StartWithCounter();
    Pass();
    const std::string text = "the service is stuck: its last pass was at " + FormatLocalTime(mState.now);
    AdvanceTo(mState.now + 200);
    EXPECT_FALSE(Says(text));
    EXPECT_TRUE(AskForCounter().decision);
    AdvanceTo(mState.now + 1);
    EXPECT_TRUE(Says(text));
    EXPECT_FALSE(AskForCounter().decision) << "it would be in the past";
}

TEST_F(ExplanationFixture, SaysThatNoPassHasReadAProcessYet)
{
    Start();
    EXPECT_TRUE(Says("no pass has read it yet: a decision falls at the fifth reading, in 5 passes"));
}

TEST_F(ExplanationFixture, SaysThatTheServiceDidNotRunAtATime)
{
    StartWithCounter();
    Pass();
    Say("Tarnhaven Health Sentinel Service stopped.");
    const std::string stopped = FormatLocalTime(mState.now);
    AskOfPast(mState.now + 50);
    EXPECT_TRUE(Says("the service didn't run then: it had stopped at " + stopped));
    EXPECT_FALSE(Says(
        "a decision falls at the fifth reading of six passes: the last pass was number 1, so it falls in "
        "4 passes"));
}

TEST_F(ExplanationFixture, SaysThatPassesWereMissingAtATime)
{
    Say("Processes will be monitored regularly after 100 seconds. It can be modified by changing "
        "THHS_POLL_INTERVAL value in Tarnhaven configuration.");
    StartWithCounter();
    Pass();
    Pass(130);
    const std::time_t last = mState.now;
    const std::string text = "the service was stuck then or had ended without a stop: its last pass was at " +
                             FormatLocalTime(last);
    AskOfPast(last + 230);
    EXPECT_FALSE(Says(text));
    AskOfPast(last + 231);
    EXPECT_TRUE(Says(text));
}

TEST_F(ExplanationFixture, SaysThatTheLogHoldsNothingOfATime)
{
    mState.live.counters[0].details.startTicks = 0; // with the host, which was booted before now
    mAt = std::time(nullptr);
    mState.now = *mAt + 100;
    EXPECT_EQ(AskForCounter().reasons,
              std::vector<std::string>{
                  "the log holds nothing from before that time: no service ran then, or its log has gone"});
    EXPECT_EQ(AskForCounter().now, std::nullopt) << "the present reading is none of that time";
    EXPECT_FALSE(Ask().isWhole);
    mState.live.counters.clear();
    EXPECT_FALSE(Ask().isWhole);
    EXPECT_EQ(Ask().reasons.front(),
              "the log holds nothing from before that time: no service ran then, or its log has gone");
}

TEST_F(ExplanationFixture, SaysOfANameWithoutAProcessTooThatTheServiceDoesNotRun)
{
    mState.live.counters.clear();
    mState.lock.state = DaemonLock::State::Stopped;
    EXPECT_EQ(Ask().reasons.front(), "the service doesn't run");
    mState.store = std::make_unique<HiddenStore>();
    EXPECT_EQ(Ask("other").isWatched, std::nullopt) << "the lists aren't known";
}

TEST_F(ExplanationFixture, SaysThatAProcessWasStartedAfterATime)
{
    mAt = START; // long before this host was booted
    mState.now = START + 100;
    const std::string started = FormatLocalTime(GetStartTime(mState.live.counters[0].details));
    EXPECT_EQ(AskForCounter().reasons,
              std::vector<std::string>{"this process was started after that time, at " + started});
    const Explanation explanation = Ask();
    EXPECT_FALSE(explanation.isWhole) << "who had the name then isn't known";
    EXPECT_FALSE(explanation.counters.at(0).isKnown);
    EXPECT_EQ(explanation.counters.at(0).now, std::nullopt);
    EXPECT_EQ(explanation.counters.at(0).secondsAtFull, std::nullopt);
}

TEST_F(ExplanationFixture, GivesTheReadingOfATimeWhereTheLogNamesIt)
{
    StartWithCounter();
    Pass();
    mState.live.counters[0].details.startTicks = 0; // as old as the host
    mTrace.readings[{7, "cpu"}] = {{mState.now, 12.5}};
    const std::time_t boot = GetStartTime(mState.live.counters[0].details);
    mTrace.readings[{7, "cpu"}][0].time = boot + 100;
    mState.now = boot + 1000;
    mAt = boot + 199;
    EXPECT_EQ(AskForCounter().now, 12.5);
    mAt = boot + 200;
    EXPECT_EQ(AskForCounter().now, std::nullopt) << "an interval later there was another";
}

TEST_F(ExplanationFixture, KnowsNoLimitsOfAStoreThatCannotBeRead)
{
    StartWithCounter();
    Pass();
    mTrace.readings[{7, "cpu"}] = {{START, 1}, {START, 2}, {START, 30}, {START, 40}, {START, 10.9}};
    mState.store = std::make_unique<HiddenStore>();
    mState.prediction = PredictLoad(*mState.store, {});
    mState.live = {};
    const Explanation explanation = Ask();
    EXPECT_FALSE(explanation.isWhole);
    EXPECT_EQ(explanation.reasons,
              std::vector<std::string>{
                  "lists and limits aren't known, since the store can't be read: Permission denied"});
    ASSERT_EQ(explanation.counters.size(), 1U);
    const CounterExplanation& answer = explanation.counters[0];
    EXPECT_EQ(answer.limit, std::nullopt);
    EXPECT_EQ(answer.setsAllowed, std::nullopt);
    EXPECT_EQ(
        answer.reasons,
        (std::vector<std::string>{
            "a decision falls at the fifth reading of six passes: the last pass was number 1, so it "
            "falls in 4 passes",
            "the fifth reading of the last full window, 10.90, is held against a limit that isn't known",
            "the average of its five, 16.00, is held against a limit that isn't known"}));
}

TEST_F(ExplanationFixture, OfAnEndedProcessIsFromTheLogAlone)
{
    StartWithCounter();
    Pass();
    mState.live.counters.clear();
    mState.live.unmatched.push_back({"tbrd", Resource::Cpu, {}});
    const Explanation explanation = Ask("7");
    ASSERT_EQ(explanation.counters.size(), 1U);
    EXPECT_EQ(explanation.counters[0].now, std::nullopt);
    EXPECT_EQ(explanation.counters[0].limit, 10);
    EXPECT_EQ(explanation.counters[0].reasons[0], "the process has ended, or isn't listed any more");
    EXPECT_EQ(explanation.counters[0].decision, std::nullopt);
    EXPECT_EQ(Ask().reasons, std::vector<std::string>{"no process of that name runs, so its cpu isn't read"});
}

TEST_F(ExplanationFixture, SaysThatAProcessIsWatchedByAnotherName)
{
    StartWithCounter();
    mState.live.unmatched.push_back({"thwmc", Resource::Cpu, {}, 7, "java"});
    Configure({{"THHS_MONITOR_CPU", "java:10,thwmc:10"}});
    const Explanation explanation = Ask("thwmc");
    EXPECT_TRUE(explanation.counters.empty());
    EXPECT_EQ(explanation.reasons,
              std::vector<std::string>{"its cpu is never read: process 7 is already watched as java"});
}

struct StrangerRow
{
    const char* subject;
    const char* reason;
};

class Stranger : public ExplanationFixture, public testing::WithParamInterface<StrangerRow>
{
};

TEST_P(Stranger, IsNotWatched)
{
    Configure({{"THHS_MONITOR_CPU", "tbrd:10"}, {"THHS_MONITOR_DEADLOCK", "locker"}});
    StartWithCounter();
    const Explanation explanation = Ask(GetParam().subject);
    EXPECT_EQ(explanation.isWatched, false);
    EXPECT_TRUE(explanation.counters.empty());
    EXPECT_EQ(explanation.reasons, std::vector<std::string>{GetParam().reason});
}

INSTANTIATE_TEST_SUITE_P(
    Subjects, Stranger,
    testing::Values(StrangerRow{"other", "it is in neither THHS_MONITOR_CPU nor THHS_MONITOR_MEMORY"},
                    StrangerRow{"locker", "it is listed for deadlocks alone, which aren't looked for"},
                    StrangerRow{"99", "no name of the lists stands for process 99"},
                    StrangerRow{"", "it is in neither THHS_MONITOR_CPU nor THHS_MONITOR_MEMORY"}));

TEST_F(ExplanationFixture, NamesAnEndedJavaProcessAsItIsListed)
{
    Configure({{"THHS_MONITOR_CPU", "thwmc:10"}, {"THHS_MONITOR_MEMORY", "thwmc:10,adminconsole:10"}});
    mState.live.counters.clear();
    Start();
    Say("CPU counter added for process java with PID - 7 : java#7");
    Say("Memory counter added for process java with PID - 8 : java#8");
    Say("Memory counter added for process java with PID - 9 : java#9");
    Say("Memory threshold exceeded by process : adminconsole (9), Threshold : 10 MB , Usage : 12.00 MB");
    const auto find = [this](const std::string& subject) {
        std::string found;
        for (const CounterExplanation& counter : Ask(subject).counters) {
            found += counter.process + ":" + std::to_string(counter.pid) + ":" +
                     std::to_string(counter.limit.value_or(-1)) + " ";
        }
        return found;
    };
    EXPECT_EQ(find("thwmc"), "thwmc:7:10 ") << "the only one of the list";
    EXPECT_EQ(find("adminconsole"), "adminconsole:9:10 ") << "named by its breach";
    EXPECT_EQ(find("8"), "java:8:-1 ") << "one of two, and the log doesn't say which";
    EXPECT_EQ(find("java"), "java:8:-1 ");
}

/** Bytes that this process has read with system calls; nothing where the kernel doesn't count them. */
std::optional<long long> CountBytesRead()
{
    std::ifstream counts("/proc/self/io");
    std::string name;
    long long bytes = 0;
    return counts >> name >> bytes && name == "rchar:" ? std::optional(bytes) : std::nullopt;
}

TEST(ExplanationOnHost, ReadsEachByteOfTheLogOnce)
{
    const EvidenceFolder folder;
    Common common;
    common.store = folder.Write("store", "");
    common.log = folder.GetRoot();
    const auto countRead = [&common] {
        const std::optional<long long> before = CountBytesRead();
        const std::time_t now = std::time(nullptr);
        EXPECT_TRUE(ExplainService(common, "tbrd", now, now).isWhole);
        return before ? CountBytesRead().value_or(0) - *before : 0;
    };
    const long long withoutLog = countRead();
    if (withoutLog == 0) {
        GTEST_SKIP() << "this kernel doesn't count what a process reads";
    }
    const std::string log(12'000'000, 'x');
    folder.Write("root.010120_00001.log", log); // of a day that is over on any host
    const auto size = static_cast<double>(log.size());
    const auto read = static_cast<double>(countRead() - withoutLog); // processes may come and go meanwhile
    EXPECT_NEAR(read, size, size / 2);
}

} // namespace
} // namespace ctl
