#include "evidence/ThreadDump.h"

#include "evidence/DataScan.h"

#include <algorithm>

namespace ctl
{
namespace
{
constexpr std::string_view HEADER = "Full thread dump ";
constexpr std::string_view TRAILER = "JNI global ref"; // "refs:" or "references:", by release
constexpr std::string_view DEADLOCK = "Found one Java-level deadlock";
constexpr std::string_view FOUND = "Found ";
constexpr std::string_view COUNTED = " deadlock"; // "Found 1 deadlock.", "Found 2 deadlocks."

bool StartsWith(std::string_view line, std::string_view text)
{
    return line.substr(0, text.size()) == text;
}
} // namespace

void ThreadDumpCheck::TakeLine(std::string_view line)
{
    mHasText = mHasText || !line.empty();
    mHasZeros = mHasZeros || line.find('\0') != std::string_view::npos;
    if (StartsWith(line, HEADER)) {
        mHasHeader = true;
    } else if (StartsWith(line, TRAILER)) {
        mHasTrailer = mHasHeader;
    } else if (StartsWith(line, DEADLOCK)) {
        mIsInDeadlock = true;
    } else if (StartsWith(line, FOUND) && line.find(COUNTED) != std::string_view::npos) {
        mIsInDeadlock = false;
    }
}

std::string ThreadDumpCheck::Finish() const
{
    if (mHasZeros) {
        return "holds zero bytes";
    }
    if (!mHasHeader) {
        return mHasText ? "is no thread dump: it has no line \"Full thread dump\"" : "holds no text";
    }
    if (!mHasTrailer) {
        return "is cut short: the line \"JNI global refs\" after the threads is missing";
    }
    return mIsInDeadlock ? "is cut short within its list of deadlocks" : "";
}

std::string CheckThreadDump(int file, std::uint64_t bytes)
{
    ThreadDumpCheck check;
    const DataScan scan =
        ReadLines(file, 0, bytes, [&check](std::string_view line) { check.TakeLine(line); });
    return scan.failure.empty() ? check.Finish() : scan.failure;
}

std::string CheckThreadDumpEnds(int file, std::uint64_t bytes)
{
    constexpr std::uint64_t HEAD = 4096;
    constexpr std::uint64_t TAIL = std::uint64_t{1024} * 1024;
    ThreadDumpCheck check;
    const auto take = [&check](std::string_view line) { check.TakeLine(line); };
    const DataScan head = ReadLines(file, 0, std::min(bytes, HEAD), take);
    const std::uint64_t tail = std::min(bytes, TAIL);
    const DataScan end = ReadLines(file, bytes - tail, tail, take);
    const std::string failure = head.failure.empty() ? end.failure : head.failure;
    return failure.empty() ? check.Finish() : failure;
}

} // namespace ctl
