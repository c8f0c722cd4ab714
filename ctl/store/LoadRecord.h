#pragma once

#include <string>

#include "store/LoadPrediction.h"

namespace ctl
{

class Store;
struct KeyRow;

/** What a predicted load has come to so far: findings, log lines, settings. One per prediction. */
class LoadRecord
{
public:
    enum class IfBad
    {
        Stop, ///< a text with forbidden characters ends the load
        GoOn
    };

    struct ReadText
    {
        int result = 0;   ///< 0, RC_CONFIG_BAD_CHARS or RC_CONFIG_NOT_DEFINED
        std::string text; ///< also of a text that was rejected
    };

    explicit LoadRecord(const Store& store) : mStore(store) {}

    /** Reads a text as the daemon does, with its log lines and with findings for bad characters. */
    ReadText ReadString(const char* key, IfBad ifBad);

    /**
     * Reads an integer as the daemon does; `value` stays unless the result is 0. A text that is no number is
     * a finding, which for a stopping key is an error that ends the load.
     */
    int ReadInteger(const KeyRow& row, int& value);

    /** Adds a line of the daily log; nothing once the load has failed. A line end at its end is dropped. */
    void Say(std::string line);

    /** Adds a finding at the key's line. */
    void Add(Severity severity, const char* key, std::string message, std::string remedy);

    /** Ends the load with RC_CONFIG_INVALID: `says` goes to the log, the rest becomes an error. */
    void Refuse(const char* key, std::string says, std::string message, std::string remedy);

    /** Ends the load with a code, unless it has ended already. */
    void Fail(int result);

    bool IsDefined(const char* key) const;
    Settings& GetSettings() { return mPrediction.settings; }
    LoadPrediction Take() { return std::move(mPrediction); }

private:
    void ReportBadText(const char* key, const std::string& text, IfBad ifBad);

    const Store& mStore;
    LoadPrediction mPrediction;
};

} // namespace ctl
