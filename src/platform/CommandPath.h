#pragma once

#include <string>

/**
 * Absolute paths of the outside tools, found when the object is built.
 *
 * Each field holds the tool's usual path if something exists there, else its fallback path. Intentional: the
 * fallback isn't tested. A tool that exists nowhere shows when the shell can't run it. An object belongs to
 * one helper and is used by that helper's thread.
 */
class CmdPath
{
public:
    CmdPath();
    virtual ~CmdPath();

    /** True when `stat` on the path succeeds, executable or not. */
    virtual bool IsFileExist(const std::string& path);

    /** The path and one blank, for a line in which arguments follow. */
    static std::string AppendSpace(std::string path);

    std::string mAwk;
    std::string mCat;
    std::string mEcho;
    std::string mEgrep;
    std::string mFree;
    std::string mGcore;
    std::string mGrep;
    std::string mGstack;
    std::string mIostat;
    std::string mLs;
    std::string mMpstat;
    std::string mNetstat;
    std::string mPmap;
    std::string mPs;
    std::string mSed;
    std::string mTop;
    std::string mVmstat;
    std::string mWc;
    std::string mWhich;
};

/** A tool and where it is looked for. */
struct ToolPath
{
    const char* mName;
    std::string CmdPath::*mField;
    const char* mPrimary;  ///< taken if something exists there
    const char* mFallback; ///< taken otherwise, untested
};

inline constexpr ToolPath TOOL_PATHS[] = {
    {"awk", &CmdPath::mAwk, "/usr/bin/awk", "/bin/awk"},
    {"cat", &CmdPath::mCat, "/usr/bin/cat", "/bin/cat"},
    {"echo", &CmdPath::mEcho, "/usr/bin/echo", "/bin/echo"},
    {"egrep", &CmdPath::mEgrep, "/usr/bin/egrep", "/bin/egrep"},
    {"free", &CmdPath::mFree, "/usr/bin/free", "/bin/free"},
    // The one tool with a single place.
    {"gcore", &CmdPath::mGcore, "/usr/bin/gcore", "/usr/bin/gcore"},
    {"grep", &CmdPath::mGrep, "/usr/bin/grep", "/bin/grep"},
    {"gstack", &CmdPath::mGstack, "/usr/bin/gstack", "/bin/gstack"},
    {"iostat", &CmdPath::mIostat, "/usr/bin/iostat", "/bin/iostat"},
    {"ls", &CmdPath::mLs, "/usr/bin/ls", "/bin/ls"},
    {"mpstat", &CmdPath::mMpstat, "/usr/bin/mpstat", "/bin/mpstat"},
    {"netstat", &CmdPath::mNetstat, "/usr/bin/netstat", "/bin/netstat"},
    {"pmap", &CmdPath::mPmap, "/usr/bin/pmap", "/bin/pmap"},
    {"ps", &CmdPath::mPs, "/usr/bin/ps", "/bin/ps"},
    {"sed", &CmdPath::mSed, "/usr/bin/sed", "/bin/sed"},
    {"top", &CmdPath::mTop, "/usr/bin/top", "/bin/top"},
    {"vmstat", &CmdPath::mVmstat, "/usr/bin/vmstat", "/bin/vmstat"},
    {"wc", &CmdPath::mWc, "/usr/bin/wc", "/bin/wc"},
    {"which", &CmdPath::mWhich, "/usr/bin/which", "/bin/which"},
};

/** Where SUSE always takes netstat from, present or not. */
inline constexpr char SUSE_NETSTAT_PATH[] = "/bin/netstat";
