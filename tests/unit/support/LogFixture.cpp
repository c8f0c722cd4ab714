#include "support/LogFixture.h"

#include "platform/THUEnv.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>

#include <sys/stat.h>
#include <unistd.h>

namespace
{
std::string gLogPath;          // empty for the fixed place
int gOpensBeforeLostLine = -1; // negative where no line gets lost
} // namespace

// In place of the program's own.
std::string GetTHLogPath()
{
    if (gOpensBeforeLostLine >= 0 && gOpensBeforeLostLine-- == 0) {
        return "/no/such/folder";
    }
    return gLogPath.empty() ? AppendPaths(GetTHPath(), "logs") : gLogPath;
}

void SetLogPath(const std::string& path)
{
    gLogPath = path;
}

void LoseOneLogLine(int number)
{
    gOpensBeforeLostLine = number;
}

std::string GetConsole(const std::function<void()>& action)
{
    testing::internal::CaptureStdout();
    action();
    return testing::internal::GetCapturedStdout();
}

void WaitAMoment()
{
    (void)usleep(10000); // a signal may cut it short
}

void LogFixture::SetUp()
{
    SetLogPath(MakeFolder());
}

void LogFixture::TearDown()
{
    SetLogPath("");
    gOpensBeforeLostLine = -1;
}

Lines LogFixture::GetLogLines()
{
    // Matched alone, for the matcher recurses into the length of its text and lines may be huge.
    static const std::regex stamp("[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2}:[0-9]{3} - ");
    constexpr std::size_t stampLength = 26;
    Lines lines;
    std::istringstream log(ReadFile(GetTHPerfMonLogFilePath()));
    for (std::string line; std::getline(log, line);) {
        // A line without a stamp continues the text of the one before.
        lines.push_back(std::regex_match(line.substr(0, stampLength), stamp) ? line.substr(stampLength)
                                                                             : "(no stamp)" + line);
    }
    return lines;
}

void LogFixture::ForgetLog()
{
    std::filesystem::remove(GetTHPerfMonLogFilePath());
}

std::string LogFixture::MakeFolder()
{
    std::string path = std::filesystem::temp_directory_path() / "test-XXXXXX";
    if (mkdtemp(path.data()) == nullptr) {
        ADD_FAILURE() << "no folder can be made like " << path;
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
