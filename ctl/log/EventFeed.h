#pragma once

#include <ctime>
#include <functional>
#include <string>

#include "log/EventCursor.h"
#include "log/LogEvents.h"
#include "log/LogLines.h"

namespace ctl
{

struct DailyLog;
struct LogFolder;
struct OpenedFile;

/** An event as it is handed out, with the line that it stands on. */
struct FedEvent
{
    std::time_t time = 0;
    int milliseconds = 0;
    LogEvent event;
    std::string text; ///< of the line, after its stamp
    std::string id;   ///< LOG:OFFSET, the same whenever this line is read
};

/**
 * Hands out the breaches, captures, failures, starts and stops of the daily logs, each once, in the order of
 * the logs: not of their times, which go back where the clock is set back. Only lines with their end count. A
 * log is known by what it holds, so that a copy in its place is read on, and another file from its beginning.
 * One thread.
 */
class EventFeed
{
public:
    /** Called for each event, when the cursor stands behind it. */
    using Taker = std::function<void(const FedEvent& event)>;

    /** Begins at the cursor's places, or with the first log where it has none. */
    EventFeed(std::string folder, EventCursor cursor, Taker take);

    /**
     * Hands out what the logs hold beyond the places, until nothing more is there. Returns why the folder or
     * a log in it can't be read; empty if all can. A log that can't be read keeps its place, and the others
     * are read. `goOn` is asked after each line that may be one; false ends the reading there.
     */
    std::string Read(const std::function<bool()>& goOn);

    const EventCursor& GetCursor() const { return mCursor; }

private:
    void PrepareCursor(const LogFolder& logs);
    void DropPlaces(const LogFolder& logs);
    bool ReadLog(int folder, const DailyLog& log, const std::function<bool()>& goOn);
    bool ReadOn(const OpenedFile& file, const DailyLog& log, const std::function<bool()>& goOn);
    void Offer(int descriptor, const DailyLog& log, const LogLineRead& line);
    bool IsWanted(const LogEvent& event);

    const std::string mFolder;
    EventCursor mCursor;
    const Taker mTake;
    StampReader mStamps;
    std::string mFailure; ///< of this reading
};

} // namespace ctl
