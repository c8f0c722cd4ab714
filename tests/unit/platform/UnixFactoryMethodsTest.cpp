#include "platform/UnixFactoryMethods.h"

#include "platform/SUSECommandPath.h"
#include "platform/THOSVersion.h"
#include "platform/ToolHost.h"

#include <memory>

namespace
{
bool IsOfSuse(CmdPath* tools)
{
    const std::unique_ptr<CmdPath> owned(tools);
    return dynamic_cast<SuseCmdPath*>(tools) != nullptr;
}

using UnixFactoryMethods = ToolHost;
} // namespace

TEST(CmdPathKinds, MakeTheToolsOfSuseThereAlone)
{
    EXPECT_TRUE(IsOfSuse(MakeCmdPath(eOSSuse)));
    EXPECT_FALSE(IsOfSuse(MakeCmdPath(eOSRedHat)));
    EXPECT_FALSE(IsOfSuse(MakeCmdPath(eOSOther)));
    EXPECT_FALSE(IsOfSuse(MakeCmdPath(-1)));
    EXPECT_FALSE(IsOfSuse(MakeCmdPath(3)));
}

TEST(CmdPathKinds, MakeANewObjectEachTime)
{
    const std::unique_ptr<CmdPath> tools(MakeCmdPath(eOSOther));
    EXPECT_NE(std::unique_ptr<CmdPath>(MakeCmdPath(eOSOther)), tools);
}

TEST_F(UnixFactoryMethods, LookAtTheReleaseFilesAtEachCall)
{
    EXPECT_FALSE(IsOfSuse(GetCmdPathInstance()));
    mHost.Provide(SUSE_RELEASE);
    EXPECT_TRUE(IsOfSuse(GetCmdPathInstance()));
    mHost.Provide(REDHAT_RELEASE);
    EXPECT_FALSE(IsOfSuse(GetCmdPathInstance()));
}
