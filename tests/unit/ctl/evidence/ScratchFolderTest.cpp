#include "evidence/ScratchFolder.h"

#include "ctl/evidence/EvidenceFolder.h"

#include <memory>

#include <unistd.h>

using namespace ctl;
namespace fs = std::filesystem;

TEST(ScratchFolderOfARun, IsForItsOwnerAloneAndGoesWithAllInIt)
{
    const EvidenceFolder where;
    auto scratch = std::make_unique<ScratchFolder>(where.GetPath(), false);
    const fs::path path = scratch->GetPath();
    EXPECT_EQ(fs::status(path).permissions(), fs::perms::owner_all);
    EXPECT_EQ(path.parent_path(), where.GetPath());
    std::ofstream(path / "output") << "x";
    scratch.reset();
    EXPECT_FALSE(fs::exists(path));
}

TEST(ScratchFolderOfARun, StaysWhenItIsToBeKept)
{
    const EvidenceFolder where;
    auto scratch = std::make_unique<ScratchFolder>(where.GetPath(), true);
    const std::string path = scratch->GetPath();
    scratch.reset();
    EXPECT_TRUE(fs::exists(path));
}

TEST(ScratchFolderOfARun, LetsAnotherUserIntoAFolderOfItsOwnAlone)
{
    const EvidenceFolder where;
    const ScratchFolder scratch(where.GetPath(), false);
    const std::string path = scratch.MakeFolderFor(getuid(), getgid());
    EXPECT_EQ(fs::status(path).permissions(), fs::perms::owner_all);
    EXPECT_EQ(fs::status(scratch.GetPath()).permissions(),
              fs::perms::owner_all | fs::perms::group_exec | fs::perms::others_exec)
        << "passed through and not listed";
    EXPECT_THROW(scratch.MakeFolderFor(getuid(), getgid()), std::runtime_error) << "there is one already";
}

TEST(ScratchFolderOfARun, NeedsItsPlace)
{
    EXPECT_THROW(ScratchFolder("/absent", false), std::runtime_error);
}
