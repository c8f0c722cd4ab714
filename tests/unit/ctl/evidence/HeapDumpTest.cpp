#include "evidence/HeapDump.h"

#include "ctl/evidence/EvidenceFolder.h"

#include <gmock/gmock.h>

using namespace ctl;
using testing::HasSubstr;

namespace
{
std::string MakeNumber(std::uint32_t number)
{
    std::string bytes;
    for (int shift = 24; shift >= 0; shift -= 8) {
        bytes += static_cast<char>(number >> static_cast<unsigned>(shift) & 0xFFU);
    }
    return bytes;
}

std::string MakeHeapHead()
{
    return std::string("JAVA PROFILE 1.0.2") + '\0' + MakeNumber(8) + MakeNumber(1) + MakeNumber(2);
}

std::string MakeRecord(unsigned char tag, std::size_t bytes)
{
    return static_cast<char>(tag) + MakeNumber(0) + MakeNumber(static_cast<std::uint32_t>(bytes)) +
           std::string(bytes, 'x');
}

std::string MakeDump()
{
    return MakeHeapHead() + MakeRecord(0x01, 20) + MakeRecord(0x1C, 300) + MakeRecord(0x2C, 0);
}

std::string Walk(const std::string& text, std::size_t block)
{
    HeapDumpWalk walk;
    for (std::size_t at = 0; at < text.size(); at += block) {
        walk.Take(std::string_view(text).substr(at, block));
    }
    return walk.Finish();
}
} // namespace

TEST(HeapDump, IsWholeWithItsLastRecord)
{
    for (const std::size_t block : {1U, 9U, 31U, 64U, 100000U}) {
        EXPECT_EQ(Walk(MakeDump(), block), "") << block;
    }
}

TEST(HeapDump, IsCutShortWhereverItEndsEarly)
{
    const std::string whole = MakeDump();
    for (std::size_t size = 1; size < whole.size(); ++size) {
        const std::string found = Walk(whole.substr(0, size), 16);
        // Between the first records and the heap nothing says that more has to come.
        const bool isBeforeHeap = size == MakeHeapHead().size() || size == MakeHeapHead().size() + 29;
        if (!isBeforeHeap) {
            EXPECT_THAT(found, HasSubstr("is cut short")) << size;
        }
    }
}

TEST(HeapDump, OfAnotherFormatIsNone)
{
    EXPECT_EQ(Walk(std::string(100, 'x'), 64), "is no heap dump: it does not begin with JAVA PROFILE");
    EXPECT_EQ(Walk(std::string(100, '\0'), 64), "is no heap dump: it does not begin with JAVA PROFILE");
}

TEST(HeapDump, WithZerosAfterARecordIsDamaged)
{
    const std::string text = MakeHeapHead() + MakeRecord(0x01, 20) + std::string(50, '\0');
    EXPECT_EQ(Walk(text, 64), "has no record at byte 60, where one must begin");
}

TEST(HeapDumpFile, IsReadByItsRecordHeadsOrWhole)
{
    const EvidenceFolder folder;
    const std::string whole = MakeHeapHead() + MakeRecord(0x1C, 3U << 20U) + MakeRecord(0x2C, 0);
    for (const std::size_t size : {whole.size(), whole.size() - 9}) {
        const std::string path = folder.Write("dump", whole.substr(0, size));
        const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
        const std::string wanted =
            size == whole.size() ? "" : "is cut short: the record that ends the heap is missing";
        EXPECT_EQ(CheckHeapDumpRecords(file, size), wanted);
        EXPECT_EQ(CheckWholeHeapDump(file, size), wanted);
        close(file);
    }
}

TEST(HeapDumpFile, WithAHoleInARecordIsWholeAndWithOneBetweenRecordsIsNot)
{
    const EvidenceFolder folder;
    std::string head = MakeHeapHead() + static_cast<char>(0x1C) + MakeNumber(0) + MakeNumber(16U << 20U);
    const std::string path = folder.Write("dump", head);
    const std::size_t size = head.size() + (16U << 20U);
    std::filesystem::resize_file(path, size);
    std::ofstream(path, std::ios::app) << MakeRecord(0x2C, 0);
    int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    EXPECT_EQ(CheckWholeHeapDump(file, size + 9), "");
    close(file);
    std::filesystem::resize_file(path, size + (8U << 20U));
    file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    EXPECT_NE(CheckWholeHeapDump(file, size + (8U << 20U)), "");
    close(file);
}

TEST(HeapDumpFile, ThatIsDamagedIsNotReadOnThroughItsHole)
{
    const EvidenceFolder folder;
    const std::string path = folder.Write("dump", MakeHeapHead() + MakeRecord(0x01, 20));
    constexpr std::uint64_t SIZE = std::uint64_t{1}
                                   << 40U; // to read on would take until the test's time limit
    std::filesystem::resize_file(path, SIZE);
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    EXPECT_EQ(CheckHeapDumpRecords(file, SIZE), "has no record at byte 60, where one must begin");
    close(file);
}
