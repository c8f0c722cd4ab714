#pragma once

namespace CLI
{
class App;
}

namespace ctl
{

struct Common;

/** events: breaches, captures, failures, starts and stops from the daily logs. */
void AddEventsVerb(CLI::App& program, Common& common);

} // namespace ctl
