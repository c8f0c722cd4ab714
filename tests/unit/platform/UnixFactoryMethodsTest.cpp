#include "platform/UnixFactoryMethods.h"

#include "platform/SUSECommandPath.h"
#include "platform/ToolHost.h"

#include <memory>

namespace
{
using UnixFactoryMethods = ToolHost;

/** True when the factory makes the kind for SUSE. */
bool MakesSuseTools()
{
    const std::unique_ptr<CmdPath> tools(GetCmdPathInstance());
    return dynamic_cast<SuseCmdPath*>(tools.get()) != nullptr;
}
} // namespace

TEST_F(UnixFactoryMethods, MakeTheUsualToolsWithoutAReleaseFile)
{
    EXPECT_FALSE(MakesSuseTools());
}

TEST_F(UnixFactoryMethods, MakeTheUsualToolsOnRedHatAndOracle)
{
    mHost.Provide(REDHAT_RELEASE);
    EXPECT_FALSE(MakesSuseTools());
    mHost.Remove(REDHAT_RELEASE);
    mHost.Provide(ORACLE_RELEASE);
    EXPECT_FALSE(MakesSuseTools());
}

TEST_F(UnixFactoryMethods, MakeTheToolsOfSuseThereAlone)
{
    mHost.Provide(SUSE_RELEASE);
    EXPECT_TRUE(MakesSuseTools());
    mHost.Provide(REDHAT_RELEASE);
    EXPECT_FALSE(MakesSuseTools());
}

TEST_F(UnixFactoryMethods, MakeANewObjectEachTime)
{
    const std::unique_ptr<CmdPath> first(GetCmdPathInstance());
    const std::unique_ptr<CmdPath> second(GetCmdPathInstance());
    EXPECT_NE(first, second);
}
