#pragma once

#include <span>

namespace CLI
{
class App;
}

namespace ctl
{

struct Common;

/**
 * Adds one verb to the program: its options, its help and its action. `common` outlives `program`; the action
 * reads it when it runs, after the whole command line was parsed.
 */
struct VerbRegistration
{
    const char* name;
    void (*add)(CLI::App& program, Common& common);
};

/** The verbs in the order in which --help lists them. A new verb is a declaration and a row in Verbs.cpp. */
std::span<const VerbRegistration> GetVerbs();

/** Parses the command line and runs the verb. Returns the exit status of the process. */
int RunProgram(int argumentCount, const char* const* arguments);

} // namespace ctl
