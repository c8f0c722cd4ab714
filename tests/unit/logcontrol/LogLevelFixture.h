#pragma once

#include "config/ConfigurationMgr.h"
#include "support/ConfigurationFixture.h"
#include "support/HelperSeam.h"
#include "support/ScriptedHelper.h"

#include <map>
#include <ostream>
#include <string>
#include <vector>

inline bool operator==(const LogLevel& first, const LogLevel& second)
{
    return first.mDebugLevel == second.mDebugLevel && first.mDiagnosticLevel == second.mDiagnosticLevel;
}

inline std::ostream& operator<<(std::ostream& out, const LogLevel& levels)
{
    return out << "{" << levels.mDebugLevel << ", " << levels.mDiagnosticLevel << "}";
}

/** A test of raised levels: the tool is played by a script, and each line that it was given is recorded. */
class LogLevelFixture : public ConfigurationFixture
{
protected:
    void SetUp() override
    {
        GetHelperSeam().mMake = [this] { return new ScriptedHelper<>(mScript); };
        mScript.mAnswer = [this](const std::string& line) { return Answer(line); };
        ConfigurationFixture::SetUp();
    }

    /** What the tool prints: a listing by target and level word, or what it says to a change. */
    std::string Answer(const std::string& line) const
    {
        const auto listing = mListings.find(line);
        return listing != mListings.end()               ? listing->second
               : line.find(" -a ") != std::string::npos ? mSaid
                                                        : "";
    }

    static std::string GetDebugLine(const std::string& target)
    {
        return "/usr/tarnv/tarnhaven/bin/txlogcfg -p TH -o " + target + " -l | grep \"Debug\"";
    }

    static std::string GetDiagnosticLine(const std::string& target)
    {
        return "/usr/tarnv/tarnhaven/bin/txlogcfg -p TH -o " + target + " -l | grep \"Diag\"";
    }

    static std::string GetRaiseLine(const std::string& target)
    {
        return "/usr/tarnv/tarnhaven/bin/txlogcfg -a -p TH -o " + target +
               " -s DebugLevel=6 -s DiagnosticLevel=6";
    }

    static std::string GetRestoreLine(const std::string& target, const std::string& debug,
                                      const std::string& diagnostic)
    {
        return "\"/usr/tarnv/tarnhaven/bin/txlogcfg\" -a -p TH -o " + target + " -s DebugLevel=" + debug +
               " -s DiagnosticLevel=" + diagnostic;
    }

    /** Gives a target both listings. */
    void List(const std::string& target, const std::string& debug, const std::string& diagnostic)
    {
        mListings[GetDebugLine(target)] = debug;
        mListings[GetDiagnosticLine(target)] = diagnostic;
    }

    /** Raises as a breach of this process does, with a helper of its own. */
    void Raise(const std::string& processName)
    {
        ScriptedHelper<> helper(mScript);
        helper.IncreaseLogging(processName);
    }

    HelperScript mScript;
    std::map<std::string, std::string> mListings; ///< output by shell line
    std::string mSaid = "done\n";                 ///< output of a change
};
