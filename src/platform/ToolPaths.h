#pragma once

#include "platform/CommandPath.h"

/** The outside tools and where they are looked for. Data alone. */

struct ToolPath
{
    const char* mName;
    std::string CmdPath::*mField;
    const char* mPrimary;  ///< taken if something exists there
    const char* mFallback; ///< taken otherwise, untested: a tool that exists nowhere shows when a line fails
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
