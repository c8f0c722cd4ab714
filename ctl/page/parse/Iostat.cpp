#include "page/parse/Iostat.h"

namespace ctl
{

namespace
{
/** Of a day of samples, and of a host with very many devices. */
constexpr std::size_t MOST_SAMPLES = 20000;
constexpr std::size_t MOST_DEVICES = 2000;
constexpr double KILOBYTES_OF_SECTOR = 0.5;
constexpr double KILOBYTES_OF_MEGABYTE = 1024;

/** A rate in kilobytes a second, whichever unit the column has. */
double ReadRate(const Columns& columns, std::string_view kilo, std::string_view mega,
                std::string_view sectors)
{
    if (columns.Has(kilo)) {
        return columns.Number(kilo, -1);
    }
    if (columns.Has(mega)) {
        return columns.Number(mega) * KILOBYTES_OF_MEGABYTE;
    }
    return columns.Has(sectors) ? columns.Number(sectors) * KILOBYTES_OF_SECTOR : -1;
}

/** The wait of a request: one column of older versions, else the two by their share of the requests. */
double ReadLatency(const Columns& columns)
{
    if (columns.Has("await")) {
        return columns.Number("await", -1);
    }
    if (!columns.Has("r_await")) {
        return -1;
    }
    const double reads = columns.Number("r/s");
    const double writes = columns.Number("w/s");
    const double waited = reads * columns.Number("r_await") + writes * columns.Number("w_await");
    return reads + writes > 0 ? waited / (reads + writes) : 0;
}
} // namespace

DiskSample& IostatParser::Current()
{
    if (mStartsNext || mSamples.empty()) {
        mStartsNext = false;
        mSamples.emplace_back();
    }
    return mSamples.back();
}

void IostatParser::TakeLine(std::string_view line)
{
    if (TrimBlanks(line).empty()) {
        mBlock = Block::Between;
    } else if (mSamples.size() > MOST_SAMPLES) {
        return;
    } else if (line.starts_with("avg-cpu")) {
        // The name stands in front of the columns, not of the values.
        mColumns.TakeHead(RestFromField(line, 1));
        mBlock = Block::Processors;
    } else if (line.starts_with("Device")) {
        mColumns.TakeHead(std::string("Device ").append(RestFromField(line, 1)));
        mBlock = Block::Devices;
    } else if (mBlock == Block::Processors) {
        mColumns.TakeRow(line);
        Current().mIoWait = mColumns.Number("%iowait", -1);
    } else if (mBlock == Block::Devices) {
        TakeDevice(line);
    } else {
        TakeBetween(line);
    }
}

/** Outside the tables only the time of a report matters; the first line of all may hold a time as well. */
void IostatParser::TakeBetween(std::string_view line)
{
    if (line.starts_with("Linux ")) {
        return;
    }
    SplitFields(line, mWords);
    if (const auto clock = FindClock(mWords)) {
        mStartsNext = true;
        Current().mClock = clock;
    }
}

void IostatParser::TakeDevice(std::string_view line)
{
    mColumns.TakeRow(line);
    DiskSample& sample = Current();
    if (mColumns.FieldCount() < 2 || sample.mDevices.size() == MOST_DEVICES) {
        return;
    }
    DiskRow& row = sample.mDevices.emplace_back();
    row.mDevice = mColumns.Text("Device");
    row.mReads = mColumns.Number("r/s", -1);
    row.mWrites = mColumns.Number("w/s", -1);
    row.mReadKilobytes = ReadRate(mColumns, "rkB/s", "rMB/s", "rsec/s");
    row.mWriteKilobytes = ReadRate(mColumns, "wkB/s", "wMB/s", "wsec/s");
    row.mLatency = ReadLatency(mColumns);
    row.mQueue = mColumns.Number(mColumns.Has("aqu-sz") ? "aqu-sz" : "avgqu-sz", -1);
    row.mUtilisation = mColumns.Number("%util", -1);
}

} // namespace ctl
