#pragma once

#include <string>

/**
 * The prefix of a log line, "%04d-%02d-%02d %02d:%02d:%02d:%03d - ": local date and time with milliseconds.
 *
 * The milliseconds come from a clock reading of their own and may belong to the neighbouring second. Any
 * thread.
 */
std::string GetCurrentTimeStamp();
