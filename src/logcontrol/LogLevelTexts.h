#pragma once

/** What the log says about log levels; verbose lines. Data alone: a reader of the log may include it. */

inline constexpr char ORIGINAL_DEBUG_LEVEL_TEXT[] =
    "Original DebugLevel for process %s is : %d.\n"; ///< target, level
inline constexpr char ORIGINAL_DIAGNOSTIC_LEVEL_TEXT[] =
    "Original DiagnosticLevel for process %s is : %d.\n"; ///< target, level
inline constexpr char LEVELS_RAISED_TEXT[] =
    "mDiagnosticLevel and  DebugLevel for the process %s set to 6.\n"; ///< target
inline constexpr char LEVELS_RESTORED_TEXT[] =
    "mDiagnosticLevel and  DebugLevel for the process %s have been reset to original values.\n"; ///< target
