#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace ctl
{

/**
 * Shows on a terminal how far long work has come: one line on standard error, ten times a second at most,
 * wiped at the end. It begins a second after the first of a program's progresses began, so that work of many
 * steps shows the next one at once. Nothing is shown where standard error is no terminal. One thread.
 */
class Progress
{
public:
    /** `work` is what is being done, "verifying"; `total` is what Advance comes to, 0 if unknown. */
    Progress(std::string work, std::uint64_t total);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /** Adds to what is done; bytes where isBytes was chosen. */
    void Advance(std::uint64_t amount);

    /** Sets what is being looked at; shown after the number, with its control characters escaped. */
    void SetDetail(std::string detail);

    /** Shows amounts as bytes. */
    void CountBytes() { mIsBytes = true; }

private:
    using Clock = std::chrono::steady_clock;

    void ShowIfDue();
    void Show();

    const std::string mWork;
    const std::uint64_t mTotal;
    const bool mIsEnabled;
    std::string mDetail;
    std::uint64_t mDone = 0;
    bool mIsBytes = false;
    bool mIsShown = false;
    Clock::time_point mNext;
};

} // namespace ctl
