#pragma once

#include "base/LogLine.h"
#include "evidence/CaptureTexts.h"
#include "platform/UnixHelperFunction.h"

#include <memory>
#include <string>
#include <type_traits>

/**
 * What all captures share: the start of a detached thread for a record, and the body of that thread, which
 * works with a helper of its own and frees record and helper.
 */

/**
 * Bodies of the capture threads. Each owns the record that it is given, does nothing without one, and returns
 * null.
 */
void* ThreadTakeSnapshot(void* data);               ///< SnapshotData
void* ThreadMemoryPerformance(void* data);          ///< SnapshotData
void* ThreadNetworkPerformance(void* data);         ///< SnapshotData
void* ThreadCaptureDiskPerformanceData(void* data); ///< SnapshotData
void* ThreadProcessSpecificData(void* data);        ///< SnapshotData
void* ThreadJavaProcessDump(void* data);            ///< SnapshotData
void* ThreadCustomScript(void* data);               ///< SnapshotData
void* ThreadRunCommand(void* data);                 ///< CommandRunData

/** The capture of a process in the lines about its start: "name (PID : 42)". */
std::string GetCaptureSubject(const std::string& displayName, int pid);

/** A capture thread that was started, or not. */
struct CaptureStart
{
    bool mIsRunning;
    long long mThreadId; ///< for the log; meaningful only when the thread runs
};

/** Starts `body` on a detached thread; it owns `record` if it runs. */
CaptureStart StartCaptureThread(UnixHelperFunction& helper, ThreadFunction body, void* record);

/**
 * Starts `body` on a detached thread, which owns `record` from then on. Without a thread the record is freed
 * here. Either way a line of the unit's log says so.
 * @return whether the thread runs
 */
template <typename Record>
bool StartCapture(UnixHelperFunction& helper, mutex& unitMutex, ThreadFunction body,
                  std::unique_ptr<Record> record, const CaptureTexts& texts, const CaptureSubject& subject)
{
    const CaptureStart start = StartCaptureThread(helper, body, record.get());
    if (!start.mIsRunning) {
        WriteLogLine(unitMutex, texts.mNotCreated, subject.mOfFailure.c_str());
        return false;
    }
    (void)record.release(); // the thread owns it
    WriteVerboseLine(unitMutex, texts.mCreated, start.mThreadId, subject.mOfStart.c_str());
    return true;
}

/**
 * The body of a capture thread: takes the record, gets a helper from `factory`, and has `work` use both.
 * Nothing happens without a record.
 */
template <typename Record, typename Factory, typename Work>
void* RunCapture(void* data, Factory factory, Work work)
{
    const std::unique_ptr<Record> record(static_cast<Record*>(data));
    if (!record) {
        return nullptr;
    }
    const std::unique_ptr<std::remove_pointer_t<decltype(factory())>> helper(factory());
    if (helper) {
        work(*helper, *record);
    }
    return nullptr;
}
