#pragma once

#include <string>

namespace ctl
{

/** True for the configured names of Java programs, which run as "java" and are found by a marker. */
bool IsJavaName(const std::string& name);

/** The text that finds such a program by its command line; empty for other names. */
std::string GetJavaMarker(const std::string& name);

} // namespace ctl
