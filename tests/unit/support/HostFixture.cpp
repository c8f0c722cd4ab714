#include "support/HostFixture.h"

#include "platform/THUEnv.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>

#include <sys/stat.h>
#include <unistd.h>

bool IsOnIsolatedHost()
{
    return std::filesystem::exists("/run/thsentinel-isolated-host");
}

void WaitAMoment()
{
    (void)usleep(10000); // a signal may cut it short
}

void HostFixture::SetUp()
{
    if (!IsOnIsolatedHost()) {
        GTEST_SKIP() << "needs an isolated host: run it through script/host";
    }
    for (const std::string& folder :
         {GetTHTempPath(), GetTHLogPath(), GetTHBinPath(), GetTHWebserverTempPath()}) {
        std::filesystem::create_directories(folder);
    }
}

std::vector<std::string> HostFixture::GetLogLines()
{
    // Matched alone, for the matcher recurses into the length of its text and lines may be huge.
    static const std::regex stamp("[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2}:[0-9]{3} - ");
    constexpr std::size_t stampLength = 26;
    std::vector<std::string> lines;
    std::istringstream log(ReadFile(GetTHPerfMonLogFilePath()));
    for (std::string line; std::getline(log, line);) {
        // A line without a stamp continues the text of the one before.
        lines.push_back(std::regex_match(line.substr(0, stampLength), stamp) ? line.substr(stampLength)
                                                                             : "(no stamp)" + line);
    }
    return lines;
}

void HostFixture::ForgetLog()
{
    std::filesystem::remove(GetTHPerfMonLogFilePath());
}

std::string HostFixture::MakeFolder()
{
    char path[] = "/tmp/test-XXXXXX";
    if (mkdtemp(path) == nullptr) {
        ADD_FAILURE() << "no folder below /tmp can be made";
    }
    return path;
}

std::string ReadFile(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    std::ostringstream content;
    content << file.rdbuf();
    return content.str();
}

void WriteFile(const std::string& path, const std::string& content, unsigned mode)
{
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file << content;
    file.close();
    ASSERT_TRUE(file.good()) << path;
    ASSERT_EQ(chmod(path.c_str(), static_cast<mode_t>(mode)), 0) << path;
}
