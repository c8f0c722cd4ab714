#pragma once

#include <cstddef>
#include <string>
#include <unordered_map>
#include <vector>

namespace ctl
{

/** Threads that stand at the same place in the same state. */
struct StackGroup
{
    std::string mState;                ///< of Java threads; empty for others
    std::vector<std::string> mFrames;  ///< functions, innermost first
    std::vector<std::string> mThreads; ///< names; no more than MOST_THREAD_NAMES
    std::size_t mThreadCount = 0;
};

constexpr std::size_t MOST_THREAD_NAMES = 50;
constexpr std::size_t MOST_STACKS = 2000;
constexpr std::size_t MOST_FRAMES = 200;

/**
 * The innermost function with a name, of which a stack has one at least unless all of it is unknown:
 * libraries without symbols show "??". Empty for a stack without frames.
 */
std::string GetInnermostKnown(const std::vector<std::string>& frames);

/** Groups threads by identical stacks. What it holds is bounded, whatever comes. */
class StackGroups
{
public:
    /** Adds a thread. False if its stack is a new one beyond the limits, and the thread is left out. */
    bool Add(const std::string& thread, const std::string& state, const std::vector<std::string>& frames);

    /**
     * The groups, largest first, those of one size in the order of their first thread. Empties the object.
     */
    std::vector<StackGroup> Take();

private:
    StackGroup* Find(std::size_t hash, const std::string& state, const std::vector<std::string>& frames);

    std::vector<StackGroup> mGroups;
    std::unordered_multimap<std::size_t, std::size_t> mIndex; ///< hash of state and frames to the group
    std::size_t mBytes = 0;
};

} // namespace ctl
