#include "evidence/Redaction.h"

#include <algorithm>

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

std::string ToSmallLetters(std::string_view text)
{
    std::string small(text);
    for (char& letter : small) {
        letter = letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
    }
    return small;
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

} // namespace ctl
