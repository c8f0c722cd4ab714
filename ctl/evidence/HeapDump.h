#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace ctl
{

/**
 * Walks over a Java heap dump, block by block: its head, then record after record, each with its length, to
 * the end. Records are passed over, not kept.
 */
class HeapDumpWalk
{
public:
    /** Takes the next block of the file. */
    void Take(std::string_view block);

    /** Passes over bytes that are not read: a hole, or the rest of a record. */
    void PassOver(std::uint64_t bytes);

    /** True once something is wrong that no more bytes can mend. */
    bool HasFailed() const { return !mFailure.empty(); }

    /** How many of the bytes to come belong to a record whose contents don't matter. */
    std::uint64_t GetPassable() const { return mRest; }

    /** Ends the file. Returns what is wrong with it; empty for a whole dump. */
    std::string Finish();

private:
    void TakeHead(std::string_view& block);
    void TakeRecordHead(std::string_view& block);
    void Fail(std::string failure);

    std::string mPending; ///< the beginning of a head that isn't complete yet
    std::string mFailure;
    bool mHasHead = false;
    bool mHasSegment = false;
    bool mHasEnd = false;
    std::uint64_t mOffset = 0; ///< of the next byte
    std::uint64_t mRest = 0;   ///< of the record at hand
};

/** Walks over an open heap dump and reads no more than the heads of its records. */
std::string CheckHeapDumpRecords(int file, std::uint64_t bytes);

/**
 * Reads all of an open heap dump and walks over it. `seen` gets each block that was read; it may be empty.
 */
std::string CheckWholeHeapDump(int file, std::uint64_t bytes,
                               const std::function<void(std::string_view)>& seen = {});

} // namespace ctl
