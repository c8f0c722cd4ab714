#include "thbase.h"

#include <cerrno>
#include <cstdio>
#include <ctime>
#include <limits>
#include <memory>
#include <string>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "FreshProcess.h"
#include "LibraryUnderTest.h"

namespace
{

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

TEST(BaseLibrary, ShowsItsSixCallsAndNothingElse)
{
    EXPECT_THAT(
        GetLines("nm -D --defined-only -P '" + GetLibraryPath() + "' | cut -d' ' -f1"),
        UnorderedElementsAre("get_master_config_ptr", "thconfGetKeyValPair", "thconfGetKeyValPairAsInt",
                             "TH_forced_read_master_config", "T_localtime", "T_fscanf"));
}

TEST(BaseLibrary, NeedsTheLanguagesOwnLibrariesOnly)
{
    if (IS_SANITIZED) {
        GTEST_SKIP() << "a sanitizer brings libraries of its own";
    }
    const std::vector<std::string> needed =
        GetLines("objdump -p '" + GetLibraryPath() + "' | awk '$1 == \"NEEDED\" {print $2}'");
    EXPECT_THAT(needed, testing::IsSupersetOf({"libstdc++.so.6", "libc.so.6"}));
    EXPECT_THAT(needed, testing::IsSubsetOf({"libstdc++.so.6", "libgcc_s.so.1", "libc.so.6"}));
}

TEST(BaseLibrary, HasAPlainNameThatTheProductsOwnCanStandInFor)
{
    EXPECT_THAT(GetLines("objdump -p '" + GetLibraryPath() + "' | awk '$1 == \"SONAME\" {print $2}'"),
                ElementsAre("libthbase.so"));
    EXPECT_THAT(GetLines("objdump -p '" + GetLibraryPath() + "' | awk '/^Version definitions/'"), IsEmpty());
}

TEST(BaseLibrary, IsCalledFromPlainC)
{
    EXPECT_THAT(GetLines("echo '77 abcdef' | TZ=UTC0 '" + GetCallerPath() + "' 2>&1"),
                ElementsAre("2 conversions: 77 [abc]", "70"));
}

TEST(BaseLibrary, RefusesAHandleThatIsNotItsOwn)
{
    EXPECT_EQ(RunInFreshProcess([] {
                  int foreign = 0;
                  for (void* const handle : {static_cast<void*>(nullptr), static_cast<void*>(&foreign)}) {
                      char* text = nullptr;
                      int number = 4711;
                      EXPECT_EQ(thconfGetKeyValPair(handle, "KEY", &text), STORE_RC_BAD_ARGUMENT);
                      EXPECT_EQ(thconfGetKeyValPairAsInt(handle, "KEY", &number), STORE_RC_BAD_ARGUMENT);
                      EXPECT_EQ(text, nullptr);
                      EXPECT_EQ(number, 4711);
                  }
              }),
              0);
}

TEST(LocalTime, IsThatOfTheCLibrary)
{
    for (const time_t time :
         {time_t{0}, time_t{-1}, time_t{951'782'400}, time_t{4'102'444'800}, time_t{1'711'846'799}}) {
        struct tm ours = {};
        struct tm theirs = {};
        ASSERT_EQ(T_localtime(&time, &ours), &ours);
        ASSERT_EQ(localtime_r(&time, &theirs), &theirs);
        EXPECT_EQ(std::mktime(&ours), time);
        EXPECT_EQ(std::string(std::asctime(&ours)), std::string(std::asctime(&theirs)));
        EXPECT_EQ(ours.tm_isdst, theirs.tm_isdst);
    }
}

TEST(LocalTime, FailsForAYearThatDoesNotFit)
{
    const time_t time = std::numeric_limits<time_t>::max();
    struct tm result = {};
    errno = 0;
    EXPECT_EQ(T_localtime(&time, &result), nullptr);
    EXPECT_EQ(errno, EOVERFLOW);
}

TEST(LocalTime, RefusesNullArguments)
{
    const time_t time = 0;
    struct tm result = {};
    errno = 0;
    EXPECT_EQ(T_localtime(nullptr, &result), nullptr);
    EXPECT_EQ(errno, EINVAL);
    errno = 0;
    EXPECT_EQ(T_localtime(&time, nullptr), nullptr);
    EXPECT_EQ(errno, EINVAL);
}

/** A stream over a text. */
std::unique_ptr<std::FILE, int (*)(std::FILE*)> OpenText(const std::string& text)
{
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> stream(std::tmpfile(), std::fclose);
    EXPECT_EQ(std::fwrite(text.data(), 1, text.size(), stream.get()), text.size());
    std::rewind(stream.get());
    return stream;
}

TEST(Fscanf, RefusesNullArguments)
{
    int value = 4711;
    errno = 0;
    EXPECT_EQ(T_fscanf(nullptr, "%d", &value, 4), -1);
    EXPECT_EQ(errno, EINVAL);
    errno = 0;
    EXPECT_EQ(T_fscanf(OpenText("1").get(), nullptr, &value, 4), -1);
    EXPECT_EQ(errno, EINVAL);
    EXPECT_EQ(value, 4711);
}

TEST(Fscanf, TakesAPointerAndItsSizeForEachConversion)
{
    int value = 4711;
    char text[4] = "";
    EXPECT_EQ(T_fscanf(OpenText("12 word 0x1F").get(), "%d%s%*i", &value, 4, text, 4), 2);
    EXPECT_EQ(value, 12);
    EXPECT_STREQ(text, "wor");
    EXPECT_EQ(T_fscanf(OpenText("").get(), "%d", &value, 4), -1);
    EXPECT_EQ(T_fscanf(OpenText("abc").get(), "%d", &value, 4), 0);
    EXPECT_EQ(value, 12);
}

TEST(Fscanf, LeavesTheStreamUnlocked)
{
    const auto stream = OpenText("1");
    int value = 0;
    EXPECT_EQ(T_fscanf(stream.get(), "%d", &value, 4), 1);
    int result = -1;
    std::thread other([&] {
        result = ftrylockfile(stream.get());
        if (result == 0) {
            funlockfile(stream.get());
        }
    });
    other.join();
    EXPECT_EQ(result, 0);
}

TEST(Fscanf, IsNoCancellationPoint)
{
    const auto stream = OpenText("12");
    int value = 0;
    EXPECT_TRUE(IsFinishedWhenCancelled([&] { (void)T_fscanf(stream.get(), "%d", &value, 4); }));
    EXPECT_EQ(value, 12);
}

} // namespace
