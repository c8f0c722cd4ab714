#include "page/parse/JavaThreads.h"

#include "page/parse/Fields.h"

#include <algorithm>
#include <utility>

namespace ctl
{

namespace
{
constexpr std::size_t MOST_LOCKS = 20000;
constexpr std::size_t MOST_STATES = 32;
constexpr std::size_t MOST_DEADLOCKS = 20;
constexpr std::size_t LONGEST_DEADLOCK = 20000;
constexpr std::size_t LONGEST_TEXT = 300;
constexpr std::string_view HEAD = "Full thread dump ";
constexpr std::string_view STATE = "java.lang.Thread.State: ";

/** The text between two marks, to the end when the second is missing; empty without the first. */
std::string_view Between(std::string_view text, std::string_view before, std::string_view after)
{
    const auto begin = text.find(before);
    if (begin == std::string_view::npos) {
        return {};
    }
    text.remove_prefix(begin + before.size());
    return text.substr(0, std::min(text.find(after), LONGEST_TEXT));
}

/** The name in quotes at a line's beginning; names may hold quotes of their own. */
std::string_view ThreadName(std::string_view line)
{
    auto end = line.find("\" #", 1);
    end = end == std::string_view::npos ? line.find("\" ", 1) : end;
    end = end == std::string_view::npos ? line.rfind('"') : end;
    return line.substr(1, std::min(end == 0 ? line.size() : end - 1, LONGEST_TEXT));
}

bool IsThreadHead(std::string_view line)
{
    return line.starts_with('"') && line.find(" tid=") != std::string_view::npos;
}

void AddName(std::vector<std::string>& names, const std::string& name)
{
    if (names.size() < MOST_THREAD_NAMES) {
        names.push_back(name);
    }
}
} // namespace

void JavaThreadParser::TakeLine(std::string_view line)
{
    if (IsThreadHead(line)) {
        EndThread();
        mIsInDeadlock = false;
        mIsInThread = true;
        mName = ThreadName(line);
    } else if (mIsInDeadlock || line.starts_with("Found one Java-level deadlock")) {
        TakeDeadlockLine(line);
    } else if (mIsInThread) {
        TakeThreadLine(line);
    } else {
        TakeOutside(line);
    }
}

void JavaThreadParser::TakeOutside(std::string_view line)
{
    if (line.starts_with(HEAD)) {
        mReport.mHasHead = true;
        mReport.mVersion = TrimBlanks(line.substr(HEAD.size(), LONGEST_TEXT));
        if (mReport.mVersion.ends_with(':')) {
            mReport.mVersion.pop_back();
        }
    } else if (line.starts_with("JNI global ref")) {
        mReport.mHasEnd = true;
    }
}

void JavaThreadParser::TakeThreadLine(std::string_view line)
{
    const auto text = TrimBlanks(line);
    if (text.empty()) {
        EndThread();
    } else if (text.starts_with(STATE)) {
        mState = text.substr(STATE.size(), text.find(' ', STATE.size()) - STATE.size());
    } else if (text.starts_with("at ")) {
        if (mFrames.size() < MOST_FRAMES) {
            mFrames.emplace_back(text.substr(3, LONGEST_TEXT));
        }
    } else if (text.starts_with("- ")) {
        TakeLockLine(text);
    }
}

/**
 * "- locked <0x…> (a Class)", "- waiting to lock <0x…> (a Class)", "- parking to wait for  <0x…> (a Class)"
 */
void JavaThreadParser::TakeLockLine(std::string_view line)
{
    JavaLock* const lock = LockAt(line);
    if (lock == nullptr) {
        return;
    }
    const bool isIdle = std::find(lock->mIdle.begin(), lock->mIdle.end(), mName) != lock->mIdle.end();
    if (line.starts_with("- locked")) {
        // The lines go from the innermost frame outwards, so the wait stands before the lock that it let go
        // of.
        lock->mOwner = lock->mOwner.empty() && !isIdle ? mName : lock->mOwner;
    } else if (line.starts_with("- waiting on") || lock->mClass.ends_with("$ConditionObject")) {
        AddName(lock->mIdle, mName);
    } else if (line.starts_with("- waiting") || line.starts_with("- parking")) {
        AddName(lock->mWaiters, mName);
    }
}

JavaLock* JavaThreadParser::LockAt(std::string_view line)
{
    const auto address = Between(line, "<", ">");
    if (!address.starts_with("0x") || (mLocks.size() >= MOST_LOCKS && mLocks.find(address) == mLocks.end())) {
        return nullptr;
    }
    JavaLock& lock = mLocks[std::string(address)];
    lock.mAddress = address;
    lock.mClass = Between(line, "(a ", ")");
    return &lock;
}

void JavaThreadParser::TakeDeadlockLine(std::string_view line)
{
    if (line.starts_with("Found one Java-level deadlock")) {
        mIsInDeadlock = mReport.mDeadlocks.size() < MOST_DEADLOCKS;
        if (mIsInDeadlock) {
            mReport.mDeadlocks.emplace_back();
        }
        EndThread();
    } else if (line.starts_with("Java stack information")) {
        mIsInDeadlock = false;
    } else if (!line.starts_with("====") && !TrimBlanks(line).empty() &&
               mReport.mDeadlocks.back().size() < LONGEST_DEADLOCK) {
        mReport.mDeadlocks.back().append(line.substr(0, LONGEST_TEXT)).append("\n");
    }
}

void JavaThreadParser::EndThread()
{
    if (!std::exchange(mIsInThread, false)) {
        return;
    }
    ++mReport.mThreadCount;
    const std::string state = mState.empty() ? "(VM)" : mState;
    if (mReport.mStates.size() < MOST_STATES || mReport.mStates.contains(state)) {
        ++mReport.mStates[state];
    }
    mReport.mThreadsLeftOut += mStacks.Add(mName, state, mFrames) ? 0 : 1;
    mState.clear();
    mFrames.clear();
}

const JavaThreadReport& JavaThreadParser::Finish()
{
    EndThread();
    for (auto& [address, lock] : mLocks) {
        if (!lock.mWaiters.empty()) {
            mReport.mContended.push_back(std::move(lock));
        }
    }
    mLocks.clear();
    std::stable_sort(mReport.mContended.begin(), mReport.mContended.end(),
                     [](const JavaLock& left, const JavaLock& right) {
                         return left.mWaiters.size() > right.mWaiters.size();
                     });
    mReport.mStacks = mStacks.Take();
    return mReport;
}

} // namespace ctl
