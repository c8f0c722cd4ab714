#pragma once

#include "cli/CommandActions.h"

#include <string>

/**
 * The program's entry: parses the command line, performs the action and returns the exit status. Main thread.
 */

constexpr int PROGRAM_NAME_SIZE = 16;

/** argv[0] as typed, cut to 15 characters; empty when the program was called without arguments. */
extern char THHS_NAME[PROGRAM_NAME_SIZE];

/** The action on the command line. Anything else prints an error and the help. */
eCommandActions GetActionFromArg(int argc, char** argv);

/** Performs an action, with the banners that it has. @return the exit status, 0 on success */
int PerformAction(eCommandActions action);

/** Prints the banner before an action. */
void printActionStartMessage(std::string label);

/** Prints the banner after an action; `status` 0 is success. */
void printActionCompleteMessage(std::string label, int status);
