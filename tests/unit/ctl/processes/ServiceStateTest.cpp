#include "ctl/processes/ServiceFixture.h"

namespace ctl
{
namespace
{

using ServiceStateFixture = ServiceFixture;

TEST_F(ServiceStateFixture, KnowsNothingOfAServiceThatDoesNotRun)
{
    Say("Tarnhaven Health Sentinel Service is monitoring the resources.");
    mState.lock.state = DaemonLock::State::Stopped;
    EXPECT_EQ(mState.GetNextPass(), std::nullopt);
    EXPECT_EQ(mState.IsStuck(), std::nullopt);
    EXPECT_EQ(mState.IsStoreUnread(), std::nullopt);
    EXPECT_EQ(mState.GetRaisedLevels(), std::nullopt);
}

TEST_F(ServiceStateFixture, ExpectsTheNextPassAfterAnIntervalAndThePassItself)
{
    Start();
    Pass();
    EXPECT_EQ(mState.GetNextPass(), mState.now + 100);
    Pass(130); // 30 s of them for the pass
    EXPECT_EQ(mState.GetPassLength().count(), 30);
    EXPECT_EQ(mState.GetNextPass(), mState.now + 130);
    Pass(50); // it was woken early
    EXPECT_EQ(mState.GetPassLength().count(), 0);
}

TEST_F(ServiceStateFixture, TakesASleepOfAnIntervalThatWasChangedSinceForNoPass)
{
    const auto change = [this](const std::string& seconds) {
        Say("Processes will be monitored regularly after " + seconds +
            " seconds. It can be modified by changing THHS_POLL_INTERVAL value in Tarnhaven configuration.");
    };
    change("120");
    Start();
    Pass(0);
    change("50"); // read after the sleep, before the next pass
    Pass(121);
    EXPECT_EQ(mState.GetPassLength().count(), 1);
    EXPECT_EQ(mState.GetNextPass(), mState.now + 51);
    change("50");
    Pass(53);
    EXPECT_EQ(mState.GetPassLength().count(), 3);
}

TEST_F(ServiceStateFixture, IsStuckAfterTwoIntervalsAndAPass)
{
    Start();
    EXPECT_EQ(mState.IsStuck(), std::nullopt) << "it hasn't made a pass yet";
    Pass();
    Pass(130);
    AdvanceTo(mState.now + 230);
    EXPECT_EQ(mState.IsStuck(), false);
    AdvanceTo(mState.now + 1);
    EXPECT_EQ(mState.IsStuck(), true);
}

TEST_F(ServiceStateFixture, KnowsNoIntervalWithoutTheStoreButByTheLogOfAServiceThatRuns)
{
    EXPECT_TRUE(mState.IsIntervalKnown());
    mState.store = std::make_unique<HiddenStore>();
    EXPECT_FALSE(mState.IsIntervalKnown());
    Start();
    EXPECT_FALSE(mState.IsIntervalKnown());
    Say("Processes will be monitored regularly after 300 seconds. It can be modified by changing "
        "THHS_POLL_INTERVAL value in Tarnhaven configuration.");
    EXPECT_TRUE(mState.IsIntervalKnown());
    mState.lock.state = DaemonLock::State::Stopped;
    EXPECT_FALSE(mState.IsIntervalKnown());
}

TEST_F(ServiceStateFixture, GoesByTheIntervalInForceWhileItRuns)
{
    Say("Processes will be monitored regularly after 300 seconds. It can be modified by changing "
        "THHS_POLL_INTERVAL value in Tarnhaven configuration.");
    Start(); // the store on disk, which is newer, has 100 s
    Pass();
    EXPECT_EQ(mState.GetNextPass(), mState.now + 300);
    AdvanceTo(mState.now + 600);
    EXPECT_EQ(mState.IsStuck(), false);
    AdvanceTo(mState.now + 1);
    EXPECT_EQ(mState.IsStuck(), true);
    mState.lock.state = DaemonLock::State::Stopped;
    EXPECT_EQ(mState.GetInterval().count(), 100) << "the next start reads the store";
}

TEST_F(ServiceStateFixture, KnowsAStopFromAnEndWithoutOneUnlessTheLogDoesNotSay)
{
    EXPECT_EQ(mState.WasStopped(), std::nullopt) << "no log reaches back to it";
    Start();
    EXPECT_EQ(mState.WasStopped(), std::nullopt) << "it runs";
    mState.lock.state = DaemonLock::State::Stopped;
    EXPECT_EQ(mState.WasStopped(), false);
    Say("Tarnhaven Health Sentinel Service stopped.");
    EXPECT_EQ(mState.WasStopped(), true);
    mState.history.failure = "root.111426_00001.log: Permission denied";
    EXPECT_EQ(mState.WasStopped(), std::nullopt) << "a later start may stand there";
}

TEST_F(ServiceStateFixture, HasUnreadSettingsIfTheyChangedAfterTheLastReading)
{
    Start();
    EXPECT_EQ(mState.IsStoreUnread(), false);
    mState.store = std::make_unique<DatedStore>(std::map<std::string, std::string>(), START);
    EXPECT_EQ(mState.IsStoreUnread(), false) << "within the same second, which is all that the log shows";
    mState.store = std::make_unique<DatedStore>(std::map<std::string, std::string>(), START + 1);
    EXPECT_EQ(mState.IsStoreUnread(), true);
}

TEST_F(ServiceStateFixture, NamesTargetsWhoseLevelsAreRaised)
{
    Start();
    EXPECT_EQ(mState.GetRaisedLevels(), std::vector<std::string>());
    Say("Original DebugLevel for process 119 is : 1.");
    Say("mDiagnosticLevel and  DebugLevel for the process tbrd set to 6.");
    EXPECT_EQ(mState.GetRaisedLevels(), (std::vector<std::string>{"119", "tbrd"}));
    Say("mDiagnosticLevel and  DebugLevel for the process 119 have been reset to original values.");
    EXPECT_EQ(mState.GetRaisedLevels(), std::vector<std::string>{"tbrd"});
}

TEST_F(ServiceStateFixture, DoesNotKnowLevelsThatARaiseLeftUnsaid)
{
    Configure({{"THHS_INCREASE_LOG_LEVEL", "1"}, {"THHS_VERBOSE", "0"}});
    Start();
    EXPECT_EQ(mState.GetRaisedLevels(), std::vector<std::string>()) << "nothing was captured yet";
    Say("CPU counter added for process tbrd with PID - 7 : tbrd#7");
    Say("CPU threshold exceeded by process : tbrd (7), Threshold : 1 Percent , Usage : 2.00 Percent");
    Say("Taking Process Dump (Count #1) for process tbrd (7).");
    EXPECT_EQ(mState.GetRaisedLevels(), std::nullopt);
    Configure({});
    EXPECT_EQ(mState.GetRaisedLevels(), std::vector<std::string>()) << "none is raised by these settings";
    mState.store = std::make_unique<HiddenStore>();
    EXPECT_EQ(mState.GetRaisedLevels(), std::nullopt) << "whether it raises levels isn't known";
}

TEST_F(ServiceStateFixture, TakesAMissingStoreForOneThatNoServiceStartsWith)
{
    class MissingStore : public HiddenStore
    {
        bool IsMissing() const override { return true; }
    };
    Start();
    mState.store = std::make_unique<MissingStore>();
    EXPECT_EQ(mState.AreSettingsValid(), std::nullopt) << "one that runs goes on";
    mState.lock.state = DaemonLock::State::Stopped;
    EXPECT_EQ(mState.AreSettingsValid(), false);
    mState.store = std::make_unique<HiddenStore>();
    EXPECT_EQ(mState.AreSettingsValid(), std::nullopt);
}

TEST_F(ServiceStateFixture, NamesTargetsThatAnEndWithoutAStopLeftRaised)
{
    Start();
    Say("mDiagnosticLevel and  DebugLevel for the process 119 set to 6.");
    EXPECT_EQ(mState.GetLevelsLeftRaised(), std::nullopt) << "it runs";
    mState.lock.state = DaemonLock::State::Stopped;
    EXPECT_EQ(mState.GetLevelsLeftRaised(), std::vector<std::string>{"119"});
    mState.lock.state = DaemonLock::State::Unknown;
    EXPECT_EQ(mState.GetLevelsLeftRaised(), std::nullopt);
    mState.lock.state = DaemonLock::State::Stopped;
    Say("Tarnhaven Health Sentinel Service stopped."); // which restores them, also where no line says so
    EXPECT_EQ(mState.GetLevelsLeftRaised(), std::vector<std::string>());
}

TEST_F(ServiceStateFixture, DoesNotKnowWhatWasLeftRaisedByASilentLog)
{
    Configure({{"THHS_INCREASE_LOG_LEVEL", "1"}, {"THHS_VERBOSE", "0"}});
    Start();
    Say("CPU counter added for process tbrd with PID - 7 : tbrd#7");
    mState.lock.state = DaemonLock::State::Stopped;
    EXPECT_EQ(mState.GetLevelsLeftRaised(), std::vector<std::string>()) << "nothing was captured";
    Say("CPU threshold exceeded by process : tbrd (7), Threshold : 1 Percent , Usage : 2.00 Percent");
    Say("Taking Process Dump (Count #1) for process tbrd (7).");
    EXPECT_EQ(mState.GetLevelsLeftRaised(), std::nullopt);
}

TEST_F(ServiceStateFixture, DoesNotKnowTheWindowOfALogThatWasCut)
{
    mState.lock.state = DaemonLock::State::Running;
    Pass();
    EXPECT_EQ(mState.GetWindow(MakeCounter()), std::nullopt);
    EXPECT_EQ(mState.GetSetsTaken(MakeCounter()), std::nullopt);
    Start();
    EXPECT_EQ(mState.GetWindow(MakeCounter()), 0) << "no pass has seen it yet";
    EXPECT_EQ(mState.GetSetsTaken(MakeCounter()), 0);
}

} // namespace
} // namespace ctl
