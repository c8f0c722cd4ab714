#include "config/LoadFixture.h"

#include <algorithm>
#include <iterator>

void LoadFixture::SetUp()
{
    SettingsFixture::SetUp();
    mFolder = MakeFolder();
    GetStore().mValues["THHS_EVIDENCE_PATH"] = mFolder;
}

void LoadFixture::Load()
{
    ForgetLog();
    GetStore().mReads.clear();
    mConsole = GetConsole([this] { mResult = mConfig->ReadConfigurationFile(); });
}

void LoadFixture::Load(const std::string& key, const std::string& value)
{
    GetStore().mValues[key] = value;
    Load();
}

Lines LoadFixture::GetLog(const LogOfLoad& load) const
{
    Lines log = {READING};
    log.insert(log.end(), load.mBeforeJdkHome.begin(), load.mBeforeJdkHome.end());
    log.push_back(NO_JDK_HOME);
    log.push_back("THHS_EVIDENCE_PATH is set to " + mFolder +
                  "/thsentinel. Check the folder for collected logs.");
    log.insert(log.end(), load.mAfterEvidencePath.begin(), load.mAfterEvidencePath.end());
    log.push_back(SUCCESS);
    log.push_back("Processes will be monitored regularly after " + std::to_string(load.mPollInterval) +
                  " seconds. It can be modified by changing THHS_POLL_INTERVAL value in Tarnhaven "
                  "configuration.");
    if (load.mIsReverted) {
        log.push_back(WARNING);
    }
    return log;
}

Lines LoadFixture::GetLogLinesWith(const std::string& text)
{
    const Lines log = GetLogLines();
    Lines found;
    std::copy_if(log.begin(), log.end(), std::back_inserter(found),
                 [&text](const std::string& line) { return line.find(text) != std::string::npos; });
    return found;
}
