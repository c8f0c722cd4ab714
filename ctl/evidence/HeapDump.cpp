#include "evidence/HeapDump.h"

#include "base/Plural.h"
#include "evidence/DataScan.h"

#include <algorithm>

namespace ctl
{
namespace
{
constexpr std::string_view FORMATS[] = {"JAVA PROFILE 1.0.1", "JAVA PROFILE 1.0.2"};
constexpr std::size_t FORMAT_BYTES = 19;                 // with its zero byte
constexpr std::size_t HEAD_BYTES = FORMAT_BYTES + 4 + 8; // size of an identifier, time
constexpr std::size_t RECORD_HEAD_BYTES = 1 + 4 + 4;     // tag, time, length
constexpr std::size_t LENGTH_AT = 5;
constexpr unsigned char TAG_HEAP = 0x0C;
constexpr unsigned char TAG_SEGMENT = 0x1C;
constexpr unsigned char TAG_END = 0x2C;
constexpr std::size_t STEP = std::size_t{64} * 1024;

std::uint64_t GetLength(const std::string& record)
{
    std::uint64_t length = 0;
    for (std::size_t at = LENGTH_AT; at < RECORD_HEAD_BYTES; ++at) {
        length = length << 8U | static_cast<unsigned char>(record[at]);
    }
    return length;
}

bool IsTag(unsigned char tag)
{
    return (tag >= 0x01 && tag <= TAG_HEAP + 2) || tag == TAG_SEGMENT || tag == TAG_END;
}
} // namespace

void HeapDumpWalk::Fail(std::string failure)
{
    if (mFailure.empty()) {
        mFailure = std::move(failure);
    }
}

void HeapDumpWalk::Take(std::string_view block)
{
    while (!block.empty() && mFailure.empty()) {
        const std::uint64_t passed = std::min<std::uint64_t>(mRest, block.size());
        mRest -= passed;
        mOffset += passed;
        block.remove_prefix(passed);
        if (block.empty()) {
            return;
        }
        if (mHasHead) {
            TakeRecordHead(block);
        } else {
            TakeHead(block);
        }
    }
}

void HeapDumpWalk::PassOver(std::uint64_t bytes)
{
    if (bytes > mRest) {
        Fail("has a hole at byte " + std::to_string(mOffset + mRest) + ", between its records");
    }
    mRest -= std::min(mRest, bytes);
    mOffset += bytes;
}

void HeapDumpWalk::TakeHead(std::string_view& block)
{
    const std::size_t taken = std::min(block.size(), HEAD_BYTES - mPending.size());
    mPending.append(block.substr(0, taken));
    block.remove_prefix(taken);
    mOffset += taken;
    if (mPending.size() < HEAD_BYTES) {
        return;
    }
    const std::string_view format(mPending.data(), FORMAT_BYTES - 1);
    mHasHead = std::find(std::begin(FORMATS), std::end(FORMATS), format) != std::end(FORMATS);
    if (!mHasHead) {
        Fail("is no heap dump: it does not begin with JAVA PROFILE");
    }
    mPending.clear();
}

void HeapDumpWalk::TakeRecordHead(std::string_view& block)
{
    const std::size_t taken = std::min(block.size(), RECORD_HEAD_BYTES - mPending.size());
    mPending.append(block.substr(0, taken));
    block.remove_prefix(taken);
    mOffset += taken;
    if (mPending.size() < RECORD_HEAD_BYTES) {
        return;
    }
    const auto tag = static_cast<unsigned char>(mPending.front());
    if (!IsTag(tag)) {
        Fail("has no record at byte " + std::to_string(mOffset - RECORD_HEAD_BYTES) +
             ", where one must begin");
    }
    mHasSegment = mHasSegment || tag == TAG_SEGMENT;
    mHasEnd = tag == TAG_END;
    mRest = GetLength(mPending);
    mPending.clear();
}

std::string HeapDumpWalk::Finish()
{
    if (!mFailure.empty()) {
        return mFailure;
    }
    if (!mHasHead) {
        return "is cut short within its head";
    }
    if (!mPending.empty() || mRest != 0) {
        return "is cut short: its last record lacks " +
               CountNoun(mPending.empty() ? mRest : RECORD_HEAD_BYTES - mPending.size(), "byte") + " or more";
    }
    if (mHasSegment && !mHasEnd) {
        return "is cut short: the record that ends the heap is missing";
    }
    return "";
}

std::string CheckHeapDumpRecords(int file, std::uint64_t bytes)
{
    HeapDumpWalk walk;
    // After a failure nothing says where the next record begins, and to go on would read every hole.
    for (std::uint64_t offset = 0; offset < bytes && !walk.HasFailed();) {
        const std::string block = ReadAt(file, offset, std::min<std::uint64_t>(STEP, bytes - offset));
        if (block.empty()) {
            return "can't be read at byte " + std::to_string(offset);
        }
        walk.Take(block);
        offset += block.size();
        const std::uint64_t passed = std::min(walk.GetPassable(), bytes - offset);
        walk.PassOver(passed);
        offset += passed;
    }
    return walk.Finish();
}

std::string CheckWholeHeapDump(int file, std::uint64_t bytes,
                               const std::function<void(std::string_view)>& seen)
{
    HeapDumpWalk walk;
    std::uint64_t next = 0;
    const DataScan scan = ReadData(file, bytes, [&](std::uint64_t offset, std::string_view block) {
        walk.PassOver(offset - next);
        walk.Take(block);
        next = offset + block.size();
        if (seen) {
            seen(block);
        }
    });
    if (!scan.failure.empty()) {
        return scan.failure;
    }
    walk.PassOver(bytes - next);
    return walk.Finish();
}

} // namespace ctl
