#include "platform/CommandPath.h"

#include <sys/stat.h>

CmdPath::CmdPath()
{
    for (const ToolPath& tool : TOOL_PATHS) {
        struct stat status = {};
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
