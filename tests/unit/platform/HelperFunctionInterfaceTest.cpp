#include "platform/HelperFunctionInterface.h"

#include "platform/CommandPath.h"
#include "platform/RhelHelperFunction.h"

#include <gtest/gtest.h>

#include <type_traits>

TEST(HelperFunctionInterface, IsAbstractAndDestroyedThroughItself)
{
    EXPECT_TRUE(std::is_abstract_v<HelperFunctionInterface>);
    EXPECT_TRUE(std::has_virtual_destructor_v<HelperFunctionInterface>);
    EXPECT_TRUE(std::has_virtual_destructor_v<CmdPath>);
    EXPECT_EQ(sizeof(HelperFunctionInterface), sizeof(void*));
}

TEST(HelperFunctionInterface, NumbersActionsAndLevels)
{
    EXPECT_EQ(HelperFunctionInterface::THPM_ACTION_INSTALL, 0);
    EXPECT_EQ(HelperFunctionInterface::THPM_ACTION_RUN, 1);
    EXPECT_EQ(HelperFunctionInterface::THPM_SYS_LOG_ERROR, 0);
    EXPECT_EQ(HelperFunctionInterface::THPM_SYS_LOG_WARNING, 1);
    EXPECT_EQ(HelperFunctionInterface::THPM_SYS_LOG_INFO, 2);
    EXPECT_EQ(HelperFunctionInterface::THPM_SYS_LOG_DEBUG, 3);
}
