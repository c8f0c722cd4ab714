#include <pwd.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include "platform/CommandPath.h"
#include "platform/SUSECommandPath.h"
#include "platform/THOSVersion.h"

#include "processes/Preflight.h"

namespace ctl
{

namespace
{

std::shared_ptr<const CmdPath> FindTools()
{
    if (GetOSType() == eOSSuse) {
        return std::make_shared<SuseCmdPath>();
    }
    return std::make_shared<CmdPath>();
}

std::optional<ProcessOwner> FindOwner(unsigned user)
{
    const passwd* const owner = getpwuid(user);
    if (owner == nullptr) {
        return std::nullopt;
    }
    return ProcessOwner{owner->pw_name, *owner->pw_shell == '\0' ? "/bin/sh" : owner->pw_shell};
}

std::optional<std::uint64_t> GetFreeBytes(const std::string& folder)
{
    struct statvfs space = {};
    if (statvfs(folder.c_str(), &space) != 0) {
        return std::nullopt;
    }
    return static_cast<std::uint64_t>(space.f_bavail) * space.f_frsize;
}

} // namespace

PreflightHost GetPreflightHost()
{
    return {"", geteuid() == 0, FindOwner, GetFreeBytes, FindTools(), "/usr/bin/gdb"};
}

} // namespace ctl
