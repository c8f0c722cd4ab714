#include "page/parse/Netstat.h"

#include <algorithm>

namespace ctl
{

namespace
{
constexpr std::size_t STATE_COLUMN = 5;
constexpr std::size_t MOST_PEERS = 10000;
constexpr std::size_t MOST_STATES = 32;
constexpr std::size_t LONGEST_STATE = 32;
constexpr std::size_t MOST_TROUBLES = 100;

bool IsInternet(std::string_view protocol)
{
    return protocol.starts_with("tcp") || protocol.starts_with("udp") || protocol.starts_with("sctp") ||
           protocol.starts_with("raw");
}

/** "tcp" of "tcp6": both families count together. */
std::string_view FamilyOf(std::string_view protocol)
{
    return protocol.ends_with('6') ? protocol.substr(0, protocol.size() - 1) : protocol;
}

bool IsState(std::string_view word)
{
    return !word.empty() && std::all_of(word.begin(), word.end(), [](char letter) {
        return (letter >= 'A' && letter <= 'Z') || letter == '_' || (letter >= '0' && letter <= '9');
    }) && !IsDigits(word);
}

bool IsProgram(std::string_view word)
{
    const auto slash = word.find('/');
    return slash != std::string_view::npos && IsDigits(word.substr(0, slash));
}

std::string_view WithoutPort(std::string_view address)
{
    return address.substr(0, address.rfind(':'));
}

bool SpeaksOfTrouble(std::string_view text)
{
    constexpr std::string_view WORDS[] = {"retrans", "overflow",     "drop",     "prune", "collapsed",
                                          "reset",   "fail",         "timeout",  "bad ",  "error",
                                          "reject",  "memory press", "discarded"};
    return std::any_of(std::begin(WORDS), std::end(WORDS),
                       [=](std::string_view word) { return text.find(word) != std::string_view::npos; });
}
} // namespace

void SocketParser::TakeLine(std::string_view line)
{
    SplitFields(line, mWords);
    if (mWords.size() < STATE_COLUMN) {
        return;
    }
    if (mWords.front() == "unix") {
        ++mListing.mUnixSockets;
        return;
    }
    if (!IsInternet(mWords.front())) {
        return;
    }
    ++mListing.mSocketCount;
    const bool hasState = mWords.size() > STATE_COLUMN && IsState(mWords[STATE_COLUMN]);
    const auto state = hasState ? mWords[STATE_COLUMN] : std::string_view("-");
    const auto program = std::find_if(mWords.begin(), mWords.end(), IsProgram);
    const auto name = program == mWords.end() ? std::string_view() : *program;
    TakeState(mWords.front(), state);
    if (mPid != 0 && name.starts_with(std::to_string(mPid) + "/")) {
        ++mListing.mStatesOfProcess[std::string(state.substr(0, LONGEST_STATE))];
    }
    if (state == "CLOSE_WAIT") {
        TakeCloseWait(mWords[4], name, ReadNumber(mWords[1]).value_or(0));
    }
}

void SocketParser::TakeState(std::string_view protocol, std::string_view state)
{
    auto& states = mListing.mStates[std::string(FamilyOf(protocol).substr(0, LONGEST_STATE))];
    const std::string name(state.substr(0, LONGEST_STATE));
    if (states.size() < MOST_STATES || states.contains(name)) {
        ++states[name];
    }
}

void SocketParser::TakeCloseWait(std::string_view foreign, std::string_view name, double unread)
{
    const auto address = WithoutPort(foreign);
    auto& peers = mListing.mCloseWait;
    auto peer = std::find_if(peers.begin(), peers.end(), [&](const SocketListing::Peer& known) {
        return known.mForeign == address && known.mProgram == name;
    });
    if (peer == peers.end()) {
        if (peers.size() == MOST_PEERS) {
            return;
        }
        peer = peers.insert(peers.end(), {std::string(address), std::string(name), 0, 0});
    }
    ++peer->mSockets;
    peer->mUnread += unread;
}

/**
 * Most counters stand in front of their text ("12 segments retransmitted"), some after it ("InErrors: 3").
 */
void NetworkTroubleParser::TakeLine(std::string_view line)
{
    const auto text = TrimBlanks(line);
    const auto blank = text.find(' ');
    if (blank == std::string_view::npos || !SpeaksOfTrouble(text) || mTroubles.size() == MOST_TROUBLES) {
        return;
    }
    if (const auto count = ReadNumber(text.substr(0, blank)); count && *count > 0) {
        mTroubles.push_back({std::string(TrimBlanks(text.substr(blank))), *count});
        return;
    }
    const auto colon = text.rfind(": ");
    if (colon == std::string_view::npos) {
        return;
    }
    if (const auto count = ReadNumber(TrimBlanks(text.substr(colon + 1))); count && *count > 0) {
        mTroubles.push_back({std::string(text.substr(0, colon)), *count});
    }
}

SocketForm FormOf(std::string_view commandLine)
{
    const auto arguments = RestFromField(commandLine, 1);
    if (arguments == "-p --tcp | grep CLOSE_WAIT") {
        return SocketForm::CloseWaitByName;
    }
    if (arguments == "-na | grep CLOSE_WAIT") {
        return SocketForm::CloseWait;
    }
    if (arguments == "-e") {
        return SocketForm::Established;
    }
    if (arguments == "-s") {
        return SocketForm::Statistics;
    }
    return arguments == "-nalp" ? SocketForm::All : SocketForm::Filtered;
}

} // namespace ctl
