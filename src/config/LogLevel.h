#pragma once

/** The log levels that a log target had before they were raised. */
struct LogLevel
{
    int mDebugLevel;
    int mDiagnosticLevel;
};
