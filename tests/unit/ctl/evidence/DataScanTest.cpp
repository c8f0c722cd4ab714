#include "evidence/DataScan.h"

#include "ctl/evidence/EvidenceFolder.h"

#include <gmock/gmock.h>

#include <unistd.h>

using namespace ctl;
using testing::ElementsAre;

namespace
{
std::vector<std::string> GetLines(const EvidenceBytes& file, std::uint64_t offset, std::uint64_t bytes)
{
    std::vector<std::string> lines;
    EXPECT_EQ(ReadLines(file.Get(), offset, bytes, [&](std::string_view line) { lines.emplace_back(line); })
                  .failure,
              "");
    return lines;
}
} // namespace

TEST(DataScan, GivesAllBytesInOrder)
{
    std::string text;
    for (int index = 0; index < 200'000; ++index) {
        text += std::to_string(index);
    }
    const EvidenceBytes file(text);
    std::string seen;
    const DataScan scan =
        ReadData(file.Get(), text.size(), [&](std::uint64_t offset, std::string_view block) {
            EXPECT_EQ(offset, seen.size());
            seen += block;
        });
    EXPECT_EQ(seen, text);
    EXPECT_EQ(scan.bytesRead, text.size());
    EXPECT_EQ(scan.failure, "");
}

TEST(DataScan, PassesOverHoles)
{
    const EvidenceBytes file("begin", 1ULL << 40U);
    const DataScan scan = ReadData(file.Get(), 1ULL << 40U, [](std::uint64_t, std::string_view) {});
    EXPECT_EQ(scan.failure, "");
    EXPECT_LE(scan.bytesRead, 1U << 20U);
}

TEST(DataScan, OfAFileThatShrankSaysSo)
{
    const EvidenceBytes file("short");
    const DataScan scan = ReadData(file.Get(), 100, [](std::uint64_t, std::string_view) {});
    EXPECT_EQ(scan.failure, "became shorter while it was read");
    EXPECT_EQ(scan.bytesRead, 5U);
}

TEST(DataLines, AreThoseOfTheStretch)
{
    const EvidenceBytes file("skip\none\n\ntwo\nlast");
    EXPECT_THAT(GetLines(file, 5, 9), ElementsAre("one", "", "two"));
    EXPECT_THAT(GetLines(file, 5, 100 - 87), ElementsAre("one", "", "two", "last"));
}

TEST(DataLines, AreCutWhereTheyAreTooLong)
{
    const EvidenceBytes file(std::string(3U << 20U, 'x') + "\nshort\n");
    EXPECT_THAT(GetLines(file, 0, (3U << 20U) + 7), ElementsAre(std::string(65536, 'x'), "short"));
}
