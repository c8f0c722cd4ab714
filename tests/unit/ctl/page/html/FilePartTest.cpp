#include "ctl/page/html/PartText.h"

#include <gmock/gmock.h>

namespace ctl
{
namespace
{

using testing::HasSubstr;

TEST(FilePart, NamesStateProblemsAndEachFile)
{
    ReportData data;
    data.mState = "incomplete";
    data.mProblems = {"a.Netstat: is missing"};
    data.mNotes = {"The settings are not known."};
    data.mFiles = {
        {"a.4321", "core", 0, ""}, {"a.hprof", "hprof", 2048, "is a symbolic link"}, {"a.x", "new", 1, ""}};
    const std::string text = ReadPart(WriteFiles, data);
    EXPECT_THAT(text, HasSubstr("|incomplete|What is missing or short|a.Netstat: is missing|"
                                "Good to know|The settings are not known.|"));
    EXPECT_THAT(text, HasSubstr("|a.4321|core image of the process|0 B|"
                                "a.hprof|heap of the Java process|2 KiB|not read: is a symbolic link|"));
    EXPECT_THAT(text, HasSubstr("|a.x|new|1 B|")) << "a kind without words keeps its name";
    data.mState = "";
    EXPECT_THAT(ReadPart(WriteFiles, data), HasSubstr("|not checked|"));
}

} // namespace
} // namespace ctl
