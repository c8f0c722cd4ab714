#include "platform/UnixHelperFunction.h"

#include "platform/CommandPath.h"
#include "platform/UnixFactoryMethods.h"

#include <syslog.h>

namespace
{
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
