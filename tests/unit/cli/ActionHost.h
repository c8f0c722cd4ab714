#pragma once

#include "support/HostFixture.h"
#include "support/ScriptedHelper.h"

#include <string>

/** What a stop prints that finds no process id, and one beside an action in progress. */
inline constexpr char NO_DETAILS[] = "Error: Failed to retrieve the process details of the daemon\n";
inline constexpr char ACTION_IN_PROGRESS[] = "Error: Another instance of action in progressing state\n";

/** What the helpers of an action answer, and what became of them. */
struct ActionScript
{
    int mPreCheck = 0;
    int mPostCheck = 0;
    std::vector<HelperFunctionInterface::THPM_ACTION_TYPE> mPreChecks;
    std::vector<HelperFunctionInterface::THPM_ACTION_TYPE> mPostChecks;
    int mMade = 0;
    int mDeleted = 0;
    HelperScript mShell;
};

/** A helper whose checks before and after an action are scripted. */
class ActionHelper : public ScriptedHelper<>
{
public:
    explicit ActionHelper(ActionScript& script);
    ~ActionHelper() override;
    int PreCheckForAction(THPM_ACTION_TYPE type) override;
    int PostCheckForAction(THPM_ACTION_TYPE type) override;

private:
    ActionScript& mScript;
};

/** A host on which actions are performed, their helpers scripted, their locks real. */
class ActionHost : public HostFixture
{
protected:
    void SetUp() override;

    /** Lets the factory make the scripted helpers. */
    void ScriptHelpers();

    /** Writes the file that holds the daemon's process id. */
    static void WriteRunFile(const std::string& content);

    ActionScript mScript;
};

/** Path of the file below the folder of the locks. */
std::string GetLockFile(const char* name);
