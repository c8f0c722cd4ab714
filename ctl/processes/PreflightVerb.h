#pragma once

namespace CLI
{
class App;
}

namespace ctl
{

struct Common;

/** preflight: whether this host lets the service do its work. Attaches to no process. */
void AddPreflightVerb(CLI::App& program, Common& common);

} // namespace ctl
