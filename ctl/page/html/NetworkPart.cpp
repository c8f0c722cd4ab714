#include "page/html/Format.h"
#include "page/html/Parts.h"

#include <algorithm>

namespace ctl
{

namespace
{
void WriteStates(Html& html, const ReportData& data)
{
    int highest = 0;
    for (const auto& [family, states] : data.mSockets.mStates) {
        for (const auto& [state, count] : states) {
            highest = std::max(highest, count);
        }
    }
    html.BeginTable(
        {TextCell("Protocol"), TextCell("State"), NumberCell("Sockets"), NumberCell("Of " + data.mProcess)});
    for (const auto& [family, states] : data.mSockets.mStates) {
        for (const auto& [state, count] : states) {
            const auto own = data.mSockets.mStatesOfProcess.find(state);
            const bool hasOwn = own != data.mSockets.mStatesOfProcess.end();
            html.Row({TextCell(family), TextCell(state == "-" ? "no state" : state),
                      NumberCell(FormatPlain(count, 0), 100.0 * count / highest),
                      NumberCell(hasOwn ? FormatPlain(own->second, 0) : "0")},
                     state == "CLOSE_WAIT" ? "watch" : "");
        }
    }
    html.EndTable();
    if (data.mSockets.mUnixSockets == 0) {
        return;
    }
    html.Paragraph("And " + FormatCount(data.mSockets.mUnixSockets, "socket") + " within the machine.",
                   "aside");
}

void WriteCloseWait(Html& html, const ReportData& data)
{
    html.Element("h3", "CLOSE_WAIT by peer");
    auto peers = data.mSockets.mCloseWait;
    if (peers.empty()) {
        html.Paragraph("No socket is in CLOSE_WAIT.");
        return;
    }
    html.Paragraph(
        "The peer has closed its side, and the program has not closed its own yet. Many of them that stay "
        "point to a program that forgets to close.",
        "aside");
    std::stable_sort(peers.begin(), peers.end(),
                     [](const auto& left, const auto& right) { return left.mSockets > right.mSockets; });
    html.BeginTable(
        {TextCell("Peer"), TextCell("Held by"), NumberCell("Sockets"), NumberCell("Bytes not read")});
    for (std::size_t index = 0; index < std::min(peers.size(), MOST_ROWS); ++index) {
        const SocketListing::Peer& peer = peers[index];
        const std::string own = FormatPlain(data.mPid, 0) + "/";
        html.Row({TextCell(peer.mForeign, "command"),
                  TextCell(peer.mProgram.empty() ? "not known" : peer.mProgram),
                  NumberCell(FormatPlain(peer.mSockets, 0), 100.0 * peer.mSockets / peers.front().mSockets),
                  NumberCell(FormatPlain(peer.mUnread, 0))},
                 peer.mProgram.starts_with(own) ? "target" : "");
    }
    html.EndTable();
}

void WriteTroubles(Html& html, const ReportData& data)
{
    auto troubles = data.mNetworkTroubles;
    if (troubles.empty()) {
        return;
    }
    std::stable_sort(troubles.begin(), troubles.end(),
                     [](const auto& left, const auto& right) { return left.mCount > right.mCount; });
    html.Markup("<details><summary>Counters of trouble since the machine's start</summary>");
    html.BeginTable({TextCell("Counter, as netstat names it"), NumberCell("Count")});
    for (const NetworkTrouble& trouble : troubles) {
        html.Row({TextCell(trouble.mText), NumberCell(FormatPlain(trouble.mCount, 0))});
    }
    html.EndTable().Markup("</details>");
}
} // namespace

void WriteNetwork(Html& html, const ReportData& data)
{
    html.BeginPart("network", "Network");
    if (data.mSockets.mSocketCount + data.mSockets.mUnixSockets == 0) {
        html.Paragraph("The set has no list of sockets.");
    } else {
        WriteStates(html, data);
        WriteCloseWait(html, data);
    }
    WriteTroubles(html, data);
    html.EndPart();
}

} // namespace ctl
