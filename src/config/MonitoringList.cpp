#include "config/MonitoringList.h"

#include "base/BoundedText.h"
#include "base/LogFileMtx.h"
#include "base/LogLine.h"
#include "config/ConfigurationMgr.h"
#include "config/ConfigurationTexts.h"
#include "config/ConfigurationValueReaders.h"
#include "config/KeyTable.h"
#include "config/Refusal.h"
#include "platform/HelperFunctionInterface.h"
#include "platform/THUEnv.h"
#include "platform/UnixHelperFactoryMethod.h"

#include <memory>
#include <vector>

#include <strings.h>

namespace
{
bool IsList(const MonitoringList& list, const char* key)
{
    return strcasecmp(list.mKey, key) == 0;
}

struct MonitoredProcess
{
    std::string mElement; ///< as written in the list
    std::string mName;
    int mThreshold;
};

int RefuseList(int result, const std::string& message)
{
    return Refuse(logFileMtx, MessageOrder::LogFirst, result, message);
}

/** What is printed after a threshold; empty for a list without thresholds. */
std::string GetUnitLabel(const MonitoringList& list)
{
    // Intentional: this compares the key of the list with the key of the unit, which it never is, so MB is
    // never printed. Whoever reads the log expects ABSOLUTE in these lines.
    if (IsSameText(list.mHelper, list.mMemoryUnit, MEMORY_UNIT_ABSOLUTE) && IsList(list, THHS_MEMORY_UNIT)) {
        return "MB";
    }
    return IsList(list, THHS_MONITOR_DEADLOCK) ? "" : MEMORY_UNIT_ABSOLUTE;
}

MonitoredProcess SplitElement(const MonitoringList& list, const std::string& element)
{
    MonitoredProcess process = {element, "", -1};
    GetKeyValueFromStringTouple(element, ":", process.mName, process.mThreshold);
    // A bare name is a valid element of this list. An element such as ":5" becomes a name as a whole.
    if (IsList(list, THHS_MONITOR_DEADLOCK) && process.mName.empty()) {
        process.mName = element;
        process.mThreshold = 0;
    }
    return process;
}

int CheckLimit(const MonitoringList& list, const std::string& unitLabel, const MonitoredProcess& process)
{
    // Intentional: the label of the list is compared and not the setting, and it is never PERCENT. So a
    // memory threshold has no upper bound in either unit, and stores with such thresholds stay valid.
    const bool isPercent =
        IsList(list, THHS_MONITOR_CPU) ||
        (IsList(list, THHS_MONITOR_MEMORY) && IsSameText(list.mHelper, unitLabel, MEMORY_UNIT_PERCENT));
    if (isPercent && process.mThreshold > HIGHEST_PERCENT) {
        return RefuseList(RC_CONFIG_INVALID,
                          FormatBounded(MESSAGE_SIZE, BAD_PERCENT_TEXT, list.mLabel.c_str(),
                                        AppendBinExt(process.mName).c_str(), process.mThreshold));
    }
    if (IsList(list, THHS_MONITOR_DEADLOCK) && process.mThreshold != 0) {
        return RefuseList(RC_CONFIG_INVALID, FormatBounded(MESSAGE_SIZE, BAD_DEADLOCK_ELEMENT_TEXT,
                                                           process.mName.c_str(), list.mKey));
    }
    return 0;
}

int CheckProcess(const MonitoringList& list, const std::string& unitLabel, const MonitoredProcess& process)
{
    if (process.mName.empty() || process.mThreshold < 0) {
        return RefuseList(RC_CONFIG_INVALID,
                          FormatBounded(MESSAGE_SIZE, BAD_ELEMENT_TEXT, process.mElement.c_str(), list.mKey));
    }
    if (!ValidateInputForSpecialChars(process.mName)) {
        return RefuseList(RC_CONFIG_BAD_CHARS, BAD_NAME_TEXT);
    }
    return CheckLimit(list, unitLabel, process);
}

void RecordProcess(const MonitoringList& list, const std::string& unitLabel, const MonitoredProcess& process,
                   std::set<std::string>& names)
{
    std::string name = process.mName;
    if (list.mJavaProcesses.count(name) != 0) {
        list.mHelper.GetJavaProcessOSName(name);
    }
    names.insert(name);
    if (unitLabel.empty()) {
        WriteLogLine(logFileMtx, MONITORED_DEADLOCK_TEXT, AppendBinExt(name).c_str(), list.mLabel.c_str());
        return;
    }
    WriteLogLine(logFileMtx, MONITORED_TEXT, AppendBinExt(name).c_str(), list.mLabel.c_str(),
                 process.mThreshold, unitLabel.c_str());
}
} // namespace

int ReadMapValue(const char* key, std::string messageStr, std::map<std::string, int>& thresholds)
{
    thresholds.clear();
    const std::unique_ptr<HelperFunctionInterface> helper(GetHelperFunctionInstance());
    if (!helper) {
        return RC_CONFIG_NO_HELPER;
    }
    int result = RC_CONFIG_NOT_DEFINED;
    std::string text;
    (void)ReadStringValue(key, text, result); // `text` holds the same
    if (result != 0) {
        return result;
    }
    ConfigurationMgr& config = *ConfigurationMgr::GetInstance();
    const MonitoringList list = {key, messageStr, config.mMemoryUnit, config.mJavaProcessMap, *helper};
    return ParseMonitoringList(list, text, thresholds, config.mMonitoredProcessNames);
}

int ParseMonitoringList(const MonitoringList& list, const std::string& text,
                        std::map<std::string, int>& thresholds, std::set<std::string>& names)
{
    std::vector<std::string> elements;
    GetVectorFromString(text, ",", elements);
    if (elements.empty()) {
        WriteLogLine(logFileMtx, EMPTY_LIST_TEXT, list.mKey);
        return RC_CONFIG_INVALID;
    }
    const std::string unitLabel = GetUnitLabel(list);
    for (const std::string& element : elements) {
        const MonitoredProcess process = SplitElement(list, element);
        const int checked = CheckProcess(list, unitLabel, process);
        if (checked != 0) {
            return checked;
        }
        thresholds.emplace(process.mName, process.mThreshold); // the first threshold of a name counts
        RecordProcess(list, unitLabel, process, names);
    }
    return 0;
}
