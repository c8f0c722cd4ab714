#include "store/SettingsCheck.h"

#include <algorithm>
#include <chrono>
#include <cstdint>

#include <sys/stat.h>
#include <unistd.h>

#include "config/KeyTable.h"

#include "base/JavaNames.h"
#include "base/Plural.h"
#include "base/TimeText.h"
#include "store/LoadPrediction.h"
#include "store/Store.h"

namespace ctl
{

namespace
{

class SettingsCheck
{
public:
    SettingsCheck(const Store& store, const Settings& settings, StoreFindings& findings, bool asksHost)
        : mStore(store), mSettings(settings), mFindings(findings), mAsksHost(asksHost)
    {}

    void Run()
    {
        CheckNothingWatched();
        CheckJava();
        CheckWithoutEffect();
        CheckCaptureAlways();
        AddDecisionTimes();
    }

private:
    void Add(Severity severity, const char* key, std::string message, std::string remedy)
    {
        mFindings.push_back({severity, key, mStore.FindLine(key), std::move(message), std::move(remedy)});
    }

    void CheckNothingWatched();
    void CheckJava();
    void CheckWithoutEffect();
    void CheckCaptureAlways();
    void AddDecisionTimes();

    const Store& mStore;
    const Settings& mSettings;
    StoreFindings& mFindings;
    const bool mAsksHost;
};

void SettingsCheck::CheckNothingWatched()
{
    if (mSettings.cpu.empty() && mSettings.memory.empty()) {
        Add(Severity::Warning, THHS_MONITOR_CPU,
            "nothing is watched: neither this list nor that of the memory names a process",
            "write THHS_MONITOR_CPU = NAME:PERCENT, or THHS_MONITOR_MEMORY = NAME:MEGABYTES");
    }
}

void SettingsCheck::CheckJava()
{
    const auto isJava = [](const auto& entry) { return IsJavaName(entry.first); };
    const bool hasJava = std::any_of(mSettings.cpu.begin(), mSettings.cpu.end(), isJava) ||
                         std::any_of(mSettings.memory.begin(), mSettings.memory.end(), isJava);
    if (!hasJava || mSettings.Get(THHS_CAPTURE_PROCESS_DUMP) == 0) {
        return;
    }
    if (mSettings.jdkHome.empty()) {
        Add(Severity::Warning, THHS_JDK_HOME,
            "Java programs are watched, and without this key no heap or thread dump is taken",
            "name the folder of a JDK, the one that holds bin/jcmd");
        return;
    }
    const std::string tool = mSettings.jdkHome + "/bin/jcmd";
    if (mAsksHost && access(tool.c_str(), X_OK) != 0) {
        Add(Severity::Warning, THHS_JDK_HOME,
            tool + " can't be run on this host, so no heap or thread dump is taken",
            "name the folder of a JDK, the one that holds bin/jcmd");
    }
    if (mSettings.jdkHome.find_first_of(" \t") != std::string::npos) {
        Add(Severity::Warning, THHS_JDK_HOME,
            "the path holds a blank, and the shell lines of the dumps don't quote it",
            "use a path without blanks");
    }
}

void SettingsCheck::CheckWithoutEffect()
{
    if (mSettings.Get(THHS_PURGE_OLD_EVIDENCE) == 1) {
        Add(Severity::Info, THHS_PURGE_OLD_EVIDENCE,
            "this setting removes nothing: folders withstand the line that it runs",
            "use thsentinelctl prune");
    }
    if (!mSettings.deadlock.empty()) {
        Add(Severity::Info, THHS_MONITOR_DEADLOCK,
            "the list is read and checked, and deadlocks are not looked for", "");
    }
}

void SettingsCheck::CheckCaptureAlways()
{
    if (mSettings.Get(THHS_CAPTURE_WITHOUT_THRESHOLD) == 1) {
        Add(Severity::Warning, THHS_CAPTURE_WITHOUT_THRESHOLD,
            "evidence is taken at every pass whatever the readings, until each process has its " +
                CountNoun(static_cast<std::uint64_t>(mSettings.Get(THHS_DUMP_COUNT)), "set") +
                "; real breaches then take none",
            "set it to 0 once the captures have been tried");
    }
}

void SettingsCheck::AddDecisionTimes()
{
    const std::chrono::seconds interval(mSettings.Get(THHS_POLL_INTERVAL));
    Add(Severity::Info, THHS_POLL_INTERVAL,
        "first decision " + FormatDuration(4 * interval) + " after the start, then every " +
            FormatDuration(6 * interval) + ": five readings are needed, and one of six is dropped",
        "");
}

} // namespace

void CheckSettings(const Store& store, const LoadPrediction& prediction, StoreFindings& findings,
                   bool asksHost)
{
    SettingsCheck(store, prediction.settings, findings, asksHost).Run();
}

} // namespace ctl
