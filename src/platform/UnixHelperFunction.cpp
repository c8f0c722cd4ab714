#include "platform/UnixHelperFunction.h"

#include "base/Console.h"
#include "config/ConfigurationMgr.h"
#include "config/KeyTable.h"
#include "platform/CommandPath.h"
#include "platform/THUEnv.h"
#include "platform/UnixFactoryMethods.h"

#include <cerrno>

#include <pthread.h>
#include <sys/stat.h>
#include <syslog.h>

namespace
{
constexpr mode_t FOLDER_MODE = 0755;

// Static initialisation runs on the main thread, and the thread that forks keeps its id in the child.
const pthread_t mainThreadId = pthread_self();

int GetPriority(HelperFunctionInterface::THPM_SYS_LOG_LEVEL level)
{
    switch (level) {
    case HelperFunctionInterface::THPM_SYS_LOG_ERROR:
        return LOG_ERR;
    case HelperFunctionInterface::THPM_SYS_LOG_WARNING:
        return LOG_WARNING;
    case HelperFunctionInterface::THPM_SYS_LOG_INFO:
        return LOG_INFO;
    default:
        return LOG_DEBUG;
    }
}
} // namespace

UnixHelperFunction::UnixHelperFunction() : mCmdPath(GetCmdPathInstance()), mCPUCount(0), mTotalMemoryInKB(0)
{}

UnixHelperFunction::~UnixHelperFunction()
{
    delete mCmdPath;
}

int UnixHelperFunction::PreCheckForAction(THPM_ACTION_TYPE type)
{
    return type == THPM_ACTION_RUN ? ConfigurationMgr::GetInstance()->ReadConfigurationFile() : 0;
}

int UnixHelperFunction::PostCheckForAction(THPM_ACTION_TYPE type)
{
    if (type == THPM_ACTION_INSTALL) {
        const std::string program = GetTHPerfMonBinName();
        ConsolePrint("Info: %s is a mandatory setting to start the %s.\n", THHS_EVIDENCE_PATH,
                     program.c_str());
        ConsolePrint("Please set the %s value in Tarnhaven configuration and perform '%s -start' to start "
                     "the process.\n",
                     THHS_EVIDENCE_PATH, program.c_str());
    }
    return 0;
}

int UnixHelperFunction::GetCPUCount()
{
    if (mCPUCount == 0) {
        SetCPUCount();
    }
    return mCPUCount;
}

std::int64_t UnixHelperFunction::GetTotalSizeOfMemoryInKB()
{
    if (mTotalMemoryInKB == 0) {
        SetTotalSizeOfMemoryInKB();
    }
    return mTotalMemoryInKB;
}

int UnixHelperFunction::FindProcessId(const std::string& /*processName*/)
{
    return 0;
}

void UnixHelperFunction::SendEmailNotification(std::string /*subject*/, std::string /*processName*/,
                                               int /*pid*/, unsigned long long /*threshold*/,
                                               unsigned long long /*usage*/, std::string /*unit*/,
                                               bool /*breached*/)
{}

void UnixHelperFunction::WriteLogToSystem(std::string text, THPM_SYS_LOG_LEVEL level)
{
    syslog(GetPriority(level), "%s", text.c_str());
}

bool UnixHelperFunction::CreateThreadWithoutWait(unsigned long& threadId, ThreadFunction function,
                                                 void* argument)
{
    // A failed creation may write to the id that it is given, so it gets one of its own.
    pthread_t created = 0;
    const bool success = pthread_create(&created, nullptr, function, argument) == 0;
    if (success) {
        threadId = created;
    }
    // After a failure too: that is meant. The id that came in is then the one that is detached.
    (void)pthread_detach(threadId);
    return success;
}

void UnixHelperFunction::CloseRunningThread(unsigned long threadId)
{
    // The thread may have ended or be detached; either is as good.
    (void)pthread_cancel(threadId);
    (void)pthread_join(threadId, nullptr);
}

bool UnixHelperFunction::HF_CreateDir(std::string path, bool /*recursive*/)
{
    return mkdir(path.c_str(), FOLDER_MODE) == 0 || errno == EEXIST;
}

bool UnixHelperFunction::HF_OpenFileInMode(FILE** file, std::string path, std::string mode)
{
    if (file == nullptr) {
        return false;
    }
    // With close-on-exec, or a tool that another thread starts meanwhile would have the file too.
    *file = fopen(path.c_str(), (mode + "e").c_str());
    return *file != nullptr;
}

bool UnixHelperFunction::HF_IsFileExist(std::string path)
{
    struct stat status = {};
    return stat(path.c_str(), &status) == 0;
}

bool UnixHelperFunction::HF_DoesFolderExist(const std::string& path)
{
    struct stat status = {};
    // The one bit and not the whole file type: block devices and sockets, whose types include it, count as
    // folders.
    return stat(path.c_str(), &status) == 0 && (status.st_mode & S_IFDIR) != 0;
}

unsigned long GetHarmlessThreadId()
{
    return mainThreadId;
}
