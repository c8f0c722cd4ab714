#pragma once

namespace CLI
{
class App;
}

namespace ctl
{

struct Common;

/** The verb that makes a page of a set, as Verbs.h wants it. */
void AddReportVerb(CLI::App& program, Common& common);

} // namespace ctl
