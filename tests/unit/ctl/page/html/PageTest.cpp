#include "page/html/Page.h"

#include "page/html/Assets.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <regex>

namespace ctl
{
namespace
{

using testing::HasSubstr;
using testing::Not;

constexpr const char* HOSTILE = "<script>alert('x')</script>\"&\x1b[31m\xff</title></style>";

ReportData MakeBreach()
{
    ReportData data;
    data.mProcess = "tbrd";
    data.mPid = 66;
    data.mResource = "cpu";
    data.mNumber = 1;
    data.mWall = 1794535648;
    data.mHasLog = true;
    TimelineEvent breach;
    breach.kind = LogEventKind::Breach;
    breach.mWall = data.mWall;
    breach.resource = "cpu";
    breach.process = "tbrd";
    breach.reading = 95;
    breach.limit = 10;
    breach.unit = "Percent";
    data.mBreach = breach;
    data.mEvents.push_back(breach);
    return data;
}

/** Every text of a set is hostile. */
ReportData MakeHostile()
{
    ReportData data = MakeBreach();
    for (std::string* text :
         {&data.mProcess, &data.mResource, &data.mSetId, &data.mPath, &data.mHost, &data.mKernel,
          &data.mState, &data.mStackSource, &data.mJava.mVersion, &data.mEvents[0].unit}) {
        *text = HOSTILE;
    }
    data.mEvents.push_back(data.mEvents[0]);
    data.mEvents.back().kind = LogEventKind::Failure;
    data.mEvents.back().detail = HOSTILE;
    data.mProcesses[7].mCommand = HOSTILE;
    data.mProcesses[7].mHighestCpu = data.mProcesses[7].mHighestResident = 1;
    for (Wall wall : {1, 2}) {
        data.mDisks[HOSTILE].push_back({wall, {HOSTILE, 1, 1, 1, 1, 1, 1, 1}});
    }
    Mapping mapping;
    mapping.mName = mapping.mRange = mapping.mAccess = HOSTILE;
    mapping.mCount = 1;
    data.mMappings.mByName[HOSTILE] = data.mMappings.mTotal = mapping;
    data.mMappings.mLargest.push_back(mapping);
    data.mSockets.mStates[HOSTILE][HOSTILE] = data.mSockets.mSocketCount = 1;
    data.mSockets.mCloseWait.push_back({HOSTILE, HOSTILE, 20, 1});
    data.mNetworkTroubles.push_back({HOSTILE, 1});
    data.mStacks = {{{HOSTILE, {HOSTILE}, {HOSTILE}, 1}}, 1, 0};
    data.mJava.mHasHead = true;
    data.mJava.mStates[HOSTILE] = 1;
    data.mJava.mDeadlocks.push_back(HOSTILE);
    data.mJava.mContended.push_back({HOSTILE, HOSTILE, HOSTILE, {HOSTILE}, {}});
    data.mJava.mStacks = data.mStacks.mGroups;
    data.mFiles.push_back({HOSTILE, HOSTILE, 1, HOSTILE});
    data.mProblems.push_back(HOSTILE);
    data.mNotes.push_back(HOSTILE);
    return data;
}

/** The page without the library and the script, whose texts are their own. */
std::string WithoutScripts(std::string page)
{
    for (const std::string_view script :
         {REPORT_JS, DYGRAPH_MIN_JS.substr(0, DYGRAPH_MIN_JS.rfind("\n//#"))}) {
        const auto found = page.find(script);
        EXPECT_NE(found, std::string::npos);
        page.erase(found, script.size());
    }
    return page;
}

TEST(Page, SaysTheBreachInOneSentence)
{
    const std::string page = WritePage(MakeBreach());
    EXPECT_THAT(
        page,
        HasSubstr("<h1><b>tbrd</b> (process 66) used 95.00 % of this machine&#39;s processors; its limit is "
                  "10 %.</h1>"));
    EXPECT_THAT(page, HasSubstr("<dd>9.5 times the limit, 85.00 percentage points above it.</dd>"));
}

TEST(Page, OfASetWithNothingInItSaysWhatIsMissing)
{
    const std::string page = WritePage(ReportData());
    for (const char* text : {"There is no diagnostic log of that day", "The set has no memory statistics.",
                             "The set has no process listing.", "The set has no memory map of the process",
                             "The set has no disk samples", "The set has no list of sockets.",
                             "The set has no stacks of threads."}) {
        EXPECT_THAT(page, HasSubstr(text));
    }
    EXPECT_THAT(page, Not(HasSubstr("id=\"java\"")));
}

TEST(Page, EscapesEveryTextFromOutside)
{
    const std::string page = WithoutScripts(WritePage(MakeHostile()));
    EXPECT_THAT(page, Not(HasSubstr("<script>alert")));
    EXPECT_THAT(page, Not(HasSubstr("</title></style>")));
    EXPECT_THAT(page, Not(HasSubstr("\x1b")));
    EXPECT_THAT(page, Not(HasSubstr("\xff")));
    EXPECT_THAT(page, HasSubstr("&lt;script&gt;alert(&#39;x&#39;)&lt;/script&gt;&quot;&amp;\\x1B[31m\\xFF"));
}

TEST(Page, RefersToNothingOutsideItself)
{
    const std::string page = WithoutScripts(WritePage(MakeHostile()));
    EXPECT_FALSE(std::regex_search(page, std::regex("(src|href|action|data)=\"[^#]")));
    EXPECT_THAT(page, Not(HasSubstr("url(")));
    EXPECT_THAT(page, Not(HasSubstr("@import")));
    EXPECT_THAT(page, Not(HasSubstr("sourceMappingURL")));
    EXPECT_FALSE(std::regex_search(page, std::regex("<[^>]* style=")));
    EXPECT_FALSE(std::regex_search(page, std::regex("<[^>]* on[a-z]+=")));
}

TEST(Page, AllowsItsOwnScriptsAndStyleAlone)
{
    const std::string page = WritePage(MakeBreach());
    const auto begin = page.find("<style>") + 7;
    const std::string style = page.substr(begin, page.find("</style>") - begin);
    EXPECT_THAT(page, HasSubstr("default-src 'none'; img-src data:; style-src '" + HashForPolicy(style) +
                                "'; script-src '"));
    EXPECT_THAT(page,
                HasSubstr("'" + HashForPolicy(REPORT_JS) + "'; base-uri 'none'; form-action 'none'\">"));
}

TEST(Page, HashesAsPoliciesNameThem)
{
    EXPECT_EQ(HashForPolicy(""), "sha256-47DEQpj8HBSa+/TImW+5JCeuQeRkm5NMpJWZG3hSuFU=");
}

} // namespace
} // namespace ctl
