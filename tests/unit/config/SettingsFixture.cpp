#include "config/SettingsFixture.h"

#include "config/ConfigurationMgr.h"
#include "platform/THUEnv.h"

#include <cstdio>
#include <filesystem>

#include <sys/stat.h>
#include <unistd.h>

void SettingsFixture::StartAnew()
{
    ForgetConfiguration();
    std::filesystem::remove_all(GetTHPerfMonLogPath());
}

void SettingsFixture::SpoilLogFolder()
{
    std::filesystem::remove_all(GetTHPerfMonLogPath());
    WriteFile(GetTHPerfMonLogPath(), "not a folder");
}

std::vector<off_t> GetConsoleSizesAtLogLines(const std::function<void()>& action)
{
    std::vector<off_t> sizes;
    GetSeams().mGettimeofday = [&sizes](struct timeval* now) {
        *now = {0, 0};
        (void)fflush(stdout);
        struct stat status = {};
        EXPECT_EQ(fstat(STDOUT_FILENO, &status), 0);
        sizes.push_back(status.st_size);
    };
    (void)GetConsole(action);
    GetSeams().mGettimeofday = nullptr;
    return sizes;
}

bool IsAsleep(pid_t thread)
{
    const std::string status = ReadFile("/proc/self/task/" + std::to_string(thread) + "/stat");
    const std::size_t afterName = status.rfind(") ");
    return afterName != std::string::npos && status[afterName + 2] == 'S';
}
