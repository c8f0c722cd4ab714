#pragma once

namespace CLI
{
class App;
}

namespace ctl
{

struct Common;

/** The verbs about evidence, as Verbs.h wants them. */
void AddListVerb(CLI::App& program, Common& common);
void AddVerifyVerb(CLI::App& program, Common& common);
void AddBundleVerb(CLI::App& program, Common& common);
void AddPruneVerb(CLI::App& program, Common& common);
void AddPinVerb(CLI::App& program, Common& common);
void AddRehearseVerb(CLI::App& program, Common& common);

} // namespace ctl
