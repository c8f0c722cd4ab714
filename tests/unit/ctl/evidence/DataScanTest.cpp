#include "evidence/DataScan.h"

#include "ctl/evidence/EvidenceFolder.h"

#include <gmock/gmock.h>

#include <unistd.h>

using namespace ctl;
using testing::ElementsAre;

namespace
{
/** An open file with a text; sparse after it, if larger. */
class ScannedFile
{
public:
    explicit ScannedFile(const std::string& text, std::uint64_t size = 0)
    {
        const std::string path = mFolder.Write("file", text);
        if (size != 0) {
            std::filesystem::resize_file(path, size);
        }
        mFile = open(path.c_str(), O_RDWR | O_CLOEXEC);
        EXPECT_GE(mFile, 0);
    }
    ~ScannedFile() { close(mFile); }
    ScannedFile(const ScannedFile&) = delete;
    ScannedFile& operator=(const ScannedFile&) = delete;

    int Get() const { return mFile; }

private:
    const EvidenceFolder mFolder;
    int mFile = -1;
};

std::vector<std::string> GetLines(const ScannedFile& file, std::uint64_t offset, std::uint64_t bytes)
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
    const ScannedFile file(text);
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
    const ScannedFile file("begin", 1ULL << 40U);
    const DataScan scan = ReadData(file.Get(), 1ULL << 40U, [](std::uint64_t, std::string_view) {});
    EXPECT_EQ(scan.failure, "");
    EXPECT_LE(scan.bytesRead, 1U << 20U);
}

TEST(DataScan, OfAFileThatShrankSaysSo)
{
    const ScannedFile file("short");
    const DataScan scan = ReadData(file.Get(), 100, [](std::uint64_t, std::string_view) {});
    EXPECT_EQ(scan.failure, "became shorter while it was read");
    EXPECT_EQ(scan.bytesRead, 5U);
}

TEST(DataLines, AreThoseOfTheStretch)
{
    const ScannedFile file("skip\none\n\ntwo\nlast");
    EXPECT_THAT(GetLines(file, 5, 9), ElementsAre("one", "", "two"));
    EXPECT_THAT(GetLines(file, 5, 100 - 87), ElementsAre("one", "", "two", "last"));
}

TEST(DataLines, AreCutWhereTheyAreTooLong)
{
    const ScannedFile file(std::string(3U << 20U, 'x') + "\nshort\n");
    EXPECT_THAT(GetLines(file, 0, (3U << 20U) + 7), ElementsAre(std::string(65536, 'x'), "short"));
}
