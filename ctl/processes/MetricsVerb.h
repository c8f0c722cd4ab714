#pragma once

namespace CLI
{
class App;
}

namespace ctl
{

struct Common;

/** metrics: the state of the service in the text format of Prometheus. */
void AddMetricsVerb(CLI::App& program, Common& common);

} // namespace ctl
