#pragma once

#include "platform/UnixHelperFunction.h"

#include <memory>
#include <type_traits>

/**
 * The skeleton that all captures share: an entry that starts a detached thread for a record, and a thread
 * body that takes the record, does its work with a helper of its own, and frees both.
 */

/**
 * Bodies of the capture threads. Each takes the record that it owns, does nothing for a null, and returns
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

/** A capture thread that was started, or not. */
struct CaptureStart
{
    bool mIsRunning;
    long long mThreadId; ///< for the log; meaningful only when the thread runs
};

/**
 * Starts `body` with `record` on a detached thread. The thread owns the record; when it can't be started the
 * record stays allocated, since the caller has no safe way to know that nobody uses it.
 */
CaptureStart StartCaptureThread(UnixHelperFunction& helper, ThreadFunction body, void* record);

/**
 * The body of a capture thread: takes the record, gets a helper from `factory`, and when there are both, has
 * `work` use them.
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
