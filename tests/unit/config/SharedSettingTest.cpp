#include "config/SharedSetting.h"

#include "support/HostFixture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <string>
#include <thread>
#include <vector>

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
    std::vector<std::atomic<int>> copies(3);
    std::atomic<bool> isDone = false;
    std::atomic<bool> isEachWhole = true;
    std::vector<std::thread> readers;
    for (std::atomic<int>& count : copies) {
        readers.emplace_back([&] {
            while (!isDone) {
                isEachWhole = isEachWhole && IsWhole(CopySharedText(setting));
                ++count;
            }
        });
    }
    std::size_t step = 0;
    const bool didAllRead = WaitFor([&] {
        for (int change = 0; change < 1000; ++change) {
            PublishSharedText(setting, MakeText(++step));
        }
        return std::all_of(copies.begin(), copies.end(),
                           [](const std::atomic<int>& count) { return count >= COPIES; });
    });
    isDone = true;
    for (std::thread& reader : readers) {
        reader.join();
    }
    EXPECT_TRUE(didAllRead);
    EXPECT_TRUE(isEachWhole);
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
