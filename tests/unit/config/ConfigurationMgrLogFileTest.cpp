#include "config/ConfigurationMgr.h"
#include "config/ConfigurationValueReaders.h"
#include "config/SettingsFixture.h"
#include "platform/THUEnv.h"
#include "platform/UnixHelperFunction.h"
#include "support/HelperSeam.h"
#include "support/HostFixture.h"

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <functional>
#include <iterator>
#include <thread>

#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace
{
/** A helper that notes folders and opens, and can refuse some of them. */
class LogFileHelper : public UnixHelperFunction
{
public:
    LogFileHelper(Lines& notes, const Lines& refused, const std::function<void()>& onNote)
        : mNotes(notes), mRefused(refused), mOnNote(onNote)
    {}

    bool HF_CreateDir(std::string path, bool recursive) override
    {
        return Note("mkdir " + path + (recursive ? " recursive" : "")) &&
               UnixHelperFunction::HF_CreateDir(path, recursive);
    }

    bool HF_OpenFileInMode(FILE** file, std::string path, std::string mode) override
    {
        return Note("open " + path + " " + mode) && UnixHelperFunction::HF_OpenFileInMode(file, path, mode);
    }

private:
    bool Note(const std::string& request)
    {
        mNotes.push_back(request);
        if (const std::function<void()> onNote = mOnNote) {
            onNote();
        }
        return std::find(mRefused.begin(), mRefused.end(), request) == mRefused.end();
    }

    Lines& mNotes;
    const Lines& mRefused;
    const std::function<void()>& mOnNote;
};

/** Each test builds a ConfigurationMgr by itself, on 5 March 2026. */
class LogFile : public SettingsFixture
{
protected:
    void SetUp() override
    {
        RequireHost();
        if (IsSkipped()) {
            return;
        }
        SettingsFixture::SetUp();
        SetLogPath("");
        std::filesystem::create_directories(GetTHLogPath());
        GetStore().mLocalTime = MakeLocalTime(2026, 3, 5, 12, 0, 0);
        GetHelperSeam().mMake = [this] { return new LogFileHelper(mNotes, mRefused, mOnNote); };
        if (std::filesystem::exists("/tmp/thsentinel")) {
            GTEST_SKIP() << "the checkout lies in the second place of the log";
        }
        StartAnew();
    }

    Lines mNotes;
    Lines mRefused;
    std::function<void()> mOnNote; ///< called with each note
};

constexpr char FOLDER[] = "/usr/tarnv/tarnhaven/logs/thsentinel";
constexpr char MAKE_FOLDER[] = "mkdir /usr/tarnv/tarnhaven/logs/thsentinel";
constexpr char OPEN_FIRST[] = "open /usr/tarnv/tarnhaven/logs/thsentinel/root.030526_00001.log a+";
constexpr char SECOND[] = "/tmp/thsentinel/root.030526_00001.log";
constexpr char MAKE_SECOND[] = "mkdir /tmp/thsentinel/root.030526_00001.log";
constexpr char OPEN_SECOND[] = "open /tmp/thsentinel/root.030526_00001.log a+";

TEST_F(LogFile, IsPreparedUnderTheLockOfItsUnit)
{
    ConfigurationMgr& config = *ConfigurationMgr::GetInstance();
    config.mVerbose = 1;
    std::atomic<pid_t> id = 0;
    std::atomic<bool> hasWritten = false;
    std::thread writer;
    mOnNote = [&] {
        mOnNote = nullptr;
        writer = std::thread([&] {
            id = static_cast<pid_t>(syscall(SYS_gettid));
            (void)config.GetThreasholdValue({}, "of the same unit");
            hasWritten = true;
        });
        EXPECT_TRUE(WaitFor([&] { return hasWritten || (id != 0 && IsAsleep(id)); }));
        WaitAMoment(); // a sleep for any other reason would be over
        EXPECT_FALSE(hasWritten);
    };
    config.InitializeLogFile();
    ASSERT_TRUE(writer.joinable());
    writer.join();
    EXPECT_TRUE(hasWritten);
}

TEST_F(LogFile, IsMadeWithItsFolder)
{
    EXPECT_EQ(ConfigurationMgr::GetInstance()->mLogFilePath,
              "/usr/tarnv/tarnhaven/logs/thsentinel/root.030526_00001.log");
    EXPECT_EQ(ConfigurationMgr::GetInstance()->mBasePath, "/usr/tarnv");
    EXPECT_EQ(mNotes, (Lines{MAKE_FOLDER, OPEN_FIRST}));
    struct stat status = {};
    ASSERT_EQ(stat(FOLDER, &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0755U);
    EXPECT_EQ(std::filesystem::file_size(GetTHPerfMonLogFilePath()), 0U);
}

TEST_F(LogFile, IsAttemptedOnceForTheWholeRun)
{
    (void)ConfigurationMgr::GetInstance();
    std::filesystem::remove_all(FOLDER);
    EXPECT_FALSE(ValidateInputForSpecialChars("a;b")); // which logs
    (void)ConfigurationMgr::GetInstance();
    EXPECT_EQ(mNotes, (Lines{MAKE_FOLDER, OPEN_FIRST}));
    EXPECT_FALSE(std::filesystem::exists(FOLDER));
}

TEST_F(LogFile, KeepsTheLinesOfAnEarlierRun)
{
    std::filesystem::create_directory(FOLDER);
    WriteFile(GetTHPerfMonLogFilePath(), "earlier\n");
    EXPECT_EQ(ConfigurationMgr::GetInstance()->mLogFilePath, GetTHPerfMonLogFilePath());
    EXPECT_EQ(ReadFile(GetTHPerfMonLogFilePath()), "earlier\n");
}

TEST_F(LogFile, HasNoNameWhenItsFolderCannotBeMade)
{
    std::filesystem::rename("/usr/tarnv/tarnhaven/logs", "/usr/tarnv/tarnhaven/logs-away");
    EXPECT_EQ(ConfigurationMgr::GetInstance()->mLogFilePath, "");
    EXPECT_EQ(mNotes, Lines{MAKE_FOLDER}); // only the last folder is made, and nothing else is tried
    EXPECT_FALSE(ValidateInputForSpecialChars("a;b"));
    EXPECT_FALSE(std::filesystem::exists("/usr/tarnv/tarnhaven/logs"));
    std::filesystem::rename("/usr/tarnv/tarnhaven/logs-away", "/usr/tarnv/tarnhaven/logs");
}

TEST_F(LogFile, HasASecondPathOfWhichAFolderIsMade)
{
    // The folder above it exists, so that only the odd order of folder and file stands in the way.
    std::filesystem::create_directory("/tmp/thsentinel");
    mRefused = {OPEN_FIRST};
    EXPECT_EQ(ConfigurationMgr::GetInstance()->mLogFilePath, "");
    EXPECT_EQ(mNotes, (Lines{MAKE_FOLDER, OPEN_FIRST, MAKE_SECOND, OPEN_SECOND}));
    EXPECT_TRUE(std::filesystem::is_directory(SECOND));
}

TEST_F(LogFile, HasNoSecondPathWithoutTheFolderAboveIt)
{
    mRefused = {OPEN_FIRST};
    EXPECT_EQ(ConfigurationMgr::GetInstance()->mLogFilePath, "");
    EXPECT_EQ(mNotes, (Lines{MAKE_FOLDER, OPEN_FIRST, MAKE_SECOND}));
    EXPECT_FALSE(std::filesystem::exists("/tmp/thsentinel"));
}

TEST_F(LogFile, HasItsSecondPathWhereAPlainFileLies)
{
    std::filesystem::create_directory("/tmp/thsentinel");
    WriteFile(SECOND, "earlier\n");
    WriteFile(FOLDER, "not a folder"); // the same name counts as made, and the open that follows fails
    EXPECT_EQ(ConfigurationMgr::GetInstance()->mLogFilePath, SECOND);
    EXPECT_EQ(mNotes, (Lines{MAKE_FOLDER, OPEN_FIRST, MAKE_SECOND, OPEN_SECOND}));
    EXPECT_EQ(ReadFile(SECOND), "earlier\n");
}

TEST_F(LogFile, TakesNoLineOnItsSecondPath)
{
    std::filesystem::create_directory("/tmp/thsentinel");
    WriteFile(SECOND, "");
    mRefused = {OPEN_FIRST};
    ASSERT_EQ(ConfigurationMgr::GetInstance()->mLogFilePath, SECOND);
    EXPECT_FALSE(ValidateInputForSpecialChars("a;b"));
    EXPECT_EQ(ReadFile(SECOND), "");
    EXPECT_EQ(GetLogLines(),
              Lines{"There are non alpha numeric characters in the input ';'. Returning Error."});
}

TEST_F(LogFile, LeavesNoFileOpen)
{
    const auto countOpenFiles = [] {
        return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
    };
    const auto before = countOpenFiles();
    (void)ConfigurationMgr::GetInstance();
    EXPECT_EQ(countOpenFiles(), before);
    StartAnew();
    std::filesystem::create_directory("/tmp/thsentinel");
    WriteFile(SECOND, "");
    mRefused = {OPEN_FIRST};
    ASSERT_EQ(ConfigurationMgr::GetInstance()->mLogFilePath, SECOND);
    EXPECT_EQ(countOpenFiles(), before);
}

TEST_F(LogFile, IsNotLookedForWithoutAHelper)
{
    GetHelperSeam().mMake = [] { return nullptr; };
    EXPECT_EQ(ConfigurationMgr::GetInstance()->mHelper, nullptr);
    EXPECT_EQ(ConfigurationMgr::GetInstance()->mLogFilePath, "");
    EXPECT_EQ(ConfigurationMgr::GetInstance()->mBasePath, "/usr/tarnv");
    EXPECT_FALSE(std::filesystem::exists(FOLDER));
}

TEST_F(LogFile, IsForgottenWhenItIsInitializedWithoutAHelper)
{
    ConfigurationMgr* const config = ConfigurationMgr::GetInstance();
    delete config->mHelper;
    config->mHelper = nullptr;
    config->mBasePath = "changed";
    config->InitializeLogFile();
    EXPECT_EQ(config->mLogFilePath, "");
    EXPECT_EQ(config->mBasePath, "/usr/tarnv");
}
} // namespace
