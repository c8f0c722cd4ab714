#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace ctl
{

/** One run of a tool in an evidence file. */
struct Section
{
    std::string command;      ///< the line of the head, as it ran: "/usr/bin/free "
    std::uint64_t offset = 0; ///< where the output begins in the file
    std::uint64_t bytes = 0;  ///< length of the output, without the empty lines before the next head
};

/** What an evidence file of sections holds. */
struct SectionFile
{
    std::vector<Section> sections; ///< in the order of the file
    std::uint64_t strayBytes = 0;  ///< text before the first head
    std::uint64_t zeroBytes = 0;   ///< bytes of value 0, which no tool prints
    bool isCut = false;            ///< there are more sections than are looked at
    std::string failure;           ///< what the reading ended with; empty on success
};

/**
 * Finds the sections of an evidence file, block by block: each begins with two line ends, a rule of 82
 * hyphens, "Command: " with the line, and the rule again. What only looks like a head belongs to the output.
 */
class SectionScanner
{
public:
    /** Takes the next block of the file. */
    void Take(std::string_view block);

    /** Takes a hole: so many bytes of value 0. */
    void TakeHole(std::uint64_t bytes);

    /** Ends the file; the result is whole. */
    SectionFile Finish();

    /** A file that holds no more of them than the daemon can write in a day. */
    static constexpr std::size_t MOST_SECTIONS = 20'000;

private:
    void TakeAll(std::string_view block);
    void TakeText(std::string_view& block);
    void TakeHead(std::string_view& block);
    void BeginHead(std::uint64_t offset);
    void EndHead(std::size_t commandLength);
    void GiveUpHead();
    void CountZeros(std::string_view block);

    SectionFile mFile;
    std::string mTail; ///< the end of the text so far, where a head may have begun
    std::string mHead; ///< what came after the first rule's "Command: "; only while mIsInHead
    bool mIsInHead = false;
    std::uint64_t mOffset = 0;     ///< of the next byte
    std::uint64_t mHeadOffset = 0; ///< where the head at hand began
};

/** Scans an open evidence file of `bytes` bytes. Needs memory for the heads alone. */
SectionFile ScanSections(int file, std::uint64_t bytes);

/** Returns the output of a section, no more than `limit` bytes of it. */
std::string ReadSection(int file, const Section& section, std::size_t limit);

/** The command of a section without the folder of its tool: "top -b -n 1", whichever folder top lies in. */
std::string_view GetToolLine(const Section& section);

} // namespace ctl
