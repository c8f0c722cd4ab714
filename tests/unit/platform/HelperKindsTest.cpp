#include "platform/HelperKinds.h"

#include "platform/RhelHelperFunction.h"
#include "platform/THOSVersion.h"

#include <gtest/gtest.h>

#include <memory>

namespace
{
bool IsOfRedHat(int osType)
{
    const std::unique_ptr<UnixHelperFunction> helper(MakeUnixHelper(osType));
    return dynamic_cast<RhelHelperFunction*>(helper.get()) != nullptr;
}
} // namespace

TEST(HelperKinds, MakeTheHelperOfRedHatThereAlone)
{
    EXPECT_TRUE(IsOfRedHat(eOSRedHat));
    EXPECT_FALSE(IsOfRedHat(eOSSuse));
    EXPECT_FALSE(IsOfRedHat(eOSOther));
    EXPECT_FALSE(IsOfRedHat(-1));
    EXPECT_FALSE(IsOfRedHat(3));
}

TEST(HelperKinds, MakeANewObjectEachTime)
{
    const std::unique_ptr<UnixHelperFunction> first(MakeUnixHelper(eOSOther));
    const std::unique_ptr<UnixHelperFunction> second(MakeUnixHelper(eOSOther));
    EXPECT_NE(first, second);
}
