#pragma once

namespace CLI
{
class App;
}

namespace ctl
{

struct Common;

/** check: what a store means to the daemon, line by line, and what it matches on this host. */
void AddCheckVerb(CLI::App& program, Common& common);

} // namespace ctl
