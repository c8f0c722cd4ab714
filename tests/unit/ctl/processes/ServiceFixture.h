#pragma once

#include <map>
#include <memory>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "ctl/store/StoreDouble.h"
#include "log/LogEvents.h"
#include "processes/ServiceState.h"
#include "store/PredictLoad.h"

namespace ctl
{

/** A store that was changed at a time. */
class DatedStore : public StoreOfKeys
{
public:
    DatedStore(std::map<std::string, std::string> values, std::time_t changed)
        : StoreOfKeys(std::move(values)), mChanged(changed)
    {}
    std::optional<std::time_t> GetChangeTime() const override { return mChanged; }

private:
    const std::time_t mChanged;
};

/** A service as locks, log, store and processes show it, without any of them. A pass comes each 100 s. */
class ServiceFixture : public testing::Test
{
protected:
    static constexpr std::time_t START = 10'000;

    ServiceFixture() { Configure({}); }

    /** Replaces the settings; what isn't given has its default. */
    void Configure(std::map<std::string, std::string> values)
    {
        values.emplace("THHS_POLL_INTERVAL", "100");
        values.emplace("THHS_EVIDENCE_PATH", "/evidence");
        mState.store = std::make_unique<DatedStore>(std::move(values), START - 1);
        const auto always = [](const std::string&) { return true; };
        mState.prediction = PredictLoad(*mState.store, {always, always});
        EXPECT_EQ(mState.prediction.result, 0);
    }

    /** Lets the service run, with a log from its start. */
    void Start()
    {
        mState.lock.state = DaemonLock::State::Running;
        mState.lock.holder = 42;
        mState.since = START;
        AdvanceTo(START);
        Say("Tarnhaven Health Sentinel Service started");
        Say("Reading the configuration from Tarnhaven configuration.");
        Say("Configuration file successfully read.");
    }

    void Say(const std::string& text)
    {
        const std::optional<LogEvent> event = ParseLogText(text);
        ASSERT_TRUE(event) << text;
        mBuilder.Take(mState.now, *event);
        mState.history = mBuilder.GetHistory();
    }

    void AdvanceTo(std::time_t now) { mState.now = now; }

    /** A pass begins after so many seconds more. */
    void Pass(std::time_t seconds = 100)
    {
        mState.now += seconds;
        Say("Tarnhaven Health Sentinel Service is monitoring the resources.");
    }

    LiveCounter MakeCounter() const
    {
        LiveCounter counter;
        counter.process = "tbrd";
        counter.pid = 7;
        counter.limit = 10;
        counter.unit = "Percent";
        return counter;
    }

    ServiceState mState;
    HistoryBuilder mBuilder;
};

} // namespace ctl
