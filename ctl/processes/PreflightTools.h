#pragma once

#include <memory>

class CmdPath;

namespace ctl
{

/** The paths of the daemon's tools on this host, found as the daemon finds them. */
std::unique_ptr<CmdPath> FindTools();

} // namespace ctl
