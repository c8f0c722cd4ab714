#include "evidence/Redaction.h"

#include <algorithm>
#include <functional>
#include <utility>

namespace ctl
{
namespace
{
constexpr const char* COMMON_WORDS[] = {"passw",       "passphrase",  "secret",   "token",      "credential",
                                        "apikey",      "api_key",     "api-key",  "access_key", "access-key",
                                        "private_key", "private-key", "authoriz", "oauth",      "cookie"};
/** Words that stand for a secret only when they are a whole part of a name: "db_pass", but not "bypass". */
constexpr const char* COMMON_PARTS[] = {"pass", "pwd", "auth"};
/** The working folder of every environment is no secret. */
constexpr const char* PLAIN_NAMES[] = {"pwd", "oldpwd"};
constexpr std::string_view TEXT_PREFIX = "text:";
constexpr std::string_view BLANKS = " \t";
constexpr std::string_view SCHEME_END = "://";

std::string ToSmallLetters(std::string_view text)
{
    std::string small(text);
    for (char& letter : small) {
        letter = letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
    }
    return small;
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

/** True if one of the parts of a name, between its signs, is one of the common ones. */
bool HoldsCommonPart(std::string_view name)
{
    while (!name.empty()) {
        const std::size_t end = std::min(name.find_first_of("_-."), name.size());
        const std::string_view part = name.substr(0, end);
        if (std::find(std::begin(COMMON_PARTS), std::end(COMMON_PARTS), part) != std::end(COMMON_PARTS)) {
            return true;
        }
        name.remove_prefix(std::min(end + 1, name.size()));
    }
    return false;
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
} // namespace

Redaction::Redaction() : mWords(std::begin(COMMON_WORDS), std::end(COMMON_WORDS)) {}

void Redaction::AddLine(std::string_view line)
{
    while (!line.empty() && (line.back() == '\r' || line.back() == ' ' || line.back() == '\t')) {
        line.remove_suffix(1);
    }
    if (line.substr(0, TEXT_PREFIX.size()) == TEXT_PREFIX) {
        if (line.size() > TEXT_PREFIX.size()) {
            mTexts.emplace_back(line.substr(TEXT_PREFIX.size()));
        }
    } else if (!line.empty() && line.front() != '#') {
        mWords.push_back(ToSmallLetters(line));
    }
}

bool Redaction::IsSecret(std::string_view name) const
{
    const std::string small = ToSmallLetters(name);
    if (std::find(std::begin(PLAIN_NAMES), std::end(PLAIN_NAMES), small) != std::end(PLAIN_NAMES)) {
        return false;
    }
    if (HoldsCommonPart(small)) {
        return true;
    }
    return std::any_of(mWords.begin(), mWords.end(),
                       [&small](const std::string& word) { return small.find(word) != std::string::npos; });
}

std::string Redaction::HideTexts(std::string_view line, std::size_t& hidden) const
{
    std::string result(line);
    for (const std::string& text : mTexts) {
        for (std::size_t at = result.find(text); at != std::string::npos; at = result.find(text, at)) {
            result.replace(at, text.size(), HIDDEN);
            at += sizeof HIDDEN - 1;
            ++hidden;
        }
    }
    return result;
}

namespace
{
/** What the word before says about the word at hand. */
enum class Hiding
{
    Nothing,
    NextWord,     ///< --name value
    UpToVariable, ///< a value of an environment may hold blanks
    UpToOption    ///< a header of a request holds blanks
};

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

/** Goes along a line word by word, and hides what the names before say. */
class LineRedaction
{
public:
    LineRedaction(std::function<bool(std::string_view)> isSecret, std::size_t& hidden)
        : mIsSecret(std::move(isSecret)), mHidden(hidden)
    {}

    std::string Run(const std::string& line)
    {
        for (std::size_t at = 0; at < line.size();) {
            const std::size_t begin = std::min(line.find_first_not_of(BLANKS, at), line.size());
            const std::size_t end = std::min(line.find_first_of(BLANKS, begin), line.size());
            mResult.append(line, at, begin - at);
            if (begin < end) {
                TakeWord(std::string_view(line).substr(begin, end - begin));
            }
            at = end;
        }
        return std::move(mResult);
    }

private:
    void TakeWord(std::string_view word)
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
        mHiding = word.front() == '-' && mIsSecret(word) ? Hiding::NextWord : Hiding::Nothing;
    }

    /** The user of an address, and the values after its question mark. */
    void TakeAddress(std::string_view word)
    {
        const std::size_t query = std::min(word.find('?'), word.size());
        const std::string_view variable = GetTextBefore(word.substr(0, word.find(SCHEME_END)), '=');
        if (!variable.empty() && TakeValue(word)) {
            return; // NAME=scheme://..., with a name that hides all of it
        }
        mResult += HideUser(word.substr(0, query), mHidden);
        for (std::size_t at = query; at < word.size();) {
            const std::size_t end = std::min(word.find('&', at + 1), word.size());
            const std::string_view value = word.substr(at + 1, end - at - 1);
            const std::string_view name = GetNameBefore(value, '=');
            mResult += word[at];
            if (!name.empty() && mIsSecret(name)) {
                mResult.append(GetTextBefore(value, '=')).append("=");
                AddHidden();
            } else {
                mResult += value;
            }
            at = end;
        }
    }

    /** NAME=value and --name=value. */
    bool TakeValue(std::string_view word)
    {
        const std::string_view name = GetNameBefore(word, '=');
        if (name.empty() || !mIsSecret(name)) {
            return false;
        }
        mResult.append(GetTextBefore(word, '=')).append("=");
        AddHidden();
        mHiding = word.front() == '-' ? Hiding::Nothing : Hiding::UpToVariable;
        return true;
    }

    /** "Name: value" and name:value. */
    bool TakeHeader(std::string_view word)
    {
        const std::string_view name = GetNameBefore(word, ':');
        if (name.empty() || !mIsSecret(name)) {
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

    void AddHidden()
    {
        mResult += Redaction::HIDDEN;
        ++mHidden;
    }

    const std::function<bool(std::string_view)> mIsSecret;
    std::size_t& mHidden;
    std::string mResult;
    Hiding mHiding = Hiding::Nothing;
};
} // namespace

std::string Redaction::Hide(std::string_view line, std::size_t& hidden) const
{
    return LineRedaction([this](std::string_view name) { return IsSecret(name); }, hidden)
        .Run(HideTexts(line, hidden));
}

} // namespace ctl
