#include "page/parse/Netstat.h"

#include <gtest/gtest.h>

#include "ctl/page/parse/Feed.h"

namespace ctl
{
namespace
{

SocketListing ReadSockets(std::string_view text)
{
    SocketParser parser;
    Feed(parser, text);
    return parser.Get();
}

constexpr const char* ALL = R"(Active Internet connections (servers and established)
Proto Recv-Q Send-Q Local Address           Foreign Address         State       PID/Program name    
tcp        0      0 0.0.0.0:2024            0.0.0.0:*               LISTEN      -                   
tcp        1      0 10.0.0.5:41000          10.0.0.9:8443           CLOSE_WAIT  4321/tbrd           
tcp6      12      0 fe80::1:41001           fe80::9:8443            CLOSE_WAIT  4321/tbrd           
tcp        3      0 10.0.0.5:41002          10.0.0.9:9000           CLOSE_WAIT  4321/tbrd           
tcp        0      0 10.0.0.5:41003          10.0.0.9:9000           FIN_WAIT2   -                   
udp        0      0 0.0.0.0:68              0.0.0.0:*                           611/dhclient        
Active UNIX domain sockets (servers and established)
Proto RefCnt Flags       Type       State         I-Node   PID/Program name     Path
unix  3      [ ]         DGRAM      CONNECTED     309161   7210/python3         /dev/log
)";

TEST(Sockets, AreCountedByStateOverBothFamilies)
{
    const SocketListing listing = ReadSockets(ALL);
    EXPECT_EQ(listing.mSocketCount, 6);
    EXPECT_EQ(listing.mUnixSockets, 1);
    EXPECT_EQ(listing.mStates.at("tcp"),
              (std::map<std::string, int>{{"CLOSE_WAIT", 3}, {"FIN_WAIT2", 1}, {"LISTEN", 1}}));
    EXPECT_EQ(listing.mStates.at("udp"), (std::map<std::string, int>{{"-", 1}}));
}

TEST(Sockets, InCloseWaitAreGroupedByPeerAndProgram)
{
    const SocketListing listing = ReadSockets(ALL);
    ASSERT_EQ(listing.mCloseWait.size(), 2u);
    EXPECT_EQ(listing.mCloseWait[0].mForeign, "10.0.0.9");
    EXPECT_EQ(listing.mCloseWait[0].mProgram, "4321/tbrd");
    EXPECT_EQ(listing.mCloseWait[0].mSockets, 2);
    EXPECT_EQ(listing.mCloseWait[0].mUnread, 4);
    EXPECT_EQ(listing.mCloseWait[1].mForeign, "fe80::9");
}

TEST(Sockets, OfTheProcessAreCountedApart)
{
    SocketParser parser(432);
    Feed(parser, "tcp 0 0 a:1 b:2 ESTABLISHED 4321/tbrd\ntcp 0 0 a:1 b:2 ESTABLISHED 432/tbrd\n");
    EXPECT_EQ(parser.Get().mStatesOfProcess, (std::map<std::string, int>{{"ESTABLISHED", 1}}));
}

TEST(Sockets, WithUserAndTimerColumnsAreRead)
{
    const SocketListing listing = ReadSockets(
        "tcp        7      0 a:1    b:2    CLOSE_WAIT  root       5555       99/x  off (0.00/0/0)\n"
        "udp        0      0 a:68   b:67   ESTABLISHED root       5556       \n");
    ASSERT_EQ(listing.mCloseWait.size(), 1u);
    EXPECT_EQ(listing.mCloseWait[0].mProgram, "99/x");
    EXPECT_EQ(listing.mStates.at("udp").at("ESTABLISHED"), 1);
}

TEST(Sockets, StayWithinLimits)
{
    SocketParser parser;
    for (int peer = 0; peer < 300; ++peer) {
        parser.TakeLine("tcp 0 0 a:1 b:2 STATE" + std::to_string(peer));
    }
    EXPECT_EQ(parser.Get().mStates.at("tcp").size(), 32u);
}

TEST(NetworkTroubles, AreTheCountersAboveZeroThatSpeakOfThem)
{
    NetworkTroubleParser parser;
    Feed(parser, R"(Ip:
    Forwarding: 2
    4616 total packets received
    0 incoming packets discarded
Tcp:
    25 segments retransmitted
    0 bad segments received
    2 resets sent
TcpExt:
    7 times the listen queue of a socket overflowed
    TCPTimeouts: 3
    TCPSynRetrans: 0
)");
    ASSERT_EQ(parser.Get().size(), 3u + 0u);
    EXPECT_EQ(parser.Get()[0].mText, "segments retransmitted");
    EXPECT_EQ(parser.Get()[0].mCount, 25);
    EXPECT_EQ(parser.Get()[1].mText, "resets sent");
    EXPECT_EQ(parser.Get()[2].mText, "times the listen queue of a socket overflowed");
}

TEST(SocketForms, FollowTheArguments)
{
    EXPECT_EQ(FormOf("/usr/bin/netstat -nalp"), SocketForm::All);
    EXPECT_EQ(FormOf("/bin/netstat -p --tcp | grep CLOSE_WAIT"), SocketForm::CloseWaitByName);
    EXPECT_EQ(FormOf("/bin/netstat -na | grep CLOSE_WAIT"), SocketForm::CloseWait);
    EXPECT_EQ(FormOf("/bin/netstat -e"), SocketForm::Established);
    EXPECT_EQ(FormOf("/bin/netstat -s"), SocketForm::Statistics);
    EXPECT_EQ(FormOf("/bin/netstat -tanoxp | /usr/bin/grep 12"), SocketForm::Filtered);
}

TEST(Sockets, HostileTextIsCountedAtMost)
{
    for (const std::string& text : HOSTILE_TEXTS) {
        EXPECT_LE(ReadSockets(text).mSocketCount, 5) << text.substr(0, 40);
        NetworkTroubleParser troubles;
        Feed(troubles, text);
        EXPECT_TRUE(troubles.Get().empty());
    }
}

} // namespace
} // namespace ctl
