#pragma once

#include "page/parse/StackGroups.h"

#include <string_view>

namespace ctl
{

/** The threads of a stack listing by identical stacks, largest group first. */
struct StackReport
{
    std::vector<StackGroup> mGroups;
    std::size_t mThreadCount = 0;
    std::size_t mThreadsLeftOut = 0; ///< threads with stacks beyond the limit of different ones
};

/**
 * Reads stack listings line by line: of gstack or gdb ("Thread 2 (Thread 0x… (LWP 7) "name"):", then
 * "#0  0x… in poll () from /lib/…") and of eu-stack ("TID 7:", then "#0  0x… poll").
 */
class StackParser
{
public:
    void TakeLine(std::string_view line);

    /** Ends the last thread and sorts. */
    const StackReport& Finish();

private:
    void BeginThread(std::string_view name);
    void TakeFrame(std::string_view line);
    void EndThread();

    StackReport mReport;
    StackGroups mGroups;
    std::string mThread;
    std::vector<std::string> mFrames;
    bool mHasThread = false;
};

/** The function of a frame and where it stands, without addresses and arguments: "poll (libc.so.6)". */
std::string FunctionOfFrame(std::string_view frame);

} // namespace ctl
