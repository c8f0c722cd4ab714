#pragma once

namespace CLI
{
class App;
}

namespace ctl
{

struct Common;

/** explain: why there is an evidence set of a process, or why there is none. */
void AddExplainVerb(CLI::App& program, Common& common);

} // namespace ctl
