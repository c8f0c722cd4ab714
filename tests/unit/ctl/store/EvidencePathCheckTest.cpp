#include "store/EvidencePathCheck.h"

#include <algorithm>
#include <filesystem>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "ctl/evidence/EvidenceFolder.h"

namespace ctl
{
namespace
{

class EvidencePathFixture : public testing::Test
{
protected:
    /** True if the check of a path of the settings, on this folder, finds just this. */
    bool Finds(Severity severity, const std::string& message, const std::string& path = "/evidence")
    {
        StoreFindings findings;
        CheckEvidenceFolder(path, mFolder.GetPath(), 7, findings);
        return std::any_of(findings.begin(), findings.end(), [&](const StoreFinding& finding) {
            return finding.severity == severity && finding.message == message && finding.line == 7;
        });
    }

    EvidenceFolder mFolder;
};

TEST_F(EvidencePathFixture, IsHeldAgainstWhatTheShellMakesOfIt)
{
    const std::string blank =
        "the path holds a blank: the shell lines of the captures don't quote it, so they write "
        "nothing here";
    const std::string backslash =
        "the path holds a backslash, which the shell takes for itself: captures miss the folder";
    const std::string relative =
        "the path is relative: it depends on the folder that the service is started in";
    EXPECT_TRUE(Finds(Severity::Error, blank, "/with blank"));
    EXPECT_TRUE(Finds(Severity::Error, backslash, "/back\\slash"));
    EXPECT_TRUE(Finds(Severity::Warning, relative, "evidence"));
    EXPECT_FALSE(Finds(Severity::Error, blank));
    EXPECT_FALSE(Finds(Severity::Error, backslash));
    EXPECT_FALSE(Finds(Severity::Warning, relative));
}

TEST_F(EvidencePathFixture, IsHeldAgainstWhoElseMayWriteThere)
{
    const std::string end = ": evidence can be forged, removed, or led elsewhere by links";
    const std::string everybody = mFolder.GetPath() + " may be written by everybody" + end;
    const std::string group = mFolder.GetPath() + " may be written by its group" + end;
    EXPECT_FALSE(Finds(Severity::Warning, everybody));
    ASSERT_EQ(chmod(mFolder.GetPath().c_str(), 0777), 0);
    EXPECT_TRUE(Finds(Severity::Warning, everybody));
    ASSERT_EQ(chmod(mFolder.GetPath().c_str(), 0770), 0);
    EXPECT_TRUE(Finds(Severity::Warning, group));
}

TEST_F(EvidencePathFixture, ThatIsNotThereIsLeftToTheLoadWhichComplainsOfIt)
{
    const std::string missing = mFolder.GetPath() + "/missing";
    StoreFindings findings;
    CheckEvidenceFolder(missing, missing, 7, findings);
    EXPECT_TRUE(findings.empty());
}

TEST_F(EvidencePathFixture, IsHeldAgainstALinkInThePlaceOfTheRoot)
{
    std::filesystem::remove(mFolder.GetRoot());
    std::filesystem::create_symlink("/", mFolder.GetRoot());
    EXPECT_TRUE(Finds(Severity::Warning,
                      mFolder.GetRoot().string() + " is a symbolic link: evidence goes where it leads"));
}

/** An evidence folder two levels below one that belongs to the test. */
class EvidenceParentFixture : public testing::Test
{
protected:
    void SetUp() override { std::filesystem::create_directories(mEvidence); }

    bool Finds(Severity severity, const std::string& message)
    {
        StoreFindings findings;
        CheckEvidenceFolder(mPlace, mPlace, 7, findings);
        return std::any_of(findings.begin(), findings.end(), [&](const StoreFinding& finding) {
            return finding.severity == severity && finding.message == message;
        });
    }
    bool FindsOpenParent(const std::string& whom)
    {
        return Finds(Severity::Warning, mParent + ", above the evidence folder, may be written by " + whom +
                                            ", who may rename the evidence folder away or put another in its "
                                            "place");
    }
    void Open(mode_t mode) { ASSERT_EQ(chmod(mParent.c_str(), mode), 0); }

    EvidenceFolder mFolder;
    const std::string mParent = mFolder.GetPath() + "/parent";
    const std::string mEvidence = mParent + "/evidence";
    std::string mPlace = mEvidence;
};

TEST_F(EvidenceParentFixture, IsReportedWhereOthersMayRenameTheFolderAway)
{
    Open(0755);
    EXPECT_FALSE(FindsOpenParent("everybody"));
    Open(0777);
    EXPECT_TRUE(FindsOpenParent("everybody"));
    Open(0775);
    EXPECT_TRUE(FindsOpenParent("its group"));
    Open(01777);
    EXPECT_FALSE(FindsOpenParent("everybody")) << "each may rename what is his own alone";
}

TEST_F(EvidenceParentFixture, IsLookedAtBeyondLinksToo)
{
    mPlace = mFolder.GetPath() + "/link";
    std::filesystem::create_symlink(mEvidence, mPlace);
    Open(0777);
    EXPECT_TRUE(FindsOpenParent("everybody"));
    EXPECT_TRUE(Finds(Severity::Info,
                      mPlace + " is a symbolic link to " + mEvidence + ": evidence goes where it leads"));
}

TEST_F(EvidencePathFixture, OfACopyIsSaidToBeOutOfSight)
{
    StoreFindings findings;
    CheckEvidenceFolder("/evidence", mFolder.GetPath() + "/missing", 7, findings);
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_EQ(findings[0].message,
              mFolder.GetPath() + "/missing can't be looked at: No such file or directory");
}

} // namespace
} // namespace ctl
