#include "evidence/CaptureFixture.h"

#include "config/ConfigurationMgr.h"
#include "support/WatchedMemory.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>

namespace fs = std::filesystem;

std::string Section(const std::string& command, const std::string& output)
{
    const std::string rule =
        "----------------------------------------------------------------------------------";
    return "\n\n" + rule + "\nCommand: " + command + "\n" + rule + "\n" + output;
}

void CaptureFixture::SetUp()
{
    LogFixture::SetUp();
    GetStore().mLocalTime = MakeLocalTime(2026, 11, 13, 2, 10, 28); // also the day of the log
    ForgetLog();
    mRoot = MakeFolder() + "/thsentinel";
    ConfigurationMgr* const config = ConfigurationMgr::GetInstance();
    config->mEvidencePath = mRoot;
    config->mCurrentEvidenceNumber = 1;
    config->mVerbose = 0;
    GetHelperSeam().mMake = [this] { return MakeHelper(); };
    GetSeams().mSystem = [this](const char* line) {
        mSystemLines.push_back(line);
        return mSystemStatus;
    };
    GetSeams().mPthreadDetach = [](pthread_t) { return 0; };
    GetSeams().mPthreadCreate = [this](pthread_t* id, const pthread_attr_t*, ThreadFunction body,
                                       void* record) {
        *id = THREAD_ID;
        mStarts.push_back({body, record});
        return 0;
    };
}

void CaptureFixture::TearDown()
{
    JoinThreads();
    GetSeams() = {};
    GetHelperSeam() = {};
    GetStore().mLocalTime.reset();
    SetVerbose(0);
    LogFixture::TearDown();
}

ScriptedHelper<>* CaptureFixture::MakeHelper()
{
    auto* const helper = new ScriptedHelper<>(mScript);
    CmdPath& tools = *helper->mCmdPath;
    for (const auto& [tool, name] : {std::pair{&CmdPath::mCat, "cat"},
                                     {&CmdPath::mFree, "free"},
                                     {&CmdPath::mGcore, "gcore"},
                                     {&CmdPath::mGrep, "grep"},
                                     {&CmdPath::mGstack, "gstack"},
                                     {&CmdPath::mIostat, "iostat"},
                                     {&CmdPath::mMpstat, "mpstat"},
                                     {&CmdPath::mNetstat, "netstat"},
                                     {&CmdPath::mPmap, "pmap"},
                                     {&CmdPath::mPs, "ps"},
                                     {&CmdPath::mTop, "top"},
                                     {&CmdPath::mVmstat, "vmstat"}}) {
        tools.*tool = std::string("/t/") + name;
    }
    return helper;
}

void CaptureFixture::RunStarts()
{
    for (std::size_t next = 0; next < mStarts.size(); ++next) {
        const Start start = mStarts[next]; // a body may start more
        EXPECT_EQ(start.mBody(start.mRecord), nullptr);
    }
    mStarts.clear();
}

std::vector<bool> CaptureFixture::NoteEndOfRecord(ThreadFunction body, SnapshotData* record)
{
    std::vector<bool> notes;
    WatchForDelete(record);
    GetSeams().mGettimeofday = [&notes](struct timeval* now) {
        *now = {0, 0};
        notes.push_back(IsDeleted());
    };
    EXPECT_EQ(body(record), nullptr);
    GetSeams().mGettimeofday = nullptr;
    notes.push_back(IsDeleted());
    return notes;
}

void CaptureFixture::StartRealThreads()
{
    GetSeams().mPthreadCreate = [this](pthread_t* id, const pthread_attr_t*, ThreadFunction body,
                                       void* record) {
        const std::lock_guard<std::mutex> hold(mThreadsGuard);
        mThreads.emplace_back(body, record);
        *id = mThreads.back().native_handle();
        return 0;
    };
}

void CaptureFixture::JoinThreads()
{
    for (;;) {
        std::thread next;
        {
            const std::lock_guard<std::mutex> hold(mThreadsGuard);
            if (mThreads.empty()) {
                return;
            }
            next = std::move(mThreads.back());
            mThreads.pop_back();
        }
        next.join();
    }
}

void CaptureFixture::RefuseThreads()
{
    GetSeams().mPthreadCreate = [this](pthread_t*, const pthread_attr_t*, ThreadFunction body, void* record) {
        mStarts.push_back({body, record});
        return EAGAIN;
    };
}

void CaptureFixture::SetVerbose(int verbose)
{
    ConfigurationMgr::GetInstance()->mVerbose = verbose;
}

std::string CaptureFixture::Path(const std::string& folder, int pid, int number, const std::string& label,
                                 const std::string& suffix) const
{
    const std::string pidText = std::to_string(pid);
    return mRoot + "/" + folder + "/" + pidText + "/Evidence" + std::to_string(number) + "/" + pidText +
           "_13-11_02.10.28_" + label + (suffix.empty() ? "" : "." + suffix);
}

std::vector<std::string> CaptureFixture::GetEvidence() const
{
    std::vector<std::string> files;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(mRoot)) {
        if (!entry.is_directory()) {
            files.push_back(fs::relative(entry.path(), mRoot));
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}
