#include "config/SettingText.h"

#include "support/HostFixture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace
{
constexpr std::size_t LONGEST = 9000;
constexpr int COPIES = 5000; ///< that each reader makes at least

TEST(SettingText, StartsEmptyWithItsRoom)
{
    std::string setting;
    PrepareSettingText(setting);
    EXPECT_EQ(setting, "");
    EXPECT_GE(setting.capacity(), SETTING_TEXT_ROOM);
}

TEST(SettingText, KeepsItsBufferForEveryTextThatAStoreCanHold)
{
    std::string setting;
    PrepareSettingText(setting);
    const char* const buffer = setting.data();
    for (const std::size_t size : {std::size_t{0}, std::size_t{15}, std::size_t{16}, std::size_t{4096},
                                   SETTING_TEXT_ROOM, std::size_t{1}, std::size_t{0}}) {
        const std::string text(size, 'x');
        AssignSettingText(setting, text);
        EXPECT_EQ(setting.data(), buffer) << size;
        EXPECT_TRUE(setting == text) << size;
    }
}

TEST(SettingText, ReplacesAndDoesNotAppend)
{
    std::string setting;
    PrepareSettingText(setting);
    AssignSettingText(setting, "/a/long/path");
    AssignSettingText(setting, "/b");
    EXPECT_EQ(setting, "/b");
}

TEST(SettingText, MayBeATextWithoutRoom)
{
    std::string text = "short";
    AssignSettingText(text, std::string(100000, 'y'));
    EXPECT_EQ(text, std::string(100000, 'y'));
}

/** Copies a setting until it is told to stop. */
class Reader
{
public:
    Reader(const std::string& setting, const std::atomic<bool>& isDone)
        : mThread([this, &setting, &isDone] {
              while (!isDone) {
                  Copy(setting);
              }
          })
    {}

    void Join() { mThread.join(); }

    std::atomic<int> mCopies = 0;
    bool mSawForeign = false; ///< bytes that belong to no text ever set
    std::size_t mLongest = 0;

private:
    void Copy(const std::string& setting)
    {
        const std::string copy = setting;
        ++mCopies;
        mLongest = std::max(mLongest, copy.size());
        // The NUL that ends a half-written text may stand anywhere.
        mSawForeign |= copy.find_first_not_of(std::string("ab\0", 3)) != std::string::npos;
    }

    std::thread mThread;
};

TEST(SettingText, LetsReadersCopyWhileItChanges)
{
#ifdef __SANITIZE_THREAD__
    GTEST_SKIP() << "settings are read without a lock, which the thread sanitizer reports";
#endif
    std::string setting;
    PrepareSettingText(setting);
    std::atomic<bool> isDone = false;
    std::vector<std::unique_ptr<Reader>> readers;
    for (int reader = 0; reader < 3; ++reader) {
        readers.push_back(std::make_unique<Reader>(setting, isDone));
    }
    std::size_t step = 0;
    const bool didAllRead = WaitFor([&] {
        for (int change = 0; change < 2000; ++change, ++step) {
            AssignSettingText(setting, std::string(step * 7919 % (LONGEST + 1), step % 2 == 0 ? 'a' : 'b'));
        }
        return std::all_of(readers.begin(), readers.end(),
                           [](const auto& reader) { return reader->mCopies >= COPIES; });
    });
    isDone = true;
    EXPECT_TRUE(didAllRead);
    for (const auto& reader : readers) {
        reader->Join();
        EXPECT_FALSE(reader->mSawForeign);
        EXPECT_LE(reader->mLongest, LONGEST);
    }
}
} // namespace
