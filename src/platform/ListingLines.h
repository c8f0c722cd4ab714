#pragma once

#include <set>
#include <string>

class CmdPath;

/**
 * The shell lines that list processes and probe the machine. Each is made from its arguments alone. Any
 * thread.
 *
 * `filter` is an extended regular expression, as JoinNames makes it.
 */

/** Arguments of ps: the columns, and the pipe to the filter. */
inline constexpr char COMMAND_COLUMNS[] = "-eo pid,command | ";
inline constexpr char CPU_COLUMNS[] = "-eo pid,%cpu,command | ";            ///< percent of one processor
inline constexpr char MEMORY_PERCENT_COLUMNS[] = "-eo pid,%mem,command | "; ///< percent of the memory
inline constexpr char MEMORY_SIZE_COLUMNS[] = "-eo pid,rss,command | ";     ///< kilobytes

/** The names and `extra`, which may be empty, joined by "|". */
std::string JoinNames(const std::set<std::string>& names, const std::string& extra);

/** A pattern of grep for the whole word; bound to the start or end of the line, there with blanks or without.
 */
std::string GetWholeWordPattern(const std::string& word, bool anchorStart, bool anchorEnd, bool spaceAtStart,
                                bool spaceAtEnd);

/** All processes whose line matches the filter. */
std::string GetListingLine(const CmdPath& tools, const std::string& columns, const std::string& filter);

/** The same for the one process whose id `pidPattern` finds. */
std::string GetUsageLine(const CmdPath& tools, const std::string& columns, const std::string& filter,
                         const std::string& pidPattern);

/** CPU use of one process, which ps is asked for alone. */
std::string GetSingleUsageLine(const CmdPath& tools, const std::string& filter, int pid);

/** All listed processes with `marker` on their command line. */
std::string GetJavaLine(const CmdPath& tools, const std::string& filter, const std::string& marker);

/** Process id and owner of the process whose id `pidPattern` finds. */
std::string GetOwnerLine(const CmdPath& tools, const std::string& pidPattern);

/** Prints the number of processors. */
std::string GetProcessorCountLine(const CmdPath& tools);

/** Prints the size of the memory in kilobytes. */
std::string GetMemorySizeLine(const CmdPath& tools);
