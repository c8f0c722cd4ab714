#include "store/LoadRecord.h"

#include <utility>

#include "config/ConfigurationResult.h"
#include "config/ConfigurationTexts.h"
#include "thbase.h"

#include "base/FormattedText.h"
#include "base/PlainText.h"
#include "store/Keys.h"
#include "store/Store.h"

namespace ctl
{

namespace
{

// The daemon formats a message that also goes to the console into a buffer of this size.
constexpr std::size_t MESSAGE_LIMIT = 1023;

} // namespace

LoadRecord::ReadText LoadRecord::ReadString(const char* key, IfBad ifBad)
{
    const Store::Text found = mStore.GetText(key);
    if (found.result == STORE_RC_NOT_FOUND || !found.text) {
        return {RC_CONFIG_NOT_DEFINED, ""};
    }
    if (CheckText(*found.text).fault != TextFault::None) {
        ReportBadText(key, *found.text, ifBad);
        return {RC_CONFIG_BAD_CHARS, *found.text};
    }
    return {found.result == 0 ? 0 : RC_CONFIG_NOT_DEFINED, *found.text};
}

void LoadRecord::ReportBadText(const char* key, const std::string& text, IfBad ifBad)
{
    const TextCheck check = CheckText(text);
    const bool isSequence = check.fault == TextFault::Sequence;
    Say(isSequence ? FORBIDDEN_SEQUENCE_TEXT : FormatText(FORBIDDEN_CHARACTER_TEXT, check.character));
    Say(FormatText(BAD_CHARACTERS_TEXT, key));
    const std::string what =
        isSequence ? "holds \"..\" or \"*\"" : std::string("holds the character '") + check.character + "'";
    const bool stops = ifBad == IfBad::Stop;
    Add(stops ? Severity::Error : Severity::Warning, key,
        "the value " + what +
            (stops ? ", which no setting may hold, and the service won't start"
                   : ", which no setting may hold; it is used all the same"),
        "only letters, digits, blanks, tabs, backslashes and @ _ . / - : , are allowed, and no \"..\"");
    if (stops) {
        Fail(RC_CONFIG_BAD_CHARS);
    }
}

int LoadRecord::ReadInteger(const KeyRow& row, int& value)
{
    const Store::Number found = mStore.GetNumber(row.name);
    if (found.result == 0) {
        value = found.value;
        return 0;
    }
    if (found.result != STORE_RC_NOT_NUMERIC) {
        return RC_CONFIG_NOT_DEFINED;
    }
    const std::string text = mStore.GetText(row.name).text.value_or("");
    Say(FormatText(NOT_NUMERIC_TEXT, row.name));
    const bool stops = row.kind == KeyKind::Stopping;
    const std::string fallback = std::to_string(row.fallback);
    const bool isReset = row.kind == KeyKind::Free; // each load sets it before it reads it
    Add(stops ? Severity::Error : Severity::Warning, row.name,
        (text.empty() ? "the empty value" : "\"" + text + "\"") + " is no number" +
            (stops     ? ", and the service won't start"
             : isReset ? "; " + fallback + " applies instead"
                       : "; a service that starts uses " + fallback +
                             ", one that runs keeps the value of its last pass"),
        "use a sign and digits alone, from -2147483648 to 2147483647");
    if (stops) {
        Fail(RC_CONFIG_INVALID);
    }
    return RC_CONFIG_INVALID;
}

void LoadRecord::Say(std::string line)
{
    if (mPrediction.result != 0) {
        return;
    }
    if (line.ends_with('\n')) {
        line.pop_back();
    }
    mPrediction.log.push_back(std::move(line));
}

void LoadRecord::Add(Severity severity, const char* key, std::string message, std::string remedy)
{
    mPrediction.findings.push_back(
        {severity, key, mStore.FindLine(key), std::move(message), std::move(remedy)});
}

void LoadRecord::Refuse(const char* key, std::string says, std::string message, std::string remedy)
{
    Say(says.substr(0, MESSAGE_LIMIT));
    Add(Severity::Error, key, std::move(message), std::move(remedy));
    Fail(RC_CONFIG_INVALID);
}

void LoadRecord::Fail(int result)
{
    if (mPrediction.result == 0) {
        mPrediction.result = result;
    }
}

bool LoadRecord::IsDefined(const char* key) const
{
    return mStore.GetText(key).result == 0;
}

} // namespace ctl
