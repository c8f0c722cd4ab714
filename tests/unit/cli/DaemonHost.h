#pragma once

#include "ActionHost.h"
#include "support/ChildProcess.h"

#include <string>
#include <vector>

#include <sys/types.h>

/**
 * A host on which processes of the test become the daemon. Their load of the settings succeeds at once, their
 * shell lines print nothing, a second of their sleep takes a hundredth, and what they ask of the system
 * stands in their system log as a debug entry.
 */
class DaemonHost : public ActionHost
{
protected:
    void SetUp() override;

    /** Becomes the daemon in place of a child. For the body of a ChildProcess. */
    static int BecomeDaemon();

    /** Waits until the log has that many lines that a pass has begun. */
    static void AwaitPass(int number = 1);

    /** Waits until the main thread waits for a stop, which is where every stop signal of the process goes
     * then. */
    static void AwaitWait();

    /** Waits for a file, and gives its content as a thread or process id. */
    static pid_t AwaitId(const std::string& path);

    /** The lines of the log apart from those that a pass has begun: a stop may meet one more pass. */
    static std::vector<std::string> GetLogLinesBesidesPasses();

    static constexpr int STATUS_OF_STOP = 255;
};

/** An interval that no test lives through. */
constexpr int LONG_INTERVAL = 100000;

/** What the log says of a start, of a pass and of a tear-down. */
extern const Lines START_LINES;
extern const Lines PASS_LINES;
extern const Lines STOP_LINES;

/** The lines one group after the other. */
Lines Join(const std::vector<Lines>& groups);

constexpr char ENTRY[] = "6 ===== Daemon Entry Point =====\n";
constexpr char STARTED[] = "6 Tarnhaven Health Sentinel Service successfully started";
constexpr char STOPPED[] = "6 Tarnhaven Health Sentinel Service stopped.";
constexpr char EXIT[] = "6 ===== Daemon Exit Point =====\n";

/** A hundredth of a second for each; a signal cuts it short. */
unsigned SleepShort(unsigned seconds);

/** Writes the id of the calling thread into a file, in one piece. */
void WriteThreadId(const std::string& path);
