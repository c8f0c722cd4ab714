#include "config/ConcurrentReaders.h"
#include "config/LoadFixture.h"
#include "config/SharedSetting.h"

#include <filesystem>
#include <iterator>
#include <ostream>

#include <sys/stat.h>

namespace
{
using JdkHome = LoadFixture;
using EvidencePath = LoadFixture;

TEST_F(JdkHome, IsTracedWhenVerboseAndNeedNotExist)
{
    mConfig->mVerbose = 1;
    Load("THHS_JDK_HOME", "/no/such/jdk");
    EXPECT_EQ(mResult, 0);
    EXPECT_EQ(mConfig->mJdkHome, "/no/such/jdk");
    EXPECT_EQ(GetLogLinesWith("JDK"), Lines{"JDK Home is set to /no/such/jdk . "});
}

TEST_F(JdkHome, IsNotMentionedUnlessVerbose)
{
    Load("THHS_JDK_HOME", "/opt/jdk");
    EXPECT_EQ(mConfig->mJdkHome, "/opt/jdk");
    EXPECT_EQ(GetLogLinesWith("JDK"), Lines());
}

TEST_F(JdkHome, IsReportedMissingAtEachLoad)
{
    for (int load = 0; load < 2; ++load) {
        Load("THHS_JDK_HOME", "");
        EXPECT_EQ(mResult, 0);
        EXPECT_EQ(GetLogLines(), GetLog({}));
    }
}

TEST_F(JdkHome, IsEmptyOnceTheKeyHasGone)
{
    Load("THHS_JDK_HOME", "/opt/jdk");
    GetStore().mValues.erase("THHS_JDK_HOME");
    Load();
    EXPECT_EQ(mConfig->mJdkHome, "");
    EXPECT_EQ(GetLogLines(), GetLog({}));
}

TEST_F(JdkHome, StaysWhenItIsRejectedAndTheLoadGoesOn)
{
    mConfig->mVerbose = 1;
    Load("THHS_JDK_HOME", "/opt/../jdk");
    EXPECT_EQ(mResult, 0);
    EXPECT_EQ(mConfig->mJdkHome, "/opt/../jdk");
    EXPECT_EQ(mConsole, "There are invalid characters in the input for THHS_JDK_HOME.\n");
    EXPECT_EQ(GetLogLinesWith("JDK"), Lines{"There are invalid characters in the input for THHS_JDK_HOME."});
    EXPECT_EQ(GetLogLinesWith("Warning"), Lines());
}

TEST_F(JdkHome, IsNotTracedWhenTheStoreAnswersWithAnUnusualCode)
{
    mConfig->mVerbose = 1;
    GetStore().mResults["THHS_JDK_HOME"] = 228;
    Load("THHS_JDK_HOME", "/opt/jdk");
    EXPECT_EQ(mResult, 0);
    EXPECT_EQ(mConfig->mJdkHome, "/opt/jdk");
    EXPECT_EQ(GetLogLinesWith("JDK"), Lines());
}

TEST_F(EvidencePath, GetsTheProgramsFolderAnewAtEachLoad)
{
    for (int load = 0; load < 3; ++load) {
        Load();
        EXPECT_EQ(mResult, 0);
        EXPECT_EQ(mConfig->mEvidencePath, mFolder + "/thsentinel");
        EXPECT_EQ(GetLogLines(), GetLog({}));
        struct stat status = {};
        ASSERT_EQ(stat((mFolder + "/thsentinel").c_str(), &status), 0);
        EXPECT_EQ(status.st_mode, S_IFDIR | 0755U);
        std::filesystem::remove(mFolder + "/thsentinel"); // the next load makes it again
    }
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(mFolder), {}), 0);
}

TEST_F(EvidencePath, LeavesWhatLiesInTheFolder)
{
    std::filesystem::create_directory(mFolder + "/thsentinel");
    WriteFile(mFolder + "/thsentinel/evidence", "kept");
    Load("THHS_PURGE_OLD_EVIDENCE", "1"); // a load doesn't purge
    EXPECT_EQ(mResult, 0);
    EXPECT_EQ(ReadFile(mFolder + "/thsentinel/evidence"), "kept");
}

TEST_F(EvidencePath, MayEndInASlash)
{
    mFolder += "/";
    Load("THHS_EVIDENCE_PATH", mFolder);
    EXPECT_EQ(mConfig->mEvidencePath, mFolder + "/thsentinel");
    EXPECT_EQ(GetLogLines(), GetLog({}));
}

TEST_F(EvidencePath, AcceptsAPlainFileOfTheFoldersName)
{
    WriteFile(mFolder + "/thsentinel", "in the way");
    Load();
    EXPECT_EQ(mResult, 0);
    EXPECT_EQ(GetLogLines(), GetLog({}));
    EXPECT_EQ(ReadFile(mFolder + "/thsentinel"), "in the way");
}

struct RefusalRow
{
    const char* mName;
    std::string mValue;
    int mResult;
    std::string mField; ///< what is left in the field
    Lines mLines;       ///< the last of them is on the console too

    friend void PrintTo(const RefusalRow& row, std::ostream* out) { *out << row.mName; }
};

class RefusedEvidencePath : public LoadFixture, public testing::WithParamInterface<RefusalRow>
{
};

TEST_P(RefusedEvidencePath, StopsTheLoadBeforeTheLastKey)
{
    const RefusalRow& row = GetParam();
    WriteFile("/tmp/plain", "");
    Load("THHS_EVIDENCE_PATH", row.mValue);
    EXPECT_EQ(mResult, row.mResult);
    EXPECT_EQ(mConfig->mEvidencePath, row.mField);
    EXPECT_EQ(mConsole, row.mLines.back() + "\n");
    Lines log = {READING, NO_JDK_HOME};
    log.insert(log.end(), row.mLines.begin(), row.mLines.end());
    EXPECT_EQ(GetLogLines(), log);
    EXPECT_EQ(GetStore().mReads.back(), "THHS_EVIDENCE_PATH");
}

std::string DoesNotExist(const std::string& path)
{
    return "Invalid value for THHS_EVIDENCE_PATH : " + path +
           ". Specified folder does not exist. thsentinel will not start.";
}

const std::string LONG_PATH = "/" + std::string(2000, 'x');

INSTANTIATE_TEST_SUITE_P(
    Values, RefusedEvidencePath,
    testing::Values(
        RefusalRow{"Empty",
                   "",
                   101,
                   "",
                   {"THHS_EVIDENCE_PATH is not set. It is a mandatory value. Please specify the path on the "
                    "file system, that has sufficient space to store logs."}},
        RefusalRow{"NoSuchFolder", "/no/such", 101, "/no/such", {DoesNotExist("/no/such")}},
        RefusalRow{"APlainFile", "/tmp/plain", 101, "/tmp/plain", {DoesNotExist("/tmp/plain")}},
        RefusalRow{"TooLongForItsMessage",
                   LONG_PATH,
                   101,
                   LONG_PATH,
                   {("Invalid value for THHS_EVIDENCE_PATH : " + LONG_PATH).substr(0, 1023)}},
        RefusalRow{"ForbiddenSequence",
                   "/tmp/..",
                   102,
                   "/tmp/..",
                   {"There are unauthorized characters detected in the input. Returning Error.",
                    "There are invalid characters in the input for THHS_EVIDENCE_PATH."}},
        RefusalRow{"BadCharacter",
                   "/tmp;",
                   102,
                   "/tmp;",
                   {"There are non alpha numeric characters in the input ';'. Returning Error.",
                    "There are invalid characters in the input for THHS_EVIDENCE_PATH."}},
        RefusalRow{"NoFolderCanBeMadeInIt",
                   "/proc",
                   101,
                   "/proc/thsentinel",
                   {"Invalid value for THHS_EVIDENCE_PATH : /proc/thsentinel. Failed to create the evidences "
                    "folder. thsentinel will not start."}}),
    NameOfRow());

TEST_F(EvidencePath, WithAnUnusualCodeOfTheStoreStopsAsNotDefinedSilently)
{
    GetStore().mResults["THHS_EVIDENCE_PATH"] = 228;
    Load();
    EXPECT_EQ(mResult, 103);
    EXPECT_EQ(mConfig->mEvidencePath, mFolder);
    EXPECT_EQ(GetLogLines(), (Lines{READING, NO_JDK_HOME}));
    EXPECT_EQ(mConsole, "");
    EXPECT_FALSE(std::filesystem::exists(mFolder + "/thsentinel"));
}

TEST_F(EvidencePath, IsEmptyOnceTheKeyHasGone)
{
    Load();
    GetStore().mValues.clear();
    Load();
    EXPECT_EQ(mResult, 101);
    EXPECT_EQ(mConfig->mEvidencePath, "");
}

TEST_F(EvidencePath, IsReplacedAsAWholeWhileOthersReadIt)
{
    constexpr int COPIES = 20000;
    const std::string places[] = {MakeFolder(), MakeFolder() + "/a/longer/way/to/a/place/of/evidence"};
    std::filesystem::create_directories(places[1]);
    Load("THHS_EVIDENCE_PATH", places[0]);
    ConcurrentReaders readers([&] {
        const std::string path = CopySharedText(mConfig->mEvidencePath);
        return path == places[0] + "/thsentinel" || path == places[1] + "/thsentinel";
    });
    std::size_t load = 0;
    EXPECT_TRUE(WaitFor([&] {
        Load("THHS_EVIDENCE_PATH", places[++load % 2]);
        EXPECT_EQ(mResult, 0);
        return load > 20 && readers.HaveRead(COPIES);
    }));
    EXPECT_TRUE(readers.End());
}
} // namespace
