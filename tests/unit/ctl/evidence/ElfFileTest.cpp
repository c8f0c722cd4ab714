#include "evidence/ElfFile.h"

#include "ctl/evidence/CoreHead.h"
#include "ctl/evidence/EvidenceFolder.h"

#include <limits>

#include <gmock/gmock.h>

#include <unistd.h>

using namespace ctl;
using testing::IsEmpty;

namespace
{
constexpr std::uint64_t HIGHEST = std::numeric_limits<std::uint64_t>::max();

/** An open file that may be an ELF file. */
class ElfBytes : public EvidenceBytes
{
public:
    using EvidenceBytes::EvidenceBytes;

    ElfResult ReadHead() const { return ReadElfHead(Get(), GetSize()); }
    std::optional<std::string> ReadId() const { return ReadBuildId(Get(), GetSize()); }
};

/** A number in the order of bytes of large machines. */
std::string ToBigEndian(std::uint64_t number, std::size_t width)
{
    std::string text;
    for (std::size_t at = width; at > 0; --at) {
        text += static_cast<char>(number >> (8 * (at - 1)) & 0xFFU);
    }
    return text;
}

/** A program whose one segment holds these notes, and says that it has so many bytes. */
std::string MakeNoteFile(const std::string& notes, std::uint64_t claimed)
{
    Elf64_Phdr segment = {};
    segment.p_type = PT_NOTE;
    segment.p_offset = sizeof(Elf64_Ehdr) + sizeof segment;
    segment.p_filesz = claimed;
    return ToBytes(MakeElfHead(ET_EXEC, 1)) + ToBytes(segment) + notes;
}
} // namespace

TEST(ElfFile, OfANarrowClassAndTheOtherOrderOfBytesIsRead)
{
    std::string head = std::string(ELFMAG) + std::string{char{ELFCLASS32}, char{ELFDATA2MSB}, 1};
    head.resize(EI_NIDENT, '\0');
    head += ToBigEndian(ET_CORE, 2) + ToBigEndian(0, 2) + ToBigEndian(1, 4) + ToBigEndian(0, 4) +
            ToBigEndian(sizeof(Elf32_Ehdr), 4) + ToBigEndian(0, 4) + ToBigEndian(0, 4) +
            ToBigEndian(sizeof(Elf32_Ehdr), 2) + ToBigEndian(sizeof(Elf32_Phdr), 2) + ToBigEndian(1, 2) +
            ToBigEndian(0, 6);
    ASSERT_EQ(head.size(), sizeof(Elf32_Ehdr));
    const std::string segment = ToBigEndian(PT_LOAD, 4) + ToBigEndian(84, 4) + ToBigEndian(0x10000, 4) +
                                ToBigEndian(0, 4) + ToBigEndian(300, 4) + ToBigEndian(400, 4) +
                                ToBigEndian(0, 8);
    const ElfResult elf = ElfBytes(head + segment, 384).ReadHead();
    ASSERT_EQ(elf.failure, "");
    EXPECT_EQ(elf.head.type, ET_CORE);
    EXPECT_EQ(GetAddressWidth(elf.head), 4U);
    ASSERT_EQ(elf.head.segments.size(), 1U);
    EXPECT_EQ(elf.head.segments[0].address, 0x10000U);
    EXPECT_EQ(elf.head.segments[0].fileBytes, 300U);
    EXPECT_EQ(elf.head.segments[0].memoryBytes, 400U);
    EXPECT_EQ(elf.head.neededBytes, 384U);
}

TEST(ElfFile, WithNothingInItHasNoHead)
{
    EXPECT_EQ(ElfBytes("").ReadHead().failure, "begins with zero bytes: it was never finished");
    EXPECT_EQ(ElfBytes("\x7f"
                       "EL")
                  .ReadHead()
                  .failure,
              "is no core image: it has no ELF head");
    for (std::size_t size = EI_NIDENT; size < sizeof(Elf64_Ehdr); ++size) {
        EXPECT_EQ(ElfBytes(MakeCore(10).substr(0, size)).ReadHead().failure, "is cut short within its head");
    }
}

TEST(ElfFile, WhoseTableLiesPastAllNumbersIsCutShort)
{
    for (const std::uint64_t table : {HIGHEST, HIGHEST - 55, HIGHEST / 2, std::uint64_t{5000}}) {
        Elf64_Ehdr head = MakeElfHead(ET_CORE, 2);
        head.e_phoff = table;
        EXPECT_EQ(ElfBytes(ToBytes(head), 5000).ReadHead().failure, "is cut short within its head") << table;
    }
}

TEST(ElfFile, WithMoreSegmentsThanItsFieldHoldsHasThemInItsFirstSection)
{
    Elf64_Ehdr head = MakeElfHead(ET_CORE, PN_XNUM);
    head.e_shoff = sizeof head;
    head.e_phoff = sizeof head + sizeof(Elf64_Shdr);
    Elf64_Shdr section = {};
    section.sh_info = 70'000;
    const std::string bytes = ToBytes(head) + ToBytes(section);
    const ElfResult elf = ElfBytes(bytes, bytes.size() + 70'000 * sizeof(Elf64_Phdr)).ReadHead();
    EXPECT_EQ(elf.failure, "");
    EXPECT_EQ(elf.head.segments.size(), 70'000U);
}

TEST(ElfFile, ThatClaimsBillionsOfSegmentsIsRefused)
{
    Elf64_Ehdr head = MakeElfHead(ET_CORE, PN_XNUM);
    head.e_shoff = sizeof head;
    Elf64_Shdr section = {};
    section.sh_info = std::numeric_limits<Elf64_Word>::max();
    const std::string bytes = ToBytes(head) + ToBytes(section);
    EXPECT_EQ(ElfBytes(bytes).ReadHead().failure, "is cut short within its head");
    EXPECT_EQ(ElfBytes(bytes, std::uint64_t{1} << 39U).ReadHead().failure,
              "has more program headers than are looked at");
}

TEST(ElfFile, WhoseSegmentEndsPastAllNumbersNeedsMoreThanAnyFile)
{
    Elf64_Phdr segment = {};
    segment.p_type = PT_LOAD;
    segment.p_offset = HIGHEST - 10;
    segment.p_filesz = 100;
    const ElfResult elf = ElfBytes(ToBytes(MakeElfHead(ET_CORE, 1)) + ToBytes(segment)).ReadHead();
    EXPECT_EQ(elf.failure, "");
    EXPECT_EQ(elf.head.neededBytes, HIGHEST);
}

TEST(ElfNumber, PastTheEndOfATextIsZero)
{
    ElfHead head;
    head.isLittle = true;
    EXPECT_EQ(GetElfNumber(head, "\x01\x02", 0, 2), 0x0201U);
    EXPECT_EQ(GetElfNumber(head, "\x01\x02", 1, 2), 0U);
    EXPECT_EQ(GetElfNumber(head, "\x01\x02", std::numeric_limits<std::size_t>::max(), 8), 0U);
}

TEST(ElfNotes, HoldTheBuildId)
{
    const std::string notes =
        MakeNote("CORE", NT_PRSTATUS, "x") + MakeNote("GNU", NT_GNU_BUILD_ID, "\x01\xAB\xFF");
    EXPECT_EQ(ElfBytes(MakeNoteFile(notes, notes.size())).ReadId(), "01abff");
}

TEST(ElfNotes, WithoutABuildIdHaveNone)
{
    const std::string other = MakeNote("CORE", NT_GNU_BUILD_ID, "abc");
    EXPECT_EQ(ElfBytes(MakeNoteFile(other, other.size())).ReadId(), std::nullopt);
    const std::string tooLong = MakeNote("GNU", NT_GNU_BUILD_ID, std::string(65, 'x'));
    EXPECT_EQ(ElfBytes(MakeNoteFile(tooLong, tooLong.size())).ReadId(), std::nullopt);
    EXPECT_EQ(ElfBytes("no ELF file at all").ReadId(), std::nullopt);
}

TEST(ElfNotes, ThatAreDamagedAreLeftOut)
{
    const std::string whole = MakeNote("GNU", NT_GNU_BUILD_ID, "abcd");
    EXPECT_EQ(ElfBytes(MakeNoteFile(whole, whole.size() - 1)).ReadId(), std::nullopt) << "past its segment";
    EXPECT_EQ(ElfBytes(MakeNoteFile(whole.substr(0, 8), 1000)).ReadId(), std::nullopt) << "past the file";
    EXPECT_EQ(ElfBytes(MakeNoteFile(std::string(1000, '\xFF'), 1000)).ReadId(), std::nullopt);
    EXPECT_EQ(ElfBytes(MakeNoteFile("", HIGHEST)).ReadId(), std::nullopt);
    ElfHead head;
    head.isLittle = true;
    std::vector<ElfNote> notes;
    ReadElfNotesAt(ElfBytes(whole).Get(), head, HIGHEST - 5, 100, notes);
    EXPECT_THAT(notes, IsEmpty());
}
