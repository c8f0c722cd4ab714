#include "config/ConcurrentReaders.h"

#include <algorithm>

namespace
{
constexpr std::size_t READERS = 3;
}

ConcurrentReaders::ConcurrentReaders(std::function<bool()> isGood) : mCounts(READERS)
{
    for (std::atomic<int>& count : mCounts) {
        mThreads.emplace_back([this, isGood, &count] {
            while (!mIsDone) {
                if (!isGood()) {
                    mIsEachGood = false;
                }
                ++count;
            }
        });
    }
}

ConcurrentReaders::~ConcurrentReaders()
{
    (void)End();
}

bool ConcurrentReaders::HaveRead(int times) const
{
    return std::all_of(mCounts.begin(), mCounts.end(),
                       [times](const std::atomic<int>& count) { return count >= times; });
}

bool ConcurrentReaders::End()
{
    mIsDone = true;
    for (std::thread& thread : mThreads) {
        thread.join();
    }
    mThreads.clear();
    return mIsEachGood;
}
