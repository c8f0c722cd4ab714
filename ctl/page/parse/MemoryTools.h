#pragma once

#include "page/parse/Columns.h"

#include <map>
#include <string>
#include <string_view>

namespace ctl
{

/** One run of `free`, in kilobytes. What it doesn't say is -1. */
struct FreeReading
{
    double mTotal = -1;
    double mUsed = -1; ///< without buffers and cache where the tool says so
    double mFree = -1;
    double mCache = -1;     ///< buffers and page cache together
    double mAvailable = -1; ///< estimated by the kernel; older tools have none
    double mSwapTotal = -1;
    double mSwapUsed = -1;
};

/**
 * Reads `free` with the columns "buff/cache" and "available", or the older ones with a row without buffers.
 */
class FreeParser
{
public:
    void TakeLine(std::string_view line);
    const FreeReading& Get() const { return mReading; }

private:
    void TakeMemory();

    FreeReading mReading;
    Columns mColumns;
};

/** One line of `vmstat`: queues and memory of the moment, rates since the machine's start. -1: not said. */
struct VmstatReading
{
    double mRunnable = -1;
    double mBlocked = -1;
    double mSwapped = -1; ///< kilobytes
    double mFree = -1;    ///< kilobytes
};

/** Reads `vmstat`, whichever of its processor columns there are. */
class VmstatParser
{
public:
    void TakeLine(std::string_view line);
    const VmstatReading& Get() const { return mReading; }

private:
    VmstatReading mReading;
    Columns mColumns;
};

/** Lines "Name:  value [kB]", as /proc/meminfo and /proc/PID/status have them. */
class NamedValues
{
public:
    void TakeLine(std::string_view line);

    bool IsEmpty() const { return mValues.empty(); }

    /** The text after the name; empty when there is no such line. */
    std::string_view Text(std::string_view name) const;

    /** The leading number after the name; -1 when there is none. */
    double Number(std::string_view name) const;

private:
    std::map<std::string, std::string, std::less<>> mValues;
};

} // namespace ctl
