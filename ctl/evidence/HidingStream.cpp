#include "evidence/HidingStream.h"

#include <algorithm>
#include <utility>

namespace ctl
{
namespace
{
/** More than one argument or variable of a process can be. */
constexpr std::size_t LONGEST_WORD = std::size_t{1024} * 1024;
constexpr std::string_view SCHEME_END = "://";

/** What parts words. The values of an environment end with a zero byte where the kernel shows them. */
bool IsBlank(char letter)
{
    return (letter >= '\t' && letter <= '\r') || letter == ' ' || letter == '\0';
}

bool IsNameLetter(char letter)
{
    return (letter >= 'a' && letter <= 'z') || (letter >= 'A' && letter <= 'Z') ||
           (letter >= '0' && letter <= '9') || letter == '_';
}

/** The text before the sign in a word; empty if there is no such sign. */
std::string_view GetTextBefore(std::string_view word, char sign)
{
    const std::size_t at = word.find(sign);
    return at == std::string_view::npos ? std::string_view() : word.substr(0, at);
}

/** A word without quotes and brackets around it. */
std::string_view Unwrap(std::string_view word)
{
    constexpr std::string_view WRAPPING = "\"'`{}[](),";
    word.remove_prefix(std::min(word.find_first_not_of(WRAPPING), word.size()));
    return word.substr(0, word.find_last_not_of(WRAPPING) + 1);
}

/** True if a name may begin after this text, which comes before it in its word. */
bool MayPrecedeName(std::string_view before, char sign)
{
    if (before.empty()) {
        return true;
    }
    // The names of folders before a colon, as in "/srv/auth:/data", stand for no value.
    const bool isPath = before.back() == '/';
    return isPath
               ? sign == '=' || before.size() == 1
               : std::string_view("=:;,&?#{}[]()\"'`<>|!$%@").find(before.back()) != std::string_view::npos;
}

/** True if digits stand at the beginning of a text, and no letter after them. */
bool IsLineNumber(std::string_view text)
{
    const std::size_t end = std::min(text.find_first_not_of("0123456789"), text.size());
    return end > 0 && (end == text.size() || !IsNameLetter(text[end]));
}

/** The name that ends at a sign in a word, without quotes around it; empty if none does. */
std::string_view GetNameAt(std::string_view word, std::size_t sign)
{
    const bool isPair = word[sign] == ':' && ((sign > 0 && word[sign - 1] == ':') ||
                                              (sign + 1 < word.size() && word[sign + 1] == ':'));
    if (isPair) {
        return {}; // auth::Login is the name of a function
    }
    const std::string_view before = word.substr(0, sign);
    const std::string_view ended = before.substr(0, before.find_last_not_of("\"'`{}[](),") + 1);
    const std::size_t letters = static_cast<std::size_t>(
        std::find_if_not(ended.rbegin(), ended.rend(),
                         [](char letter) { return IsNameLetter(letter) || letter == '-' || letter == '.'; }) -
        ended.rbegin());
    std::string_view name = ended.substr(ended.size() - letters);
    // A dot before a colon and a number is a place in a source file.
    const bool isPlace =
        word[sign] == ':' && name.find('.') != std::string_view::npos && IsLineNumber(word.substr(sign + 1));
    const bool isName = !isPlace && MayPrecedeName(ended.substr(0, ended.size() - letters), word[sign]);
    if (name.substr(0, 2) == "-D") {
        name.remove_prefix(2); // a property of a Java machine
    }
    return isName ? name : std::string_view();
}

/** Where the value of the first secret name in a word begins, after its sign; nowhere if there is none. */
std::size_t FindSecret(const Redaction& redaction, std::string_view word)
{
    for (std::size_t at = 0; (at = word.find_first_of("=:", at)) != std::string_view::npos; ++at) {
        const std::string_view name = GetNameAt(word, at);
        if (!name.empty() && redaction.IsSecret(name)) {
            return at + 1;
        }
    }
    return std::string_view::npos;
}

/** True for NAME=value as an environment shows it. A word of Base64 ends with such a sign, or with two. */
bool IsVariable(std::string_view word)
{
    const std::string_view name = GetTextBefore(word, '=');
    const std::string_view value = word.substr(std::min(name.size() + 1, word.size()));
    return !name.empty() && !value.empty() && value != "=" &&
           std::all_of(name.begin(), name.end(), IsNameLetter);
}

/** True for -x and --name; more dashes begin a key or a ruled line. */
bool IsOption(std::string_view word)
{
    return word.substr(0, 1) == "-" && word.substr(0, 3) != "---";
}

/**
 * True if a colon comes before something else than a port: a password that holds a sign which ends a host.
 */
bool IsUserOfAddress(std::string_view host)
{
    const std::size_t colon = host.rfind(':');
    return colon != std::string_view::npos &&
           host.substr(colon + 1).find_first_not_of("0123456789") != std::string_view::npos;
}

/** Hides scheme://THIS@host of each address in a word. */
std::string HideUsers(std::string_view word, std::size_t& hidden)
{
    std::string result;
    for (std::size_t scheme = 0; (scheme = word.find(SCHEME_END)) != std::string_view::npos;) {
        const std::size_t begin = scheme + SCHEME_END.size();
        result += word.substr(0, begin);
        word.remove_prefix(begin);
        const std::string_view host = word.substr(0, word.find_first_of("/?#"));
        const bool isUser = host.find('@') == std::string_view::npos && IsUserOfAddress(host);
        const std::size_t at = (isUser ? word : host).rfind('@');
        if (at != std::string_view::npos) {
            ++hidden;
            result += Redaction::HIDDEN;
            word.remove_prefix(at);
        }
    }
    return result.append(word);
}

bool EndsHiding(Hiding hiding, std::string_view word)
{
    switch (hiding) {
    case Hiding::UpToVariable:
        return IsVariable(word);
    case Hiding::UpToOptionOrVariable:
        return IsOption(word) || IsVariable(word);
    case Hiding::UpToOption:
    case Hiding::NextWord:
        return IsOption(word);
    default:
        return true;
    }
}

/** What is hidden after a word of which the end was hidden, or after one that was hidden whole. */
Hiding GoOn(Hiding hiding)
{
    return hiding == Hiding::NextWord ? Hiding::UpToOptionOrVariable : hiding;
}
} // namespace

HiddenText::HiddenText(std::string text) : mText(std::move(text)) {}

std::string HiddenText::Take(std::string_view block, std::size_t& hidden)
{
    mPending += block;
    std::string result;
    std::size_t done = 0;
    for (std::size_t at = 0; (at = mPending.find(mText, done)) != std::string::npos;) {
        result.append(mPending, done, at - done).append(Redaction::HIDDEN);
        done = at + mText.size();
        ++hidden;
    }
    const std::size_t kept = std::min(mText.size() - 1, mPending.size() - done);
    result.append(mPending, done, mPending.size() - kept - done);
    mPending.erase(0, mPending.size() - kept);
    return result;
}

std::string HiddenText::Finish()
{
    return std::exchange(mPending, {});
}

HidingStream::HidingStream(const Redaction& redaction, TextTaker take)
    : mRedaction(redaction), mTake(std::move(take))
{
    for (const std::string& text : redaction.GetTexts()) {
        mTexts.emplace_back(text);
    }
}

void HidingStream::Take(std::string_view block)
{
    std::string text; // of the last text that is hidden
    for (HiddenText& hidden : mTexts) {
        text = hidden.Take(block, mHidden);
        block = text;
    }
    TakeText(block);
    Give();
}

void HidingStream::Finish()
{
    std::string text;
    for (HiddenText& hidden : mTexts) {
        text = hidden.Take(text, mHidden);
        text += hidden.Finish();
    }
    TakeText(text);
    EndWord();
    Give();
}

void HidingStream::Give()
{
    if (!mResult.empty()) {
        mTake(mResult);
        mResult.clear();
    }
}

void HidingStream::TakeText(std::string_view text)
{
    while (!text.empty()) {
        const auto* const end = std::find_if(text.begin(), text.end(), IsBlank);
        const std::string_view word = text.substr(0, static_cast<std::size_t>(end - text.begin()));
        text.remove_prefix(word.size());
        if (text.empty() || !mWord.empty() || mIsTooLong) {
            Gather(word);
        } else if (!word.empty()) {
            TakeWord(word);
        }
        if (!text.empty()) {
            EndWord();
            mResult += text.front();
            mHiding = text.front() == '\n' ? Hiding::Nothing : mHiding;
            text.remove_prefix(1);
        }
    }
}

/** Adds to the word that a block cut. */
void HidingStream::Gather(std::string_view text)
{
    if (!mIsTooLong) {
        mWord += text;
        if (mWord.size() > LONGEST_WORD) {
            TakeLongWord();
        }
    }
}

void HidingStream::EndWord()
{
    if (!mWord.empty()) {
        TakeWord(mWord);
        mWord.clear();
    }
    mIsTooLong = false;
}

/** Hides a word to its end, of which only the beginning is at hand. A name before the value is kept. */
void HidingStream::TakeLongWord()
{
    const bool isHidden = !EndsHiding(mHiding, mWord);
    mHiding = isHidden ? GoOn(mHiding) : Hiding::Nothing;
    if (isHidden || mWord.find(SCHEME_END) != std::string::npos || !TakeValue(mWord)) {
        AddHidden();
    }
    mWord.clear();
    mIsTooLong = true;
}

void HidingStream::TakeWord(std::string_view word)
{
    if (!EndsHiding(mHiding, word)) {
        AddHidden();
        mHiding = GoOn(mHiding);
        return;
    }
    mHiding = Hiding::Nothing;
    if (word.find(SCHEME_END) != std::string_view::npos) {
        TakeAddress(HideUsers(word, mHidden));
        return;
    }
    if (TakeValue(word)) {
        return;
    }
    mResult += word;
    const std::string_view name = Unwrap(word);
    mHiding = IsOption(name) && mRedaction.IsSecret(name) ? Hiding::NextWord : Hiding::Nothing;
}

/** An address without its user: values in it, and those after its question mark. */
void HidingStream::TakeAddress(std::string_view word)
{
    const std::size_t query = std::min(word.find_first_of("?#", word.find(SCHEME_END)), word.size());
    if (!TakeValue(word.substr(0, query))) {
        mResult += word.substr(0, query);
        TakeQuery(word.substr(query));
    }
}

/** Each value of a query for itself: they are parted by signs. */
void HidingStream::TakeQuery(std::string_view query)
{
    for (std::size_t at = 0; at < query.size();) {
        const std::size_t end = std::min(query.find_first_of("&#", at + 1), query.size());
        const std::string_view part = query.substr(at, end - at);
        const std::size_t value = FindSecret(mRedaction, part);
        mResult += part.substr(0, value);
        if (value != std::string_view::npos) {
            AddHidden();
        }
        at = end;
    }
}

/**
 * NAME=value and name:value, also after other names and values. All after the first secret name is hidden,
 * for what ends a value is not known, and the words after it as far as they may belong to it.
 */
bool HidingStream::TakeValue(std::string_view word)
{
    const std::size_t value = FindSecret(mRedaction, word);
    if (value == std::string_view::npos) {
        return false;
    }
    const bool isHeader = word[value - 1] == ':';
    mResult += word.substr(0, value);
    if (!isHeader || value < word.size()) {
        AddHidden();
    }
    const Hiding ofName = IsOption(Unwrap(word)) ? Hiding::UpToOptionOrVariable : Hiding::UpToVariable;
    mHiding = isHeader ? Hiding::UpToOption : ofName;
    return true;
}

void HidingStream::AddHidden()
{
    mResult += Redaction::HIDDEN;
    ++mHidden;
}

std::string HideValues(const Redaction& redaction, std::string_view text)
{
    std::string result;
    HidingStream stream(redaction, [&result](std::string_view block) { result += block; });
    stream.Take(text);
    stream.Finish();
    return result;
}

} // namespace ctl
