#pragma once

#include "page/parse/ProcessListing.h"
#include "page/parse/Top.h"
#include "page/read/ReportData.h"
#include "page/read/SectionLines.h"
#include "page/read/WallClock.h"

namespace ctl
{

/** Reads the sections of the memory statistics, which repeat for each sample, into samples and processes. */
class MemoryReader
{
public:
    /** Adds to `data`, which outlives the reader; its time, process id and host are set. */
    explicit MemoryReader(ReportData& data);

    /** Begins a section and returns what takes its lines; empty for a tool that isn't one of these. */
    LineTaker Begin(std::string_view toolLine);

    /** Ends the section that was begun. */
    void End();

private:
    void EndTop();
    void EndListing();
    void EndFree();
    void EndMeminfo();
    void AddCpu(const ProcessRow& row);
    void AddResident(const ProcessRow& row);
    ProcessSummary* Summary(const ProcessRow& row);
    HostSample& Sample();

    ReportData& mData;
    WallClock mClock;
    TopParser mTop;
    ProcessListingParser mListing;
    FreeParser mFree;
    VmstatParser mVmstat;
    NamedValues mMeminfo;
    void (MemoryReader::*mEnd)() = nullptr;
    bool mHasSample = false;
};

} // namespace ctl
