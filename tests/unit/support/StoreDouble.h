#pragma once

#include <ctime>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

/** An in-memory store behind the calls of the base library. One for the process, empty at its start. */
struct StoreDouble
{
    std::map<std::string, std::string> mValues;

    /** Result codes that a key answers with in place of its own; its value is delivered all the same. */
    std::map<std::string, int> mResults;

    /** What T_localtime answers, whatever the time; the real local time when empty. */
    std::optional<struct tm> mLocalTime;

    /** Called with each key before it is answered. */
    std::function<void(const std::string& key)> mOnRead;

    /** How many of the texts that were delivered have been freed. */
    int mFreedTexts = 0;

    /** How often the store was made to read itself again. */
    int mForcedReads = 0;

    /** The keys in the order in which they were asked for. */
    std::vector<std::string> mReads;

    /** How often the handle of the store was asked for. */
    int mHandles = 0;
};

StoreDouble& GetStore();

/** Frees the latest text that was delivered, where the program didn't. */
void FreeDeliveredText();

/** A broken-down time. @param month  1 to 12 */
struct tm MakeLocalTime(int year, int month, int day, int hour, int minute, int second);
