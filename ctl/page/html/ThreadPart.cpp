#include "page/html/Format.h"
#include "page/html/Parts.h"

#include <algorithm>

namespace ctl
{

namespace
{
constexpr std::size_t MOST_GROUPS = 40;
constexpr std::size_t OPEN_GROUPS = 3;
constexpr std::size_t MOST_NAMES_SHOWN = 12;

std::string JoinNames(const std::vector<std::string>& names, std::size_t count)
{
    std::string text;
    const std::size_t shown = std::min(names.size(), MOST_NAMES_SHOWN);
    for (std::size_t index = 0; index < shown; ++index) {
        text += (text.empty() ? "" : ", ") + names[index];
    }
    return count > shown ? text + " and " + FormatPlain(static_cast<double>(count - shown), 0) + " more"
                         : text;
}

/** True for what a thread stands in while it waits, whoever made it wait. */
bool IsOfSystem(std::string_view frame)
{
    for (const std::string_view begin : {"__", "pthread_", "futex", "??", "jdk.internal.misc.Unsafe.park",
                                         "java.util.concurrent.locks.", "java.lang.Object.wait"}) {
        if (frame.starts_with(begin)) {
            return true;
        }
    }
    return frame.find("(libc.so") != std::string_view::npos ||
           frame.find("(libc-") != std::string_view::npos ||
           frame.find("(libpthread") != std::string_view::npos;
}

/**
 * The innermost known function and, when that is a wait of the system, the first one of the program itself.
 */
void WriteHeadline(Html& html, const std::vector<std::string>& frames)
{
    const std::string innermost = GetInnermostKnown(frames);
    html.Element("code", innermost.empty() ? "no frames" : innermost);
    const auto own = std::find_if_not(frames.begin(), frames.end(), IsOfSystem);
    if (own != frames.end() && *own != innermost) {
        html.Markup(" called from ").Element("code", *own);
    }
}

void WriteGroup(Html& html, const StackGroup& group, bool isOpen)
{
    html.Markup(isOpen ? "\n<details open><summary><b>" : "\n<details><summary><b>");
    html.Text(FormatCount(static_cast<double>(group.mThreadCount), "thread")).Markup("</b> ");
    html.Text(group.mState).Markup(group.mState.empty() ? "" : " ");
    WriteHeadline(html, group.mFrames);
    html.Markup("</summary>");
    html.Paragraph(JoinNames(group.mThreads, group.mThreadCount), "aside");
    html.Markup("<ol class=\"stack\" start=\"0\">");
    for (const std::string& frame : group.mFrames) {
        html.Element("li", frame);
    }
    html.Markup("</ol></details>");
}

void WriteStates(Html& html, const JavaThreadReport& java)
{
    html.BeginTable({TextCell("State"), NumberCell("Threads")});
    for (const auto& [state, count] : java.mStates) {
        html.Row({TextCell(state == "(VM)" ? "of the Java machine itself" : state),
                  NumberCell(FormatPlain(count, 0), 100.0 * count / static_cast<double>(java.mThreadCount))},
                 state == "BLOCKED" ? "watch" : "");
    }
    html.EndTable();
}

void WriteDeadlocks(Html& html, const JavaThreadReport& java)
{
    html.Element("h3", "Deadlocks");
    if (java.mDeadlocks.empty()) {
        html.Paragraph(java.mHasEnd ? "None was found."
                                    : "Not known: the dump ends before it would name them.");
    }
    for (const std::string& deadlock : java.mDeadlocks) {
        html.Markup("<div class=\"deadlock\">").Markup("<pre>");
        std::string_view rest = deadlock;
        while (!rest.empty()) {
            const auto end = rest.find('\n');
            html.Text(rest.substr(0, end)).Markup("\n");
            rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
        }
        html.Markup("</pre></div>");
    }
}

void WriteLocks(Html& html, const JavaThreadReport& java)
{
    html.Element("h3", "Locks that threads wait for");
    if (java.mContended.empty()) {
        html.Paragraph("No thread waits for a lock.");
        return;
    }
    html.BeginTable(
        {TextCell("Lock"), TextCell("Held by"), NumberCell("Waiting"), TextCell("Threads that wait")});
    for (std::size_t index = 0; index < std::min(java.mContended.size(), MOST_ROWS); ++index) {
        const JavaLock& lock = java.mContended[index];
        html.Row({TextCell(lock.mClass + " " + lock.mAddress, "command"),
                  TextCell(lock.mOwner.empty() ? "not in the dump" : lock.mOwner),
                  NumberCell(FormatPlain(static_cast<double>(lock.mWaiters.size()), 0)),
                  TextCell(JoinNames(lock.mWaiters, lock.mWaiters.size()))});
    }
    html.EndTable();
}
} // namespace

void WriteStackGroups(Html& html, const std::vector<StackGroup>& groups)
{
    for (std::size_t index = 0; index < std::min(groups.size(), MOST_GROUPS); ++index) {
        WriteGroup(html, groups[index], index < OPEN_GROUPS);
    }
    if (groups.size() > MOST_GROUPS) {
        html.Paragraph(
            "And " + FormatCount(static_cast<double>(groups.size() - MOST_GROUPS), "stack") + " more.",
            "aside");
    }
}

void WriteThreads(Html& html, const ReportData& data)
{
    html.BeginPart("threads", "Threads");
    if (data.mStacks.mThreadCount == 0) {
        html.Paragraph(data.mStackFailure.empty() ? "The set has no stacks of threads." : data.mStackFailure)
            .EndPart();
        return;
    }
    html.Paragraph(FormatCount(static_cast<double>(data.mStacks.mThreadCount), "thread") + " with " +
                   FormatCount(static_cast<double>(data.mStacks.mGroups.size()), "different stack") +
                   ", from " + data.mStackSource + ". Innermost function first.");
    WriteStackGroups(html, data.mStacks.mGroups);
    html.EndPart();
}

void WriteJava(Html& html, const ReportData& data)
{
    if (!data.mJava.mHasHead) {
        return; // no Java process, or no dump of one, which is said among the files
    }
    html.BeginPart("java", "Java threads");
    html.Paragraph(FormatCount(static_cast<double>(data.mJava.mThreadCount), "thread") + " of " +
                   data.mJava.mVersion + ".");
    WriteStates(html, data.mJava);
    WriteDeadlocks(html, data.mJava);
    WriteLocks(html, data.mJava);
    html.Element("h3", "Stacks");
    WriteStackGroups(html, data.mJava.mStacks);
    html.EndPart();
}

} // namespace ctl
