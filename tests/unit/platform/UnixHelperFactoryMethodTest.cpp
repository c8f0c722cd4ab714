#include "platform/UnixHelperFactoryMethod.h"

#include "platform/RhelHelperFunction.h"
#include "platform/ToolHost.h"

#include <functional>
#include <memory>

namespace
{
struct Factory
{
    const char* mName;
    std::function<HelperFunctionInterface*()> mMake;
};

class UnixHelperFactoryMethod : public ToolHost, public testing::WithParamInterface<Factory>
{
protected:
    /** True when the factory makes the helper of Red Hat. */
    static bool MakesRhelHelper()
    {
        const std::unique_ptr<HelperFunctionInterface> helper(GetParam().mMake());
        EXPECT_NE(dynamic_cast<UnixHelperFunction*>(helper.get()), nullptr);
        return dynamic_cast<RhelHelperFunction*>(helper.get()) != nullptr;
    }
};
} // namespace

TEST_P(UnixHelperFactoryMethod, MakesThePlainHelperWithoutAReleaseFile)
{
    EXPECT_FALSE(MakesRhelHelper());
}

TEST_P(UnixHelperFactoryMethod, MakesThePlainHelperOnSuse)
{
    mHost.Provide(SUSE_RELEASE);
    EXPECT_FALSE(MakesRhelHelper());
}

TEST_P(UnixHelperFactoryMethod, MakesTheHelperOfRedHatOnRedHatAndOracle)
{
    mHost.Provide(ORACLE_RELEASE);
    EXPECT_TRUE(MakesRhelHelper());
    mHost.Remove(ORACLE_RELEASE);
    EXPECT_FALSE(MakesRhelHelper());
    mHost.Provide(REDHAT_RELEASE);
    EXPECT_TRUE(MakesRhelHelper());
}

TEST_P(UnixHelperFactoryMethod, MakesTheHelperOfRedHatWhereSuseIsFoundToo)
{
    mHost.Provide(REDHAT_RELEASE);
    mHost.Provide(SUSE_RELEASE);
    EXPECT_TRUE(MakesRhelHelper());
}

TEST_P(UnixHelperFactoryMethod, MakesANewObjectEachTime)
{
    const std::unique_ptr<HelperFunctionInterface> first(GetParam().mMake());
    const std::unique_ptr<HelperFunctionInterface> second(GetParam().mMake());
    EXPECT_NE(first, second);
}

INSTANTIATE_TEST_SUITE_P(BothDeclaredKinds, UnixHelperFactoryMethod,
                         testing::Values(Factory{"Interface", GetHelperFunctionInstance},
                                         Factory{"UnixHelper", GetUnixHelperFunctionInstance}),
                         [](const auto& test) { return test.param.mName; });
