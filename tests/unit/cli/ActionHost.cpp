#include "ActionHost.h"

#include "cli/THDaemonInfra.h"
#include "platform/THUEnv.h"
#include "support/HelperSeam.h"

ActionHelper::ActionHelper(ActionScript& script) : ScriptedHelper(script.mShell), mScript(script)
{
    ++mScript.mMade;
}

ActionHelper::~ActionHelper()
{
    ++mScript.mDeleted;
}

int ActionHelper::PreCheckForAction(THPM_ACTION_TYPE type)
{
    mScript.mPreChecks.push_back(type);
    return mScript.mPreCheck;
}

int ActionHelper::PostCheckForAction(THPM_ACTION_TYPE type)
{
    mScript.mPostChecks.push_back(type);
    return mScript.mPostCheck;
}

void ActionHost::SetUp()
{
    HostFixture::SetUp();
    // No test signals a process that it hasn't named.
    GetSeams().mKill = [](pid_t pid, int signal) {
        ADD_FAILURE() << "signal " << signal << " to " << pid;
        return -1;
    };
}

void ActionHost::ScriptHelpers()
{
    GetHelperSeam().mMake = [this] { return new ActionHelper(mScript); };
}

void ActionHost::WriteRunFile(const std::string& content)
{
    WriteFile(GetLockFile(THHS_RUN_LOCK_NAME), content);
}

std::string GetLockFile(const char* name)
{
    std::string path;
    GetTouchFilePath(name, path);
    return path;
}
