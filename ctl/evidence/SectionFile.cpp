#include "evidence/SectionFile.h"

#include "evidence/DataScan.h"

#include <algorithm>
#include <cstring>

namespace ctl
{
namespace
{
constexpr std::string_view RULE =
    "----------------------------------------------------------------------------------";
constexpr std::string_view COMMAND = "\nCommand: ";
constexpr std::size_t LONGEST_COMMAND = 4096;
constexpr std::size_t USUAL_HEAD = 256; ///< what is looked at first

const std::string& GetHeadBegin()
{
    static const std::string text = "\n\n" + std::string(RULE) + std::string(COMMAND);
    return text;
}

const std::string& GetHeadEnd()
{
    static const std::string text = "\n" + std::string(RULE) + "\n";
    return text;
}

std::size_t FindText(std::string_view text, const std::string& wanted)
{
    const void* const found = memmem(text.data(), text.size(), wanted.data(), wanted.size());
    return found == nullptr ? std::string_view::npos
                            : static_cast<std::size_t>(static_cast<const char*>(found) - text.data());
}

/** Finds the beginning of a head by looking at every 82nd byte alone: one of them lies in each rule. */
std::size_t FindHeadBegin(std::string_view text)
{
    const std::string& wanted = GetHeadBegin();
    const std::size_t before = wanted.find(RULE);
    for (std::size_t at = RULE.size() - 1; at < text.size(); at += RULE.size()) {
        if (text[at] != '-') {
            continue;
        }
        const std::size_t first = at - (RULE.size() - 1);
        const std::size_t other = text.substr(first, RULE.size()).find_last_not_of('-');
        const std::size_t rule = other == std::string_view::npos ? first : first + other + 1;
        if (rule >= before && text.compare(rule - before, wanted.size(), wanted) == 0) {
            return rule - before;
        }
    }
    return std::string_view::npos;
}
} // namespace

void SectionScanner::CountZeros(std::string_view block)
{
    // Nearly always there is none, and one fast search says so.
    if (std::memchr(block.data(), '\0', block.size()) != nullptr) {
        mFile.zeroBytes += static_cast<std::uint64_t>(std::count(block.begin(), block.end(), '\0'));
    }
}

void SectionScanner::Take(std::string_view block)
{
    CountZeros(block);
    TakeAll(block);
}

void SectionScanner::TakeHole(std::uint64_t bytes)
{
    if (bytes == 0) {
        return;
    }
    if (mIsInHead) {
        GiveUpHead();
    }
    mTail.clear();
    mFile.zeroBytes += bytes;
    mOffset += bytes;
}

void SectionScanner::TakeAll(std::string_view block)
{
    while (!block.empty()) {
        if (mIsInHead) {
            TakeHead(block);
        } else {
            TakeText(block);
        }
    }
}

void SectionScanner::BeginHead(std::uint64_t offset)
{
    mIsInHead = true;
    mHead.clear();
    mTail.clear();
    mHeadOffset = offset;
}

void SectionScanner::TakeText(std::string_view& block)
{
    const std::string& wanted = GetHeadBegin();
    // A head may lie across the border of two blocks.
    const std::size_t border = std::min(block.size(), wanted.size() - 1);
    const std::string across = mTail + std::string(block.substr(0, border));
    const std::size_t atBorder = FindText(across, wanted);
    if (atBorder != std::string_view::npos) {
        BeginHead(mOffset - (across.size() - border) + atBorder);
        const std::size_t used = atBorder + wanted.size() - (across.size() - border);
        mOffset += used;
        block.remove_prefix(used);
        return;
    }
    const std::size_t found = FindHeadBegin(block);
    if (found != std::string_view::npos) {
        BeginHead(mOffset + found);
        mOffset += found + wanted.size();
        block.remove_prefix(found + wanted.size());
        return;
    }
    mOffset += block.size();
    mTail = block.size() >= wanted.size() - 1
                ? std::string(block.substr(block.size() - wanted.size() + 1))
                : across.substr(across.size() - std::min(across.size(), wanted.size() - 1));
    block = {};
}

void SectionScanner::TakeHead(std::string_view& block)
{
    const std::string& end = GetHeadEnd();
    const std::size_t before = mHead.size();
    mHead.append(block.substr(0, std::min(LONGEST_COMMAND + end.size() - before, USUAL_HEAD)));
    const std::size_t found = FindText(mHead, end);
    const std::size_t taken = found == std::string_view::npos ? mHead.size() : found + end.size();
    mHead.resize(taken);
    mOffset += taken - before;
    block.remove_prefix(taken - before);
    // A line end in the command: the rule is that of the next head, after one that was cut off.
    const std::size_t lineEnd = mHead.find('\n');
    const bool isCutOff = lineEnd < std::min(found, LONGEST_COMMAND) && lineEnd + end.size() <= mHead.size();
    const bool isEndless = found == std::string_view::npos && mHead.size() >= LONGEST_COMMAND;
    if (isCutOff || isEndless) {
        GiveUpHead();
    } else if (found != std::string_view::npos) {
        EndHead(found);
    }
}

void SectionScanner::GiveUpHead()
{
    const std::string text = std::move(mHead);
    mIsInHead = false;
    mHead.clear();
    mTail.clear();
    mOffset -= text.size();
    TakeAll(text); // a head may begin in it
}

void SectionScanner::EndHead(std::size_t commandLength)
{
    mIsInHead = false;
    if (mFile.sections.empty()) {
        mFile.strayBytes = mHeadOffset;
    } else if (!mFile.isCut) {
        mFile.sections.back().bytes = mHeadOffset - mFile.sections.back().offset;
    }
    mFile.isCut = mFile.isCut || mFile.sections.size() == MOST_SECTIONS;
    if (!mFile.isCut) {
        mFile.sections.push_back({mHead.substr(0, commandLength), mOffset, 0});
    }
}

SectionFile SectionScanner::Finish()
{
    if (mFile.sections.empty()) {
        mFile.strayBytes = mOffset;
    } else if (!mFile.isCut) {
        // A head that never ended is what a full disk or a kill left; it is no output.
        const std::uint64_t end = mIsInHead ? mHeadOffset : mOffset;
        mFile.sections.back().bytes = end - mFile.sections.back().offset;
    }
    return std::move(mFile);
}

SectionFile ScanSections(int file, std::uint64_t bytes)
{
    SectionScanner scanner;
    std::uint64_t next = 0;
    const DataScan scan = ReadData(file, bytes, [&](std::uint64_t offset, std::string_view block) {
        scanner.TakeHole(offset - next);
        scanner.Take(block);
        next = offset + block.size();
    });
    if (scan.failure.empty()) {
        scanner.TakeHole(bytes - next);
    }
    SectionFile sections = scanner.Finish();
    sections.failure = scan.failure;
    return sections;
}

std::string ReadSection(int file, const Section& section, std::size_t limit)
{
    return ReadAt(file, section.offset, std::min<std::uint64_t>(section.bytes, limit));
}

std::string_view GetToolLine(const Section& section)
{
    std::string_view line = section.command;
    const std::size_t toolEnd = std::min(line.find(' '), line.size());
    const std::size_t slash = line.substr(0, toolEnd).rfind('/');
    if (slash != std::string_view::npos) {
        line.remove_prefix(slash + 1);
    }
    while (!line.empty() && line.back() == ' ') {
        line.remove_suffix(1);
    }
    return line;
}

} // namespace ctl
