#include "page/parse/StackGroups.h"

#include <algorithm>
#include <functional>
#include <utility>

namespace ctl
{

namespace
{
constexpr std::size_t MOST_BYTES = 4 << 20;

std::size_t HashOf(const std::string& state, const std::vector<std::string>& frames)
{
    const std::hash<std::string> hash;
    std::size_t result = hash(state);
    for (const std::string& frame : frames) {
        result = result * 31 + hash(frame);
    }
    return result;
}

std::size_t BytesOf(const std::vector<std::string>& frames)
{
    std::size_t bytes = sizeof(StackGroup);
    for (const std::string& frame : frames) {
        bytes += sizeof(std::string) + frame.size();
    }
    return bytes;
}
} // namespace

std::string GetInnermostKnown(const std::vector<std::string>& frames)
{
    const auto known = std::find_if_not(frames.begin(), frames.end(),
                                        [](const std::string& frame) { return frame.starts_with("??"); });
    if (known != frames.end()) {
        return *known;
    }
    return frames.empty() ? "" : frames.front();
}

StackGroup* StackGroups::Find(std::size_t hash, const std::string& state,
                              const std::vector<std::string>& frames)
{
    const auto [begin, end] = mIndex.equal_range(hash);
    for (auto entry = begin; entry != end; ++entry) {
        StackGroup& group = mGroups[entry->second];
        if (group.mState == state && group.mFrames == frames) {
            return &group;
        }
    }
    return nullptr;
}

bool StackGroups::Add(const std::string& thread, const std::string& state,
                      const std::vector<std::string>& frames)
{
    const std::size_t hash = HashOf(state, frames);
    StackGroup* group = Find(hash, state, frames);
    if (group == nullptr) {
        if (mGroups.size() == MOST_STACKS || mBytes > MOST_BYTES) {
            return false;
        }
        mBytes += BytesOf(frames);
        mIndex.emplace(hash, mGroups.size());
        group = &mGroups.emplace_back(StackGroup{state, frames, {}, 0});
    }
    ++group->mThreadCount;
    if (group->mThreads.size() < MOST_THREAD_NAMES) {
        group->mThreads.push_back(thread);
    }
    return true;
}

std::vector<StackGroup> StackGroups::Take()
{
    std::stable_sort(mGroups.begin(), mGroups.end(), [](const StackGroup& left, const StackGroup& right) {
        return left.mThreadCount > right.mThreadCount;
    });
    mIndex.clear();
    mBytes = 0;
    return std::exchange(mGroups, {});
}

} // namespace ctl
