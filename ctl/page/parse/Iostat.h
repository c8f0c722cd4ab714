#pragma once

#include "page/parse/Columns.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ctl
{

/** One device in one report of iostat. What the version doesn't print is -1. */
struct DiskRow
{
    std::string mDevice;
    double mReads = -1;          ///< per second
    double mWrites = -1;         ///< per second
    double mReadKilobytes = -1;  ///< per second
    double mWriteKilobytes = -1; ///< per second
    double mLatency = -1;        ///< milliseconds a request waits, reads and writes by their share
    double mQueue = -1;          ///< requests waiting, average
    double mUtilisation = -1;    ///< percent of the time with a request under way
};

/** One report of `iostat -xt`: a moment, the processors, the devices. */
struct DiskSample
{
    std::optional<int> mClock; ///< seconds since midnight
    double mIoWait = -1;       ///< percent of processor time
    std::vector<DiskRow> mDevices;
};

/** Reads `iostat -xt`, of sysstat 7 to 12, line by line. */
class IostatParser
{
public:
    void TakeLine(std::string_view line);

    /** The reports in their order. The first covers the time since the machine's start. */
    const std::vector<DiskSample>& Get() const { return mSamples; }

private:
    enum class Block
    {
        Between,
        Processors,
        Devices
    };

    void TakeBetween(std::string_view line);
    void TakeDevice(std::string_view line);
    DiskSample& Current();

    std::vector<DiskSample> mSamples;
    std::vector<std::string_view> mWords;
    Columns mColumns;
    Block mBlock = Block::Between;
    bool mStartsNext = true;
};

} // namespace ctl
