#include "evidence/Redaction.h"

#include <algorithm>

namespace ctl
{
namespace
{
constexpr const char* COMMON_WORDS[] = {"passw",       "passphrase",  "secret",    "token",      "credential",
                                        "apikey",      "api_key",     "api-key",   "access_key", "access-key",
                                        "private_key", "private-key", "accesskey", "accountkey", "privatekey",
                                        "authoriz",    "oauth",       "cookie"};
/** Words that stand for a secret only when they are a whole part of a name: "db_pass", but not "bypass". */
constexpr const char* COMMON_PARTS[] = {"pass", "pwd", "pw", "auth"};
/** Parts of names that end like "dbpass" and stand for no secret. */
constexpr std::string_view PLAIN_PARTS[] = {"bypass",   "compass", "surpass",
                                            "trespass", "lowpass", "highpass"};
/** The working folder of every environment is no secret. */
constexpr const char* PLAIN_NAMES[] = {"PWD", "OLDPWD"};
constexpr std::string_view TEXT_PREFIX = "text:";

std::string ToSmallLetters(std::string_view text)
{
    std::string small(text);
    for (char& letter : small) {
        letter = letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
    }
    return small;
}

bool EndsWith(std::string_view text, std::string_view end)
{
    return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

/** True if a part of a name is one of the common ones, or ends like "dbpass". */
bool IsCommonPart(std::string_view part)
{
    const bool isPlain = std::any_of(std::begin(PLAIN_PARTS), std::end(PLAIN_PARTS),
                                     [part](std::string_view plain) { return EndsWith(part, plain); });
    return !isPlain && (EndsWith(part, "pass") || std::find(std::begin(COMMON_PARTS), std::end(COMMON_PARTS),
                                                            part) != std::end(COMMON_PARTS));
}

/**
 * True if one of the parts of a name, between its signs, is a common one, or the last of several is a key.
 */
bool HoldsCommonPart(std::string_view name)
{
    name.remove_prefix(std::min(name.find_first_not_of("_-."), name.size())); // the dashes of an option
    if (EndsWith(name, "_key") || EndsWith(name, "-key") || EndsWith(name, ".key")) {
        return true;
    }
    while (!name.empty()) {
        const std::size_t end = std::min(name.find_first_of("_-."), name.size());
        const std::string_view part = name.substr(0, end);
        if (IsCommonPart(part)) {
            return true;
        }
        name.remove_prefix(std::min(end + 1, name.size()));
    }
    return false;
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
    if (std::find(std::begin(PLAIN_NAMES), std::end(PLAIN_NAMES), name) != std::end(PLAIN_NAMES)) {
        return false;
    }
    if (HoldsCommonPart(small)) {
        return true;
    }
    return std::any_of(mWords.begin(), mWords.end(),
                       [&small](const std::string& word) { return small.find(word) != std::string::npos; });
}

} // namespace ctl
