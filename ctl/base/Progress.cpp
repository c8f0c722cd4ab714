#include "base/Progress.h"

#include <cstdio>
#include <utility>

#include "base/ByteSize.h"
#include "base/PlainText.h"
#include "base/Terminal.h"

namespace ctl
{

namespace
{

constexpr std::chrono::milliseconds FIRST_AFTER(1000);
constexpr std::chrono::milliseconds BETWEEN(100);
constexpr const char* WIPE_LINE = "\r\033[K";

/** When the first line is due: a second after this was first asked for. */
std::chrono::steady_clock::time_point GetFirstTime()
{
    static const auto first = std::chrono::steady_clock::now() + FIRST_AFTER;
    return first;
}

} // namespace

Progress::Progress(std::string work, std::uint64_t total)
    : mWork(std::move(work)), mTotal(total), mIsEnabled(ShowsProgress()), mNext(GetFirstTime())
{}

Progress::~Progress()
{
    if (mIsShown) {
        (void)std::fputs(WIPE_LINE, stderr); // nobody is served by a complaint about a terminal that went
    }
}

void Progress::Advance(std::uint64_t amount)
{
    mDone += amount;
    ShowIfDue();
}

void Progress::SetDetail(std::string detail)
{
    mDetail = EscapeControls(detail);
    ShowIfDue();
}

void Progress::ShowIfDue()
{
    if (!mIsEnabled || Clock::now() < mNext) {
        return;
    }
    mNext = Clock::now() + BETWEEN;
    Show();
}

void Progress::Show()
{
    const auto show = [this](std::uint64_t amount) {
        return mIsBytes ? FormatByteSize(amount) : std::to_string(amount);
    };
    std::string line = mWork + " " + show(mDone);
    if (mTotal > 0) {
        line += " of " + show(mTotal);
    }
    if (!mDetail.empty()) {
        line += "  " + mDetail.substr(0, 50);
    }
    mIsShown = true;
    (void)std::fprintf(stderr, "%s%s", WIPE_LINE, line.c_str()); // as above
    (void)std::fflush(stderr);
}

} // namespace ctl
