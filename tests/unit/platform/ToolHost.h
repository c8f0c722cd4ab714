#pragma once

#include "support/ConfigurationFixture.h"
#include "support/HostFixture.h"

#include <algorithm>
#include <filesystem>
#include <vector>

/** The release files by which GetOSType distinguishes hosts. */
constexpr char REDHAT_RELEASE[] = "/etc/redhat-release";
constexpr char ORACLE_RELEASE[] = "/etc/oracle-release";
constexpr char SUSE_RELEASE[] = "/etc/SuSE-release";

/** Changes to files of the host, undone when the object goes. */
class HostChanges
{
public:
    HostChanges() = default;
    HostChanges(const HostChanges&) = delete;
    HostChanges& operator=(const HostChanges&) = delete;

    ~HostChanges()
    {
        for (auto path = mPaths.rbegin(); path != mPaths.rend(); ++path) {
            std::filesystem::remove_all(*path);
            if (IsThere(GetKept(*path))) {
                std::filesystem::rename(GetKept(*path), *path);
            }
        }
    }

    /** Takes away what lies at a path, if anything does. */
    void Remove(const std::string& path)
    {
        if (std::find(mPaths.begin(), mPaths.end(), path) != mPaths.end()) {
            std::filesystem::remove_all(path);
            return;
        }
        if (IsThere(path)) {
            std::filesystem::rename(path, GetKept(path));
        }
        mPaths.push_back(path);
    }

    /** Puts a file in the place of whatever lies there, by default a program that does nothing. */
    void Provide(const std::string& path, const std::string& content = "#!/bin/sh\n", unsigned mode = 0755)
    {
        Remove(path);
        WriteFile(path, content, mode);
    }

private:
    static bool IsThere(const std::string& path)
    {
        return std::filesystem::exists(std::filesystem::symlink_status(path));
    }
    static std::string GetKept(const std::string& path) { return path + ".kept"; }

    std::vector<std::string> mPaths; ///< in the order in which they were changed
};

/** A host on which the test changes release files and tools. */
class ToolHost : public HostFixture
{
protected:
    HostChanges mHost;
};

/**
 * A host whose ps prints what the test wants, to the byte, whatever its arguments; the other tools are the
 * host's own.
 */
class ScriptedPsHost : public ConfigurationFixture
{
protected:
    void SetUp() override
    {
        RequireHost();
        if (IsSkipped()) {
            return;
        }
        ConfigurationFixture::SetUp();
        mListing = MakeFolder() + "/listing";
        mHost.Provide("/usr/bin/ps",
                      "#!/bin/sh\necho \"$*\" >" + mListing + ".arguments\ncat " + mListing + "\n");
        SetListing("");
    }

    /** What ps prints from now on. */
    void SetListing(const std::string& listing) { WriteFile(mListing, listing); }

    /** The arguments of the latest run of ps. */
    std::string GetPsArguments() { return ReadFile(mListing + ".arguments"); }

    HostChanges mHost;

private:
    std::string mListing; ///< file with what ps prints
};
