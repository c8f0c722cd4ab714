#pragma once

#include "cli/CommandActions.h"

/**
 * The words of the command line. Pure data: the program looks its argument up here, and manual page and
 * completion are made and checked from it.
 */
struct OptionWord
{
    const char* mWord; ///< as it is typed, in any case and never abbreviated
    eCommandActions mAction;
    const char* mMeaning; ///< one line for the completion
};

inline constexpr OptionWord OPTION_WORDS[] = {
    {"-install", eActionInstall, "print what has to be configured"},
    {"-uninstall", eActionUninstall, "stop the daemon if it runs"},
    {"-start", eActionStart, "read the settings and start the daemon"},
    {"-terminate", eActionStop, "ask the daemon to stop"},
    {"-list_config", eActionListConfig, "accepted, and lists nothing"},
    {"-help", eActionHelp, "print the options"},
    {"-version", eActionVersion, "print the release"},
};
