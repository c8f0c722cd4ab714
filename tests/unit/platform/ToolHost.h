#pragma once

#include "support/ConfigurationTest.h"

#include <filesystem>

/** Release files that a host may have, with the kind that GetOSType makes of them. */
constexpr char REDHAT_RELEASE[] = "/etc/redhat-release";
constexpr char ORACLE_RELEASE[] = "/etc/oracle-release";
constexpr char SUSE_RELEASE[] = "/etc/SuSE-release";

/** Puts a program in the place of whatever lies there. */
inline void ProvideTool(const std::string& path, const std::string& script = "#!/bin/sh\n")
{
    std::filesystem::remove(path);
    WriteFile(path, script, 0755);
}

/**
 * A host whose ps prints what the test wants, to the byte, whatever its arguments; the other tools are the
 * host's own. `mListing` is what it prints.
 */
class ScriptedPsTest : public ConfigurationTest
{
protected:
    void SetUp() override
    {
        ConfigurationTest::SetUp();
        if (IsSkipped()) {
            return;
        }
        mListing = MakeFolder() + "/listing";
        ProvideTool("/usr/bin/ps",
                    "#!/bin/sh\necho \"$*\" >" + mListing + ".arguments\ncat " + mListing + "\n");
        SetListing("");
    }

    /** What ps prints from now on. */
    void SetListing(const std::string& listing) { WriteFile(mListing, listing); }

    /** The arguments of the latest run of ps. */
    std::string GetPsArguments() { return ReadFile(mListing + ".arguments"); }

private:
    std::string mListing;
};
