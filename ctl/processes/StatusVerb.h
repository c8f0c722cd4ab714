#pragma once

namespace CLI
{
class App;
}

namespace ctl
{

struct Common;

/** status: whether the service runs, its last pass, and a row for each counter. */
void AddStatusVerb(CLI::App& program, Common& common);

/** wait: until the service runs, or has stopped, for scripts. */
void AddWaitVerb(CLI::App& program, Common& common);

} // namespace ctl
