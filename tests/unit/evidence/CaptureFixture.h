#pragma once

#include "evidence/CaptureThread.h"
#include "support/HelperSeam.h"
#include "support/LogFixture.h"
#include "support/ScriptedHelper.h"

#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

struct SnapshotData;

/** A section of an evidence file, whole. */
std::string Section(const std::string& command, const std::string& output = "");

/**
 * Captures: an evidence root of the test's own, the local time 13 November 02:10:28,
 * evidence number 1, quiet log. Threads that a capture starts are kept back for the test to run; so are the
 * shell lines of `system`, which succeed unless mSystemStatus says otherwise.
 */
class CaptureFixture : public LogFixture
{
protected:
    void SetUp() override;
    void TearDown() override;

    /** A helper that answers from mScript and takes its tools from /t, so that lines don't depend on the
     * host. */
    ScriptedHelper<>* MakeHelper();

    /** A thread that a capture has started, or tried to. */
    struct Start
    {
        ThreadFunction mBody;
        void* mRecord;
    };

    /** Runs the bodies that were kept back, those that they start in turn included. */
    void RunStarts();

    /**
     * Runs the body of a capture.
     * @return for each line that it wrote, whether its record was gone already; one more at the end, for the
     * end of the body
     */
    static std::vector<bool> NoteEndOfRecord(ThreadFunction body, SnapshotData* record);

    /** From now on captures start real threads, which JoinThreads waits for. */
    void StartRealThreads();
    void JoinThreads();

    /** From now on no thread can be started. */
    void RefuseThreads();

    /** Sets the verbose gate. */
    static void SetVerbose(int verbose);

    /** Evidence path of the scripted second: folder, id, evidence number and the rest of the name. */
    std::string Path(const std::string& folder, int pid, int number, const std::string& label,
                     const std::string& suffix) const;

    /** Every file below the evidence root, its path from there, in order. */
    std::vector<std::string> GetEvidence() const;

    static constexpr unsigned long THREAD_ID = 77; ///< of the threads that are kept back

    std::string mRoot;                     ///< evidence root
    HelperScript mScript;                  ///< what helpers answer and were asked
    int mSystemStatus = 0;                 ///< what `system` gives
    std::vector<std::string> mSystemLines; ///< the lines that `system` was given
    std::vector<Start> mStarts;            ///< threads that were kept back or refused

private:
    std::mutex mThreadsGuard; // the thread of the disk capture starts two more
    std::vector<std::thread> mThreads;
};
