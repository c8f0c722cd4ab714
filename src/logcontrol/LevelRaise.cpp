#include "logcontrol/LevelRaise.h"

#include "config/Mutex.h"

namespace
{
struct RaiseState
{
    mutex mMutex; ///< guards the fields below and the saved levels
    bool mIsForbidden = false;
    std::string mTarget;    ///< of the raise in progress; empty when there is none
    std::string mMetTarget; ///< of the raise that was in progress when the levels were restored
};

RaiseState& GetState()
{
    static auto* const state = new RaiseState; // outlives every thread
    return *state;
}
} // namespace

void AllowRaises()
{
    const MutexHold hold(GetState().mMutex);
    GetState().mIsForbidden = false;
    GetState().mMetTarget.clear();
}

void ForbidRaises()
{
    const MutexHold hold(GetState().mMutex);
    GetState().mIsForbidden = true;
}

LevelRaise::LevelRaise(SavedLevels& saved, const std::string& target, const LogLevel& levels)
    : mIsAllowed(false)
{
    RaiseState& state = GetState();
    const MutexHold hold(state.mMutex);
    mIsAllowed = !state.mIsForbidden;
    if (mIsAllowed) {
        // Saved before the raise: a raise that fails still leaves a target to restore.
        saved[target] = levels;
        state.mTarget = target;
    }
}

LevelRaise::~LevelRaise()
{
    const MutexHold hold(GetState().mMutex);
    GetState().mTarget.clear();
}

SavedLevels CopySavedLevels(const SavedLevels& saved)
{
    RaiseState& state = GetState();
    const MutexHold hold(state.mMutex);
    if (!state.mTarget.empty()) {
        state.mMetTarget = state.mTarget;
    }
    return saved;
}

bool IsMetRaiseInProgress()
{
    const RaiseState& state = GetState();
    const MutexHold hold(GetState().mMutex);
    return !state.mTarget.empty() && state.mTarget == state.mMetTarget;
}

std::string GetMetTarget()
{
    const MutexHold hold(GetState().mMutex);
    return GetState().mMetTarget;
}
