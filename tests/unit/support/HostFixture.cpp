#include "support/HostFixture.h"

#include "platform/THUEnv.h"
#include "runner/NeedOfHost.h"

#include <filesystem>

void HostFixture::SetUp()
{
    RequireHost();
}

void RequireHost()
{
    if (!IsOnIsolatedHost()) {
        AskForHost();
        GTEST_SKIP() << "needs an isolated host: script/host";
    }
    for (const std::string& folder :
         {GetTHTempPath(), GetTHLogPath(), GetTHBinPath(), GetTHWebserverTempPath()}) {
        std::filesystem::create_directories(folder);
    }
}
