#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace ctl
{

/** Checks that a Java thread dump has its first and its last part, line by line. */
class ThreadDumpCheck
{
public:
    void TakeLine(std::string_view line);

    /** Ends the file. Returns what is wrong with it; empty for a whole dump. */
    std::string Finish() const;

private:
    bool mHasText = false;
    bool mHasZeros = false;
    bool mHasHeader = false;
    bool mHasTrailer = false;
    bool mIsInDeadlock = false; ///< a deadlock was announced, and its closing line didn't come yet
};

/** Reads an open thread dump of `bytes` bytes. */
std::string CheckThreadDump(int file, std::uint64_t bytes);

/** The same for a long one, by its first and its last part; what lies between isn't read. */
std::string CheckThreadDumpEnds(int file, std::uint64_t bytes);

} // namespace ctl
