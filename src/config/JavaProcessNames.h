#pragma once

#include <string>

/** Configured names of the Java processes; each source unit that needs them has its own. */
static const std::string ADMIN_CONSOLE_JAVA = "adminconsole";
static const std::string WEB_MANAGEMENT_JAVA = "thwmc";
