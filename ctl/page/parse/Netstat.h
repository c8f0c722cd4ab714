#pragma once

#include "page/parse/Fields.h"

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace ctl
{

/** What one form of netstat lists. */
struct SocketListing
{
    /** Sockets by protocol family ("tcp", "udp") and state; datagram sockets without a state have "-". */
    std::map<std::string, std::map<std::string, int>> mStates;

    struct Peer
    {
        std::string mForeign; ///< address without the port
        std::string mProgram; ///< "pid/name", empty when the form doesn't show it
        int mSockets = 0;
        double mUnread = 0; ///< bytes in the receive queues
    };

    std::vector<Peer> mCloseWait;                ///< by peer and program
    std::map<std::string, int> mStatesOfProcess; ///< internet sockets of the process asked for, by state
    int mSocketCount = 0;
    int mUnixSockets = 0;
};

/**
 * Reads netstat's lists of sockets (-e, -nalp, -op, -tanoxp and the like) line by line; also filtered ones.
 */
class SocketParser
{
public:
    /** `pid` is the process whose sockets are counted apart; 0 for none. */
    explicit SocketParser(int pid = 0) : mPid(pid) {}

    void TakeLine(std::string_view line);
    const SocketListing& Get() const { return mListing; }

private:
    void TakeState(std::string_view protocol, std::string_view state);
    void TakeCloseWait(std::string_view foreign, std::string_view program, double unread);

    const int mPid;
    SocketListing mListing;
    std::vector<std::string_view> mWords;
};

/** A counter of `netstat -s` that speaks of trouble. */
struct NetworkTrouble
{
    std::string mText; ///< as the tool words it, without the number
    double mCount = 0;
};

/** Reads `netstat -s` and keeps the counters above zero that speak of trouble. */
class NetworkTroubleParser
{
public:
    void TakeLine(std::string_view line);
    const std::vector<NetworkTrouble>& Get() const { return mTroubles; }

private:
    std::vector<NetworkTrouble> mTroubles;
};

/** The forms of netstat, by the arguments of the section. */
enum class SocketForm
{
    All,
    CloseWaitByName,
    CloseWait,
    Established,
    Statistics,
    Filtered
};

/** Which form a command line runs, "…/netstat -nalp" being All. */
SocketForm FormOf(std::string_view commandLine);

} // namespace ctl
