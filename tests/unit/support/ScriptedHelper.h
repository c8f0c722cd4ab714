#pragma once

#include "platform/CommandPath.h"
#include "platform/UnixHelperFunction.h"

#include <functional>
#include <string>
#include <vector>

/** What scripted helpers answer and what they were asked; shared by all of them, as the program makes many.
 */
struct HelperScript
{
    /** Output of a shell line; the status is 0. Every line has no output when empty. */
    std::function<std::string(const std::string& line)> mAnswer;

    /** Status of a shell line, 0 when empty. */
    std::function<int(const std::string& line)> mStatus;

    std::vector<std::string> mLines; ///< the shell lines in the order in which they came
};

/**
 * A helper that runs no shell line but answers from a script. `Base` is UnixHelperFunction or a variant of
 * it; its protected members are open to the test.
 */
template <typename Base = UnixHelperFunction>
class ScriptedHelper : public Base
{
public:
    explicit ScriptedHelper(HelperScript& script) : mScript(script) {}

    int ExecuteCommandWithRc(const char* command, std::string& output) override
    {
        mScript.mLines.push_back(command);
        output = mScript.mAnswer ? mScript.mAnswer(command) : "";
        return mScript.mStatus ? mScript.mStatus(command) : 0;
    }

    using Base::mCmdPath;
    using Base::mCPUCount;
    using Base::mTotalMemoryInKB;

private:
    HelperScript& mScript;
};
