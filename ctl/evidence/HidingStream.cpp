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

/** The name before the sign in a word, as it stands; empty if there is no such sign. */
std::string_view GetTextBefore(std::string_view word, char sign)
{
    const std::size_t at = word.find(sign);
    return at == std::string_view::npos ? std::string_view() : word.substr(0, at);
}

/** The same without quotes and brackets around it; empty if what is left is no name. */
std::string_view GetNameBefore(std::string_view word, char sign)
{
    constexpr std::string_view WRAPPING = "\"'`{}[](),";
    std::string_view name = GetTextBefore(word, sign);
    name.remove_prefix(std::min(name.find_first_not_of(WRAPPING), name.size()));
    name = name.substr(0, name.find_last_not_of(WRAPPING) + 1);
    const bool isName = std::all_of(name.begin(), name.end(), [sign](char letter) {
        // A dot before a colon is a place in a source file.
        return IsNameLetter(letter) || letter == '-' || (letter == '.' && sign == '=');
    });
    return isName ? name : std::string_view();
}

/** True for NAME=value as an environment shows it. */
bool IsVariable(std::string_view word)
{
    const std::string_view name = GetTextBefore(word, '=');
    return !name.empty() && std::all_of(name.begin(), name.end(), IsNameLetter);
}

/** Hides scheme://THIS@host. `word` holds an address. */
std::string HideUser(std::string_view word, std::size_t& hidden)
{
    const std::size_t begin = word.find(SCHEME_END) + SCHEME_END.size();
    const std::string_view rest = word.substr(begin);
    const std::size_t at = rest.substr(0, rest.find_first_of("/?#")).rfind('@');
    if (at == std::string_view::npos) {
        return std::string(word);
    }
    ++hidden;
    return std::string(word.substr(0, begin)) + Redaction::HIDDEN + std::string(rest.substr(at));
}

bool EndsHiding(Hiding hiding, std::string_view word)
{
    switch (hiding) {
    case Hiding::UpToVariable:
        return IsVariable(word);
    case Hiding::UpToOption:
    case Hiding::NextWord:
        return word.front() == '-';
    default:
        return true;
    }
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
    mHiding = isHidden && mHiding != Hiding::NextWord ? mHiding : Hiding::Nothing;
    if (isHidden || !(TakeValue(mWord) || TakeHeader(mWord))) {
        AddHidden();
    }
    mWord.clear();
    mIsTooLong = true;
}

void HidingStream::TakeWord(std::string_view word)
{
    if (!EndsHiding(mHiding, word)) {
        AddHidden();
        mHiding = mHiding == Hiding::NextWord ? Hiding::Nothing : mHiding;
        return;
    }
    mHiding = Hiding::Nothing;
    if (word.find(SCHEME_END) != std::string_view::npos) {
        TakeAddress(word);
        return;
    }
    if (TakeValue(word) || TakeHeader(word)) {
        return;
    }
    mResult += word;
    mHiding = word.front() == '-' && mRedaction.IsSecret(word) ? Hiding::NextWord : Hiding::Nothing;
}

/** The user of an address, and the values after its question mark. */
void HidingStream::TakeAddress(std::string_view word)
{
    const std::size_t query = std::min(word.find('?'), word.size());
    const std::string_view variable = GetTextBefore(word.substr(0, word.find(SCHEME_END)), '=');
    if (!variable.empty() && TakeValue(word)) {
        return; // NAME=scheme://..., with a name that hides all of it
    }
    mResult += HideUser(word.substr(0, query), mHidden);
    TakeQuery(word.substr(query));
}

void HidingStream::TakeQuery(std::string_view query)
{
    for (std::size_t at = 0; at < query.size();) {
        const std::size_t end = std::min(query.find('&', at + 1), query.size());
        const std::string_view value = query.substr(at + 1, end - at - 1);
        const std::string_view name = GetNameBefore(value, '=');
        mResult += query[at];
        if (!name.empty() && mRedaction.IsSecret(name)) {
            mResult.append(GetTextBefore(value, '=')).append("=");
            AddHidden();
        } else {
            mResult += value;
        }
        at = end;
    }
}

/** NAME=value and --name=value. */
bool HidingStream::TakeValue(std::string_view word)
{
    const std::string_view name = GetNameBefore(word, '=');
    if (name.empty() || !mRedaction.IsSecret(name)) {
        return false;
    }
    mResult.append(GetTextBefore(word, '=')).append("=");
    AddHidden();
    mHiding = word.front() == '-' ? Hiding::Nothing : Hiding::UpToVariable;
    return true;
}

/** "Name: value" and name:value. */
bool HidingStream::TakeHeader(std::string_view word)
{
    const std::string_view name = GetNameBefore(word, ':');
    if (name.empty() || !mRedaction.IsSecret(name)) {
        return false;
    }
    const std::string_view before = GetTextBefore(word, ':');
    mResult.append(before).append(":");
    if (before.size() + 1 < word.size()) {
        AddHidden();
    }
    mHiding = Hiding::UpToOption;
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
