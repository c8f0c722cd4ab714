#include "store/ListPrediction.h"

#include <string_view>
#include <vector>

#include "config/ConfigurationTexts.h"
#include "config/KeyTable.h"
#include "counters/BreachTexts.h"

#include "base/FormattedText.h"
#include "base/JavaNames.h"
#include "store/LoadRecord.h"

namespace ctl
{

namespace
{

constexpr int HIGHEST_PERCENT = 100;

/** One list while it is read. */
class ListLoad
{
public:
    ListLoad(LoadRecord& record, const char* key, std::map<std::string, int>& limits)
        : mRecord(record), mKey(key), mLimits(limits)
    {}

    void Run(const std::string& value)
    {
        const std::vector<ListElement> elements = SplitList(value, IsDeadlock());
        if (elements.empty()) {
            mRecord.Refuse(mKey, FormatText(EMPTY_LIST_TEXT, mKey),
                           "the list is empty, and the service won't start",
                           "name something to watch, or take the key out");
        }
        for (const ListElement& element : elements) {
            Read(element);
        }
    }

private:
    bool IsDeadlock() const { return std::string_view(mKey) == THHS_MONITOR_DEADLOCK; }
    bool IsCpu() const { return std::string_view(mKey) == THHS_MONITOR_CPU; }
    const char* GetLabel() const
    {
        return IsCpu() ? LABEL_CPU : IsDeadlock() ? LABEL_DEADLOCK : LABEL_MEMORY;
    }

    void Read(const ListElement& element);
    bool RefuseBad(const ListElement& element);
    void Note(const ListElement& element);
    void SayRequested(const ListElement& element);

    LoadRecord& mRecord;
    const char* const mKey;
    std::map<std::string, int>& mLimits;
};

/** Reports an element that stops the service; true if it does. */
bool ListLoad::RefuseBad(const ListElement& element)
{
    const std::string shown = "\"" + element.text + "\"";
    if (element.name.empty() || element.limit < 0) {
        mRecord.Refuse(
            mKey, FormatText(BAD_ELEMENT_TEXT, element.text.c_str(), mKey),
            element.text.empty() ? "an element of the list is empty, and the service won't start"
            : element.limit < 0 && !element.limitText.empty()
                ? "the limit of " + shown + " is read as " + std::to_string(element.limit) +
                      ", and the service won't start"
                : shown + " lacks a name or a limit, and the service won't start",
            IsDeadlock() ? "write NAME, with commas between" : "write NAME:LIMIT, with commas between");
        return true;
    }
    if (IsCpu() && element.limit > HIGHEST_PERCENT) {
        mRecord.Refuse(mKey, FormatText(BAD_PERCENT_TEXT, LABEL_CPU, element.name.c_str(), element.limit),
                       "the limit of " + shown + " is above 100 percent, and the service won't start",
                       "give percent of the whole host, 99 at most: 100 is accepted and never exceeded");
        return true;
    }
    if (IsDeadlock() && element.limit != 0) {
        mRecord.Refuse(mKey, FormatText(BAD_DEADLOCK_ELEMENT_TEXT, element.name.c_str(), mKey),
                       shown + " has a limit, which this list doesn't know, and the service won't start",
                       "write the name alone");
        return true;
    }
    return false;
}

/** Reports what an accepted element means other than it seems. */
void ListLoad::Note(const ListElement& element)
{
    const std::string shown = "\"" + element.text + "\"";
    if (mLimits.contains(element.name)) {
        mRecord.Add(Severity::Warning, mKey,
                    element.name + " comes twice; the first limit, " + std::to_string(mLimits[element.name]) +
                        ", counts and " + shown + " is passed over",
                    "keep one of them");
        return;
    }
    if (!IsDeadlock() && !IsReadAsWritten(element)) {
        mRecord.Add(Severity::Warning, mKey,
                    "the limit of " + shown + " is read as " + std::to_string(element.limit) +
                        (element.limit == 0 ? ", so anything above it counts" : ""),
                    "limits are whole numbers without a unit: digits alone, 2147483647 at most");
    }
}

void ListLoad::SayRequested(const ListElement& element)
{
    const std::string name = IsJavaName(element.name) ? "java" : element.name;
    if (IsDeadlock()) {
        mRecord.Say(FormatText(MONITORED_DEADLOCK_TEXT, name.c_str(), LABEL_DEADLOCK));
        return;
    }
    mRecord.Say(FormatText(MONITORED_TEXT, name.c_str(), GetLabel(), element.limit, MEMORY_UNIT_ABSOLUTE));
}

void ListLoad::Read(const ListElement& element)
{
    if (RefuseBad(element)) {
        return;
    }
    Note(element);
    mLimits.emplace(element.name, element.limit); // of a name that comes twice the first counts
    SayRequested(element);
}

} // namespace

void PredictList(LoadRecord& record, const char* key, const std::string& value,
                 std::map<std::string, int>& limits)
{
    ListLoad(record, key, limits).Run(value);
}

} // namespace ctl
