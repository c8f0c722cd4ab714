#pragma once

#include <string>

/** The arguments of one background run of a tool. Owned by its thread from the start of the thread. */
struct CommandRunData
{
    std::string mOutputFile;  ///< evidence file
    std::string mCommandPath; ///< path of the tool
    std::string mArguments;   ///< empty if it takes none
    int mFilterPid = -1;      ///< process id to filter the output by; -1 for no filter
};
