#include "page/parse/Stacks.h"

#include "page/parse/Fields.h"

#include <algorithm>
#include <utility>

namespace ctl
{

namespace
{
constexpr std::size_t LONGEST_FRAME = 300;
constexpr std::size_t LONGEST_THREAD = 200;

std::string_view BaseName(std::string_view path)
{
    return path.substr(path.rfind('/') + 1);
}

/** Text without the word "#3" and, where there is one, the address and " in ". */
std::string_view WithoutAddress(std::string_view frame)
{
    frame = TrimBlanks(frame.substr(std::min(frame.find(' '), frame.size())));
    if (frame.starts_with("0x")) {
        frame = TrimBlanks(frame.substr(std::min(frame.find(' '), frame.size())));
    }
    if (frame.starts_with("in ")) {
        frame.remove_prefix(3);
    }
    return frame.starts_with("- 1 ") ? frame.substr(4) : frame; // how eu-stack marks a return address
}

/** Text before the arguments. A template's own arguments may hold " (" too: "std::function<void (int)>". */
std::string_view WithoutArguments(std::string_view frame)
{
    int depth = 0;
    for (std::size_t index = 0; index + 1 < frame.size(); ++index) {
        const bool isOperator = frame.substr(0, index).ends_with("operator") || frame[index + 1] == '=';
        depth += frame[index] == '<' && !isOperator ? 1 : 0;
        depth -=
            frame[index] == '>' && depth > 0 && frame.substr(0, index + 1).ends_with("->") == false ? 1 : 0;
        if (depth == 0 && frame[index] == ' ' && frame[index + 1] == '(') {
            return frame.substr(0, index);
        }
    }
    return frame.substr(0, frame.find(" ("));
}

/** " from LIBRARY" or " at FILE:LINE" at the frame's end; empty without. */
std::string_view PlaceOf(std::string_view frame)
{
    for (const std::string_view word : {") from ", ") at "}) {
        const auto found = frame.rfind(word);
        if (found != std::string_view::npos) {
            return BaseName(TrimBlanks(frame.substr(found + word.size())));
        }
    }
    return {};
}

/** "worker (4359)" of a thread with a name and an id of the kernel, else what the listing calls it. */
std::string ThreadLabel(std::string_view head)
{
    constexpr std::string_view KERNEL = "(LWP ";
    const auto id = head.find(KERNEL);
    if (id == std::string_view::npos) {
        return std::string(head.substr(0, LONGEST_THREAD));
    }
    const auto number = head.substr(id + KERNEL.size(), head.find(')', id) - id - KERNEL.size());
    const auto open = head.find('"', id);
    const auto close = head.rfind('"');
    if (open == std::string_view::npos || close == open) {
        return "thread " + std::string(number.substr(0, LONGEST_THREAD));
    }
    return std::string(head.substr(open + 1, std::min(close - open - 1, LONGEST_THREAD)))
        .append(" (")
        .append(number.substr(0, LONGEST_THREAD))
        .append(")");
}

bool IsThreadHead(std::string_view line)
{
    return (line.starts_with("Thread ") && line.find(" (") != std::string_view::npos) ||
           line.starts_with("TID ");
}
} // namespace

std::string FunctionOfFrame(std::string_view frame)
{
    const auto text = WithoutAddress(frame.substr(0, 4 * LONGEST_FRAME));
    std::string function(WithoutArguments(text).substr(0, LONGEST_FRAME));
    const auto place = PlaceOf(text);
    if (!place.empty()) {
        function.append(" (").append(place.substr(0, LONGEST_FRAME)).append(")");
    }
    return function;
}

void StackParser::TakeLine(std::string_view line)
{
    if (IsThreadHead(line)) {
        BeginThread(line);
    } else if (line.size() > 1 && line[0] == '#' && IsDigits(line.substr(1, 1))) {
        TakeFrame(line);
    }
}

void StackParser::BeginThread(std::string_view name)
{
    EndThread();
    name = TrimBlanks(name);
    if (name.ends_with(':')) {
        name.remove_suffix(1);
    }
    mThread = ThreadLabel(name);
    mHasThread = true;
}

/** A process of one thread has no head in front of its frames. */
void StackParser::TakeFrame(std::string_view line)
{
    if (line.starts_with("#0") && !mFrames.empty()) {
        EndThread();
    }
    if (!mHasThread) {
        mThread = "Thread";
        mHasThread = true;
    }
    if (mFrames.size() < MOST_FRAMES) {
        mFrames.push_back(FunctionOfFrame(line));
    }
}

void StackParser::EndThread()
{
    if (!std::exchange(mHasThread, false)) {
        return;
    }
    ++mReport.mThreadCount;
    mReport.mThreadsLeftOut += mGroups.Add(mThread, "", mFrames) ? 0 : 1;
    mFrames.clear();
}

const StackReport& StackParser::Finish()
{
    EndThread();
    mReport.mGroups = mGroups.Take();
    return mReport;
}

} // namespace ctl
