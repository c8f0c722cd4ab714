#pragma once

#include "page/parse/Fields.h"

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace ctl
{

/** A mapping of a process, or all its mappings of one name. Kilobytes. */
struct Mapping
{
    std::string mName;   ///< file, or "[heap]", "[stack]", "[anonymous]"
    std::string mRange;  ///< addresses, of a single mapping
    std::string mAccess; ///< such as "rw-p", of a single mapping
    double mSize = 0;
    double mResident = 0;
    double mProportional = 0; ///< resident, shared pages divided among their users
    double mPrivate = 0;      ///< not shared with another process: what this one alone costs
    double mSwap = 0;
    int mCount = 0; ///< mappings of that name
};

/** The memory map of a process. */
struct MappingReport
{
    std::map<std::string, Mapping, std::less<>> mByName;
    std::vector<Mapping> mLargest; ///< single mappings, by resident size, largest first
    Mapping mTotal;
    bool mHasResident = true;      ///< pmap knows the sizes of the addresses alone
    std::size_t mNamesLeftOut = 0; ///< mappings of names beyond the limit; they count in the total
};

/** Single mappings that are kept. */
constexpr std::size_t MOST_LARGEST = 20;

/** Adds mappings one by one. */
class MappingCollector
{
public:
    void Add(Mapping mapping);
    MappingReport& Get() { return mReport; }
    const MappingReport& Get() const { return mReport; }

private:
    void KeepLargest(Mapping&& mapping);

    MappingReport mReport;
};

/** Reads /proc/PID/smaps line by line. */
class SmapsParser
{
public:
    void TakeLine(std::string_view line);

    /** Ends the last mapping. */
    const MappingReport& Finish();

private:
    bool TakeHead(std::string_view line);
    void TakeValue(std::string_view line);

    MappingCollector mCollector;
    Mapping mCurrent;
    bool mHasCurrent = false;
    std::vector<std::string_view> mWords;
};

/** Reads `pmap PID` line by line: sizes of the addresses, nothing of what is resident. */
class PmapParser
{
public:
    void TakeLine(std::string_view line);
    const MappingReport& Get();

private:
    MappingCollector mCollector;
    std::vector<std::string_view> mWords;
};

} // namespace ctl
