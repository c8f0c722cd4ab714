#pragma once

#include "evidence/CapturePlan.h"
#include "evidence/SectionFile.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace ctl
{

/** What a look at a file of sections found. */
struct SectionReport
{
    std::vector<std::string> damages; ///< what is missing or short
    std::vector<std::string> notes;   ///< what doesn't make the file incomplete
};

/** How the sampling tools were asked to sample, by the line in the head of their section. */
struct SamplingLine
{
    int interval = 0; ///< seconds
    int count = 0;
};

/** The interval and count at the end of an iostat or mpstat line; nothing for another line. */
std::optional<SamplingLine> ParseSamplingLine(std::string_view toolLine);

/**
 * Checks the sections of a capture against the ones planned, in their order, once or reading after reading.
 * `readings` is how many readings there must be; nothing if that isn't known, 1 for captures without
 * readings.
 */
SectionReport CheckSections(const SectionFile& found, const std::vector<PlannedSection>& planned,
                            std::optional<int> readings);

/** Counts the samples in the output of iostat -x or mpstat. The summary at the end of mpstat is none. */
class SampleCount
{
public:
    void TakeLine(std::string_view line);
    /** The tables with a row; a host without disks has none with one. */
    int GetIostatSamples() const { return mDeviceTables == 0 ? mDeviceHeads : mDeviceTables; }
    int GetMpstatSamples() const { return mAllLines; }
    bool HasSummary() const { return mHasSummary; }

private:
    int mDeviceHeads = 0;
    int mDeviceTables = 0;
    bool mIsTableBegun = false; ///< the last line was the head of one
    int mAllLines = 0;
    bool mHasSummary = false;
};

/** Checks an open file of sections of a kind, whole. */
SectionReport CheckSectionFile(int file, std::uint64_t bytes, FileKind kind, int pid,
                               std::optional<int> readings);

/**
 * Checks the ends of a long file of sections: that it begins with a head, that its last section is the last
 * one planned and isn't empty, and that it ends with a line. What lies between isn't read.
 */
SectionReport CheckSectionEnds(int file, std::uint64_t bytes, FileKind kind, int pid);

} // namespace ctl
