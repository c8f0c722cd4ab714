#include "config/SharedSetting.h"

#include "config/ConcurrentReaders.h"
#include "support/LogFixture.h"

#include <gtest/gtest.h>

#include <string>

namespace
{
constexpr std::size_t LONGEST = 9000;
constexpr int COPIES = 5000; ///< that each reader makes at least

/** A text that shows where it was taken from: as many characters as its first says. */
std::string MakeText(std::size_t step)
{
    const char letter = static_cast<char>('a' + step % 26);
    return std::string(1 + step % 26 * (LONGEST / 26), letter);
}

bool IsWhole(const std::string& text)
{
    return !text.empty() && text == MakeText(static_cast<std::size_t>(text.front() - 'a'));
}

TEST(SharedText, IsCopiedWholeWhileItIsReplaced)
{
    std::string setting = MakeText(0);
    ConcurrentReaders readers([&setting] { return IsWhole(CopySharedText(setting)); });
    std::size_t step = 0;
    EXPECT_TRUE(WaitFor([&] {
        for (int change = 0; change < 1000; ++change) {
            PublishSharedText(setting, MakeText(++step));
        }
        return readers.HaveRead(COPIES);
    }));
    EXPECT_TRUE(readers.End());
}

TEST(SharedText, MayBeLongerThanAnyStore)
{
    std::string setting = "short";
    PublishSharedText(setting, std::string(20 * 1024 * 1024, 'y'));
    EXPECT_EQ(CopySharedText(setting).size(), 20U * 1024 * 1024);
}

TEST(SharedNumber, IsWhatWasSet)
{
    int setting = 1;
    SetSharedNumber(setting, -7);
    EXPECT_EQ(setting, -7);
    EXPECT_EQ(GetSharedNumber(setting), -7);
}
} // namespace
