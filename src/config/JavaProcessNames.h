#pragma once

#include <string>

/**
 * Configured names of the Java processes; each source unit that needs them has its own. Intentional: they are
 * never destroyed, as threads may use them to the last moment of the process.
 */
static const std::string& ADMIN_CONSOLE_JAVA = *new std::string("adminconsole");
static const std::string& WEB_MANAGEMENT_JAVA = *new std::string("thwmc");

/** Text in the command line of each, by which the running one is found; a dot stands for any character. */
inline constexpr char ADMIN_CONSOLE_MARKER[] = "tarn.thx.AdminConsole";
inline constexpr char WEB_MANAGEMENT_MARKER[] = "Dthwmc";
