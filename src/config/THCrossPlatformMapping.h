#pragma once

#include <string>

/**
 * The prefix of a log line, "%04d-%02d-%02d %02d:%02d:%02d:%03d - ": local date and time with milliseconds.
 *
 * Intentional: seconds and milliseconds are two clock readings, so the milliseconds may belong to the
 * neighbouring second. Any thread.
 */
std::string GetCurrentTimeStamp();
