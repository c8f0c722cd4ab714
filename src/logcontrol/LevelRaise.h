#pragma once

#include "config/LogLevel.h"

#include <map>
#include <string>

/**
 * Log levels that the worker raises while a stop restores them on another thread.
 *
 * The stop restores each level that is raised, and nothing is raised once it has begun. The tool that raises
 * a target may still run when the stop restores that target, and may change it afterwards, so the target is
 * restored once more. All functions: any thread.
 */

using SavedLevels = std::map<std::string, LogLevel>;

/** For the beginning of a service. */
void AllowRaises();

/** For the beginning of a stop: from now on no raise begins. */
void ForbidRaises();

/** The raise of one target, for as long as the object lives. */
class LevelRaise
{
public:
    /** Saves the levels of the target, unless raises are forbidden. */
    LevelRaise(SavedLevels& saved, const std::string& target, const LogLevel& levels);
    ~LevelRaise();
    LevelRaise(const LevelRaise&) = delete;
    LevelRaise& operator=(const LevelRaise&) = delete;

    /** Whether the target may be raised; its levels are saved then. */
    bool IsAllowed() const { return mIsAllowed; }

private:
    bool mIsAllowed;
};

/** The saved levels, for a restore. A raise that is in progress now is noted as the one that the restore has
 * met. */
SavedLevels CopySavedLevels(const SavedLevels& saved);

/** Whether the raise that a restore has met is still in progress. */
bool IsMetRaiseInProgress();

/** The target of the raise that a restore has met; empty when it met none. */
std::string GetMetTarget();

/** Restores the target of the raise that a restore has met, if any, once more. */
void RestoreMetTarget();
