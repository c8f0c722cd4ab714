#pragma once

#include <functional>
#include <string>

namespace CLI
{
class App;
}

namespace ctl
{

/**
 * The options that every verb understands, before or after its name, and the status that the verb ended with.
 * An empty path means the one of this host: the store that the base library reads, the evidence path that the
 * store names, the log folder of the product.
 */
struct Common
{
    std::string store;    ///< --store FILE
    std::string evidence; ///< --evidence DIR: the folder that holds "thsentinel", or that folder itself
    std::string log;      ///< --log DIR: the folder of the daily logs
    bool json = false;    ///< --json
    int status = 0;       ///< what the program ends with; set by the verb's action
};

/** What --help shows of a verb. All texts live for ever. */
struct VerbText
{
    const char* name;
    const char* summary; ///< one line, no full stop
    const char* example; ///< one or more command lines, one a line
};

/** Adds the common options to the program. They write into `common`, which must outlive `program`. */
void AddCommonOptions(CLI::App& program, Common& common);

/** Adds a verb to the program and returns it, so that its own options can be added. */
CLI::App& AddVerb(CLI::App& program, const VerbText& text);

/**
 * Sets what a verb does. `action` runs once the whole command line was understood; its result becomes
 * `common.status`. It may raise std::exception: the program then prints the text and ends with
 * EXIT_CANT_TELL. What the action refers to must be owned by it, except `common`.
 */
void SetAction(CLI::App& verb, Common& common, std::function<int()> action);

} // namespace ctl
