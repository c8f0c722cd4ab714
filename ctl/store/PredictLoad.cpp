#include "store/PredictLoad.h"

#include <algorithm>
#include <cerrno>
#include <optional>
#include <utility>

#include <strings.h>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <sys/statvfs.h>

#include <linux/magic.h>

#include "base/ProgramNames.h"
#include "config/ConfigurationResult.h"
#include "config/ConfigurationTexts.h"
#include "config/KeyTable.h"
#include "config/ReadingPlan.h"
#include "thbase.h"

#include "base/FormattedText.h"
#include "base/PlainText.h"
#include "base/Plural.h"
#include "store/Keys.h"
#include "store/ListPrediction.h"
#include "store/LoadRecord.h"
#include "store/Store.h"

namespace ctl
{

namespace
{

std::string ShowPlan(const ReadingPlan& plan)
{
    return CountNoun(static_cast<std::uint64_t>(std::max(plan.mCount, 0)), "sample") + " " +
           std::to_string(plan.mInterval) + " s apart";
}

/** The keys in one walk; a failing step goes on with the findings and ends the log. */
class Load
{
public:
    Load(const Store& store, const FolderProbe& probe) : mRecord(store), mProbe(probe) {}

    LoadPrediction Run()
    {
        mRecord.Say(LOAD_STARTS_TEXT);
        ReadMemoryUnit();
        ReadList(THHS_MONITOR_CPU, mRecord.GetSettings().cpu);
        ReadList(THHS_MONITOR_MEMORY, mRecord.GetSettings().memory);
        ReadList(THHS_MONITOR_DEADLOCK, mRecord.GetSettings().deadlock);
        ReadNumbers();
        return mRecord.Take();
    }

private:
    void ReadMemoryUnit();
    void ReadList(const char* key, std::map<std::string, int>& limits);
    void ReadNumbers();
    void ReadNumber(const KeyRow& row);
    void ReadPollInterval(const KeyRow& row);
    void ReadReverting(const KeyRow& row);
    void FitReadings();
    void ReportUnfitting(const ReadingPlan& plan, const ReadingPlan& fitted, int poll);
    void ReadJdkHome();
    void ReadEvidencePath();
    bool CheckEvidencePath(const LoadRecord::ReadText& read);
    void LogSuccess();
    int& GetNumber(const char* key) { return mRecord.GetSettings().numbers[key]; }

    LoadRecord mRecord;
    const FolderProbe& mProbe;
    bool mReverted = false;
};

void Load::ReadMemoryUnit()
{
    const LoadRecord::ReadText read = mRecord.ReadString(THHS_MEMORY_UNIT, LoadRecord::IfBad::Stop);
    if (read.result != 0) {
        return;
    }
    mRecord.GetSettings().memoryUnit = read.text;
    if (strcasecmp(read.text.c_str(), MEMORY_UNIT_PERCENT) != 0 &&
        strcasecmp(read.text.c_str(), MEMORY_UNIT_ABSOLUTE) != 0) {
        mRecord.Refuse(THHS_MEMORY_UNIT,
                       FormatText(BAD_UNIT_TEXT, THHS_MEMORY_UNIT, read.text.c_str(), MEMORY_UNIT_PERCENT,
                                  MEMORY_UNIT_ABSOLUTE),
                       "\"" + read.text + "\" is no unit, and the service won't start",
                       "use ABSOLUTE, for megabytes, or PERCENT");
    }
}

void Load::ReadList(const char* key, std::map<std::string, int>& limits)
{
    const LoadRecord::ReadText read = mRecord.ReadString(key, LoadRecord::IfBad::Stop);
    if (read.result == 0) {
        PredictList(mRecord, key, read.text, limits);
    }
}

void Load::ReadNumbers()
{
    for (const KeyRow& row : GetKeys()) {
        const std::string_view name = row.name;
        if (name == THHS_JDK_HOME) {
            ReadJdkHome();
        } else if (name == THHS_EVIDENCE_PATH) {
            ReadEvidencePath();
        } else {
            ReadNumber(row);
        }
        if (name == THHS_READING_INTERVAL) {
            FitReadings();
        }
    }
    LogSuccess();
}

void Load::ReadNumber(const KeyRow& row)
{
    switch (row.kind) {
    case KeyKind::Stopping:
        ReadPollInterval(row);
        break;
    case KeyKind::Integer:
        ReadReverting(row);
        break;
    case KeyKind::Free:
        GetNumber(row.name) = row.fallback;
        (void)mRecord.ReadInteger(row, GetNumber(row.name)); // any value will do
        break;
    case KeyKind::Text:
    case KeyKind::List:
        break;
    }
}

void Load::ReadPollInterval(const KeyRow& row)
{
    int& value = GetNumber(row.name);
    value = row.fallback;
    const int result = mRecord.ReadInteger(row, value);
    if (result == 0 && value <= 0) {
        mRecord.Refuse(row.name, FormatText(BAD_POLL_INTERVAL_TEXT, row.name, value),
                       std::to_string(value) + " is no interval, and the service won't start",
                       "give the seconds between two passes, 1 or more");
        value = row.fallback;
    }
}

void Load::ReadReverting(const KeyRow& row)
{
    int& value = GetNumber(row.name);
    value = row.fallback;
    (void)mRecord.ReadInteger(row, value); // reported; the field stays and passes its check
    if (value >= row.lowest && value <= row.highest) {
        return;
    }
    mRecord.Say(FormatText(row.says, row.name, value, row.fallback));
    if (row.says2 != nullptr) {
        mRecord.Say(row.says2);
    }
    const std::string range = row.highest == 1 ? "0 or 1" : row.highest == 10 ? "from 1 to 10" : "1 or more";
    mRecord.Add(
        Severity::Warning, row.name,
        std::to_string(value) + " is out of range; " + std::to_string(row.fallback) + " applies instead",
        "use a number that is " + range);
    value = row.fallback;
    mReverted = true;
}

void Load::FitReadings()
{
    const int poll = GetNumber(THHS_POLL_INTERVAL);
    const ReadingPlan plan = {GetNumber(THHS_READING_INTERVAL), GetNumber(THHS_NUMBER_OF_READINGS)};
    if (FitsInto(plan, poll)) {
        return;
    }
    if (GetNumber(FORCE_READING_INTERVAL) != 0) {
        mRecord.Add(Severity::Info, FORCE_READING_INTERVAL,
                    ShowPlan(plan) + " take longer than the poll interval of " + std::to_string(poll) +
                        " s; this key keeps them as they are",
                    "");
        return;
    }
    const ReadingPlan fitted = FitTo(plan, poll);
    ReportUnfitting(plan, fitted, poll);
    GetNumber(THHS_READING_INTERVAL) = fitted.mInterval;
    GetNumber(THHS_NUMBER_OF_READINGS) = fitted.mCount;
}

void Load::ReportUnfitting(const ReadingPlan& plan, const ReadingPlan& fitted, int poll)
{
    mRecord.Say(FormatText(READINGS_DONT_FIT_TEXT, THHS_READING_INTERVAL, plan.mInterval,
                           THHS_NUMBER_OF_READINGS, plan.mCount, THHS_POLL_INTERVAL, poll,
                           THHS_READING_INTERVAL, THHS_NUMBER_OF_READINGS, THHS_POLL_INTERVAL));
    for (const auto& [key, value] : {std::pair(THHS_READING_INTERVAL, fitted.mInterval),
                                     std::pair(THHS_NUMBER_OF_READINGS, fitted.mCount)}) {
        mRecord.Say(FormatText(READINGS_SET_TEXT, key, value, THHS_POLL_INTERVAL));
    }
    mRecord.Add(Severity::Warning,
                mRecord.IsDefined(THHS_NUMBER_OF_READINGS) ? THHS_NUMBER_OF_READINGS
                : mRecord.IsDefined(THHS_READING_INTERVAL) ? THHS_READING_INTERVAL
                                                           : THHS_POLL_INTERVAL,
                ShowPlan(plan) + " don't fit into the poll interval of " + std::to_string(poll) + " s; " +
                    ShowPlan(fitted) + " apply instead, and each pass logs this anew",
                std::string("let ") + THHS_READING_INTERVAL + " times " + THHS_NUMBER_OF_READINGS +
                    " be less than " + THHS_POLL_INTERVAL);
}

void Load::ReadJdkHome()
{
    const LoadRecord::ReadText read = mRecord.ReadString(THHS_JDK_HOME, LoadRecord::IfBad::GoOn);
    mRecord.GetSettings().jdkHome = read.text;
    if (read.text.empty()) {
        mRecord.Say(NO_JDK_HOME_TEXT);
    }
}

bool Load::CheckEvidencePath(const LoadRecord::ReadText& read)
{
    if (read.text.empty()) {
        mRecord.Refuse(THHS_EVIDENCE_PATH, FormatText(NO_EVIDENCE_PATH_TEXT, THHS_EVIDENCE_PATH),
                       "there is no evidence path, and the service won't start",
                       "name an existing folder with room for evidence");
        return false;
    }
    if (read.result != 0) {
        mRecord.Fail(read.result);
        return false;
    }
    if (mProbe.isHidden && mProbe.isHidden(read.text)) {
        mRecord.Add(Severity::Warning, THHS_EVIDENCE_PATH,
                    read.text +
                        " can't be looked at: Permission denied; that the service finds a folder there "
                        "is taken for granted",
                    "run the check as the user of the service, root");
        return true;
    }
    if (!mProbe.exists(read.text)) {
        mRecord.Refuse(
            THHS_EVIDENCE_PATH,
            FormatText(MISSING_EVIDENCE_PATH_TEXT, THHS_EVIDENCE_PATH, read.text.c_str(), SHORT_NAME),
            "there is no folder " + read.text + ", and the service won't start",
            "make the folder, or name one that is there");
        return false;
    }
    const std::string root = read.text + "/" + SHORT_NAME;
    if (!mProbe.exists(root) && !mProbe.canCreate(root)) {
        mRecord.Refuse(THHS_EVIDENCE_PATH,
                       FormatText(EVIDENCE_FOLDER_FAILED_TEXT, THHS_EVIDENCE_PATH, root.c_str(), SHORT_NAME),
                       "the folder " + root + " can't be made, and the service won't start",
                       "make that folder, or name another path");
        return false;
    }
    return true;
}

void Load::ReadEvidencePath()
{
    const LoadRecord::ReadText read = mRecord.ReadString(THHS_EVIDENCE_PATH, LoadRecord::IfBad::Stop);
    mRecord.GetSettings().evidencePath = read.text;
    if (CheckEvidencePath(read)) {
        mRecord.Say(
            FormatText(EVIDENCE_PATH_TEXT, THHS_EVIDENCE_PATH, (read.text + "/" + SHORT_NAME).c_str()));
    }
}

void Load::LogSuccess()
{
    mRecord.Say(LOAD_SUCCEEDED_TEXT);
    mRecord.Say(FormatText(POLL_INTERVAL_TEXT, GetNumber(THHS_POLL_INTERVAL), THHS_POLL_INTERVAL));
    if (mReverted) {
        mRecord.Say(FormatText(REVERTED_TEXT, SHORT_NAME));
    }
}

} // namespace

namespace
{

/** True for file systems of the kernel in which nobody can make a folder, root neither. */
bool TakesNoFolder(const std::string& folder)
{
    struct statfs fileSystem = {};
    if (statfs(folder.c_str(), &fileSystem) != 0) {
        return false;
    }
    const auto type = static_cast<unsigned long>(fileSystem.f_type);
    return type == PROC_SUPER_MAGIC || type == SYSFS_MAGIC || type == DEVPTS_SUPER_MAGIC;
}

} // namespace

FolderProbe GetHostProbe()
{
    const auto exists = [](const std::string& path) {
        struct stat status = {};
        // The one bit, as the daemon looks at it: block devices and sockets count too.
        return stat(path.c_str(), &status) == 0 && (status.st_mode & S_IFDIR) != 0;
    };
    const auto canCreate = [](const std::string& path) {
        struct stat status = {};
        struct statvfs fileSystem = {};
        const std::string parent = path.substr(0, path.rfind('/') + 1);
        const bool isReadOnly =
            statvfs(parent.c_str(), &fileSystem) == 0 && (fileSystem.f_flag & ST_RDONLY) != 0;
        // Something of the name that is no folder counts as made, as it does for the daemon.
        return lstat(path.c_str(), &status) == 0 ||
               (!isReadOnly && !TakesNoFolder(parent) && stat(parent.c_str(), &status) == 0 &&
                S_ISDIR(status.st_mode));
    };
    const auto isHidden = [](const std::string& path) {
        struct stat status = {};
        return stat(path.c_str(), &status) != 0 && errno == EACCES;
    };
    return {exists, canCreate, isHidden};
}

LoadPrediction PredictLoad(const Store& store, const FolderProbe& probe)
{
    return Load(store, probe).Run();
}

} // namespace ctl
