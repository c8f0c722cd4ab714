#include "platform/CommandPath.h"

#include <sys/stat.h>

namespace
{
struct ToolPath
{
    std::string CmdPath::*mField;
    const char* mPrimary;
    const char* mFallback;
};

constexpr ToolPath TOOL_PATHS[] = {
    {&CmdPath::mAwk, "/usr/bin/awk", "/bin/awk"},
    {&CmdPath::mCat, "/usr/bin/cat", "/bin/cat"},
    {&CmdPath::mEcho, "/usr/bin/echo", "/bin/echo"},
    {&CmdPath::mEgrep, "/usr/bin/egrep", "/bin/egrep"},
    {&CmdPath::mFree, "/usr/bin/free", "/bin/free"},
    // The one tool without a second place to look at.
    {&CmdPath::mGcore, "/usr/bin/gcore", "/usr/bin/gcore"},
    {&CmdPath::mGrep, "/usr/bin/grep", "/bin/grep"},
    {&CmdPath::mGstack, "/usr/bin/gstack", "/bin/gstack"},
    {&CmdPath::mIostat, "/usr/bin/iostat", "/bin/iostat"},
    {&CmdPath::mLs, "/usr/bin/ls", "/bin/ls"},
    {&CmdPath::mMpstat, "/usr/bin/mpstat", "/bin/mpstat"},
    {&CmdPath::mNetstat, "/usr/bin/netstat", "/bin/netstat"},
    {&CmdPath::mPmap, "/usr/bin/pmap", "/bin/pmap"},
    {&CmdPath::mPs, "/usr/bin/ps", "/bin/ps"},
    {&CmdPath::mSed, "/usr/bin/sed", "/bin/sed"},
    {&CmdPath::mTop, "/usr/bin/top", "/bin/top"},
    {&CmdPath::mVmstat, "/usr/bin/vmstat", "/bin/vmstat"},
    {&CmdPath::mWc, "/usr/bin/wc", "/bin/wc"},
    {&CmdPath::mWhich, "/usr/bin/which", "/bin/which"},
};
} // namespace

CmdPath::CmdPath()
{
    for (const ToolPath& tool : TOOL_PATHS) {
        struct stat status = {};
        // The fallback isn't tested: a tool that exists nowhere shows when a shell line fails.
        this->*tool.mField = stat(tool.mPrimary, &status) == 0 ? tool.mPrimary : tool.mFallback;
    }
}

CmdPath::~CmdPath() = default;

bool CmdPath::IsFileExist(const std::string& path)
{
    struct stat status = {};
    return stat(path.c_str(), &status) == 0;
}

std::string CmdPath::AppendSpace(std::string path)
{
    return path + " ";
}
