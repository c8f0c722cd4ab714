#include "ctl/page/html/PartText.h"

#include <gmock/gmock.h>

namespace ctl
{
namespace
{

using testing::HasSubstr;
using testing::Not;

ReportData MakeSockets()
{
    ReportData data;
    data.mProcess = "tbrd";
    data.mPid = 66;
    data.mSockets.mSocketCount = 12;
    data.mSockets.mStates["tcp"] = {{"CLOSE_WAIT", 10}, {"LISTEN", 2}};
    data.mSockets.mStatesOfProcess = {{"CLOSE_WAIT", 9}};
    return data;
}

TEST(NetworkPart, CountsSocketsByStateAndThoseOfTheProcess)
{
    ReportData data = MakeSockets();
    EXPECT_THAT(ReadPart(WriteNetwork, data), HasSubstr("|tcp|CLOSE_WAIT|10|9|tcp|LISTEN|2|0|"));
    EXPECT_THAT(ReadPart(WriteNetwork, data), Not(HasSubstr("within the machine")));
    data.mSockets.mUnixSockets = 3;
    EXPECT_THAT(ReadPart(WriteNetwork, data), HasSubstr("And 3 sockets within the machine."));
}

TEST(NetworkPart, NamesThePeersInCloseWaitMostFirst)
{
    ReportData data = MakeSockets();
    EXPECT_THAT(ReadPart(WriteNetwork, data), HasSubstr("No socket is in CLOSE_WAIT."));
    data.mSockets.mCloseWait = {{"10.0.0.2", "", 1, 0}, {"10.0.0.1", "66/tbrd", 9, 120}};
    EXPECT_THAT(ReadPart(WriteNetwork, data), HasSubstr("|10.0.0.1|66/tbrd|9|120|10.0.0.2|not known|1|0|"));
}

} // namespace
} // namespace ctl
