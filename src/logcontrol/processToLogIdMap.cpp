#include "logcontrol/processToLogIdMap.h"

#include "platform/TextUtilities.h"

// The number of rows is written out: older compilers don't count them here.
const LogIdEntry* const processToLogIdMap = new LogIdEntry[3]{
    {"thwmc", {485, 495}},
    {"tbrd", {119, 128}},
    {"", {}},
};

std::vector<int> GetExtraLogIDsForProcess(std::string processName)
{
    std::vector<int> ids;
    for (const LogIdEntry* entry = processToLogIdMap; !entry->mProcessName.empty(); ++entry) {
        if (!IsSameText(entry->mProcessName, processName)) {
            continue;
        }
        for (const int id : entry->mLogIds) {
            if (id != 0) {
                ids.push_back(id);
            }
        }
    }
    return ids;
}
