#include "evidence/Bundle.h"

#include "ctl/evidence/EvidenceFolder.h"
#include "evidence/Sha256.h"

#include <gmock/gmock.h>

#include <unistd.h>

using namespace ctl;
using testing::IsEmpty;

namespace
{
constexpr char STEM[] = "tbrd/4321/Evidence1/4321_13-11_02.10.28_CPU.";
constexpr std::size_t LARGE = 3U << 20U; // several blocks of a reading

/** A set with a core image, and an open file for its bundle. */
class BundleFixture : public testing::Test
{
protected:
    BundleFixture()
    {
        WriteStatistics(mFolder, "tbrd", 4321, 1, "13-11_02.10.28");
        mCore = mFolder.Write(std::string(STEM) + "4321", std::string(LARGE, 'c'));
        mRules.withCores = true;
    }

    std::vector<BundledFile> Write(const BundleRules& rules)
    {
        return Write(FindSets(mFolder.GetPath()), rules);
    }

    std::vector<BundledFile> Write(const FoundEvidence& found, const BundleRules& rules)
    {
        const std::string path = mFolder.GetPath() + "/bundle";
        mOutput = Descriptor(open(path.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
        return WriteBundle(mOutput.Get(), found.tree, found.sets.at(0), SetReport(), rules);
    }

    BundleReport Check() const
    {
        EXPECT_EQ(lseek(mOutput.Get(), 0, SEEK_SET), 0);
        return CheckBundle(mOutput.Get(), [](std::uint64_t) {});
    }

    const EvidenceFolder mFolder;
    std::string mCore;
    BundleRules mRules;
    Descriptor mOutput;
};
} // namespace

TEST_F(BundleFixture, HoldsWhatItsManifestSays)
{
    mRules.redaction = Redaction();
    EXPECT_EQ(Write(mRules).size(), 6U);
    const BundleReport report = Check();
    EXPECT_THAT(report.problems, IsEmpty());
    EXPECT_EQ(report.files, 6U);
    EXPECT_GT(report.bytes, LARGE);
}

TEST_F(BundleFixture, HoldsEveryByteOfATextWhileItHidesValues)
{
    const std::string text = std::string(100'000, 'x') + " " + std::string(5000, '\0') + "no line end";
    mFolder.Write(std::string(STEM) + "ProcessData", text);
    mRules.redaction = Redaction();
    const std::vector<BundledFile> files = Write(mRules);
    EXPECT_EQ(files.back().path, std::string(STEM) + "ProcessData");
    EXPECT_EQ(files.back().bytes, text.size());
    Sha256 digest;
    digest.Take(text);
    EXPECT_EQ(files.back().sha256, FormatHex(digest.Finish()));
    EXPECT_EQ(files.back().hidden, 0U);
}

TEST_F(BundleFixture, TakesAFileThatGrowsAsLongAsItWas)
{
    mRules.progress = [this](std::uint64_t) {
        std::filesystem::resize_file(mCore, std::filesystem::file_size(mCore) + 100);
    };
    const std::vector<BundledFile> files = Write(mRules);
    EXPECT_EQ(files.at(0).bytes, LARGE);
    EXPECT_THAT(Check().problems, IsEmpty());
}

TEST_F(BundleFixture, OfAFileThatBecomesShorterIsGivenUp)
{
    mRules.progress = [this](std::uint64_t) { std::filesystem::resize_file(mCore, 1); };
    try {
        Write(mRules);
        FAIL() << "it was taken for whole";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "a file of the set became shorter while it was read");
    }
}

TEST_F(BundleFixture, LeavesOutAFileThatIsGoneAndSaysSo)
{
    const FoundEvidence found = FindSets(mFolder.GetPath());
    std::filesystem::remove(mCore);
    const std::vector<BundledFile> files = Write(found, mRules);
    EXPECT_EQ(files.at(0).leftOutWhy, "No such file or directory");
    EXPECT_EQ(Check().files, 5U);
}

TEST_F(BundleFixture, HoldsNothingThatALinkPointsTo)
{
    const FoundEvidence found = FindSets(mFolder.GetPath());
    std::filesystem::remove(mCore);
    std::filesystem::create_symlink("/etc/passwd", mCore);
    EXPECT_EQ(Write(found, mRules).at(0).leftOutWhy, "is a symbolic link, which isn't followed");
}
