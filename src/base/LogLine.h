#pragma once

#include "config/Mutex.h"

#include <string>

/**
 * Lines of the diagnostic log. Each is written from the open to the close of the day's file under the lock
 * of its unit (base/LogFileMtx.h) and starts with the time stamp of its writing. A file that can't be opened
 * loses the line and nothing else. Any thread. A cancelled thread finishes its line first.
 */

/** What the log needs from the program around it. */
struct LogGate
{
    void (*mPrepare)();   ///< makes the folder of the log at its first call; comes before every line
    bool (*mIsVerbose)(); ///< whether verbose lines are written
};

/** Defined by the place that composes the program. */
extern const LogGate LOG_GATE;

/** Writes a line: the stamp, then what printf makes of `format`, which ends with the line feed. */
[[gnu::format(printf, 2, 3)]] void WriteLogLine(mutex& unitMutex, const char* format, ...);

/** Writes a line if verbose lines are written. The gate is read before anything is formatted. */
[[gnu::format(printf, 2, 3)]] void WriteVerboseLine(mutex& unitMutex, const char* format, ...);

/** Writes a text that begins with a stamp of its own, and adds the line feed. */
void WriteStampedLine(mutex& unitMutex, const std::string& text);

enum class MessageOrder
{
    LogFirst,
    ConsoleFirst
};

/** Writes a message as a line and prints it on the console, in the given order. */
void ReportMessage(mutex& unitMutex, MessageOrder order, const std::string& message);

/** True when verbose lines are written; for work that only such lines need. */
bool IsVerbose();
