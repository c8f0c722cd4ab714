#pragma once

#include <atomic>
#include <functional>
#include <thread>
#include <vector>

/** Three threads that read again and again. */
class ConcurrentReaders
{
public:
    /** Starts them. @param isGood  reads once, on each of the threads; false for a bad reading */
    explicit ConcurrentReaders(std::function<bool()> isGood);
    ~ConcurrentReaders();
    ConcurrentReaders(const ConcurrentReaders&) = delete;
    ConcurrentReaders& operator=(const ConcurrentReaders&) = delete;

    /** Whether each of them has read that often. */
    bool HaveRead(int times) const;

    /** Ends them. @return whether each reading was good */
    bool End();

private:
    std::atomic<bool> mIsDone = false;
    std::atomic<bool> mIsEachGood = true;
    std::vector<std::atomic<int>> mCounts;
    std::vector<std::thread> mThreads;
};
