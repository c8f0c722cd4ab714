#include "config/ConfigurationValueReaders.h"

#include "base/BoundedText.h"
#include "base/LogFileMtx.h"
#include "base/LogLine.h"
#include "base/OwnedText.h"
#include "config/ConfigurationTexts.h"
#include "config/Refusal.h"
#include "config/SharedSetting.h"
#include "platform/HelperFunctionInterface.h"
#include "platform/UnixHelperFactoryMethod.h"
#include "thbase.h"

#include <cctype>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace
{
constexpr int DECIMAL = 10;
constexpr char ALLOWED_BESIDES_LETTERS[] = "0123456789@_.\\/-:, \t";
constexpr const char* FORBIDDEN_SEQUENCES[] = {"..\\", "../", "..", "*", ".?"};

void LogNotDefined(const char* key)
{
    WriteVerboseLine(logFileMtx, NOT_DEFINED_TEXT, key);
}

bool IsAllowed(char character)
{
    // The program never sets a locale, so no byte above 127 is a letter.
    return std::isalpha(static_cast<unsigned char>(character)) != 0 ||
           (character != '\0' && strchr(ALLOWED_BESIDES_LETTERS, character) != nullptr);
}
} // namespace

int ReadIntegerValue(const char* key, int& value)
{
    int number = 0;
    switch (thconfGetKeyValPairAsInt(get_master_config_ptr(), key, &number)) {
    case 0:
        SetSharedNumber(value, number);
        return 0;
    case STORE_RC_NOT_FOUND:
        LogNotDefined(key);
        return RC_CONFIG_NOT_DEFINED;
    case STORE_RC_NOT_NUMERIC:
        return Refuse(logFileMtx, MessageOrder::LogFirst, RC_CONFIG_INVALID,
                      FormatBounded(MESSAGE_SIZE, NOT_NUMERIC_TEXT, key));
    default:
        return RC_CONFIG_NOT_DEFINED;
    }
}

std::string ReadStringValue(const char* key, std::string& value, int& result)
{
    result = RC_CONFIG_NOT_DEFINED;
    value = "";
    char* text = nullptr;
    const int storeResult = thconfGetKeyValPair(get_master_config_ptr(), key, &text);
    if (storeResult == STORE_RC_NOT_FOUND || text == nullptr) {
        LogNotDefined(key);
        return "";
    }
    const OwnedText owned(text);
    value = text;
    if (!ValidateInputForSpecialChars(value)) {
        result = Refuse(logFileMtx, MessageOrder::LogFirst, RC_CONFIG_BAD_CHARS,
                        FormatBounded(MESSAGE_SIZE, BAD_CHARACTERS_TEXT, key));
    } else if (storeResult == 0) {
        result = 0;
    }
    return value;
}

bool ValidateInputForSpecialChars(std::string text)
{
    if (CheckForUnauthorizedStrings(text)) {
        WriteLogLine(logFileMtx, FORBIDDEN_SEQUENCE_TEXT);
        return false;
    }
    for (const char character : text) {
        if (!IsAllowed(character)) {
            WriteLogLine(logFileMtx, FORBIDDEN_CHARACTER_TEXT, character);
            return false;
        }
    }
    return true;
}

bool CheckForUnauthorizedStrings(std::string text)
{
    for (const char* const sequence : FORBIDDEN_SEQUENCES) {
        if (text.find(sequence) != std::string::npos) {
            return true;
        }
    }
    return false;
}

void GetKeyValueFromStringTouple(std::string tuple, const std::string& delimiter, std::string& key,
                                 int& value)
{
    key = "";
    value = -1;
    const std::unique_ptr<HelperFunctionInterface> helper(GetHelperFunctionInstance());
    const std::size_t position = tuple.find(delimiter);
    if (!helper || position == std::string::npos) {
        return;
    }
    const std::string left = helper->trim(tuple.substr(0, position));
    const std::string right = helper->trim(tuple.substr(position + 1));
    if (!left.empty()) {
        key = left;
    }
    if (!right.empty()) {
        value = static_cast<int>(strtol(right.c_str(), nullptr, DECIMAL));
    }
}

void GetVectorFromString(std::string input, const std::string& delimiter, std::vector<std::string>& output)
{
    output.clear();
    const std::unique_ptr<HelperFunctionInterface> helper(GetHelperFunctionInstance());
    if (!helper) {
        return;
    }
    std::size_t start = 0;
    for (std::size_t end = input.find(delimiter); end != std::string::npos;
         end = input.find(delimiter, start)) {
        output.push_back(helper->trim(input.substr(start, end - start)));
        start = end + 1;
    }
    if (start < input.size()) {
        output.push_back(helper->trim(input.substr(start)));
    }
}
