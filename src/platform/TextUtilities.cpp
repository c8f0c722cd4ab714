#include "platform/TextUtilities.h"

#include "base/OwnedText.h"
#include "platform/UnixHelperFunction.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

#include <libgen.h> // makes basename the one of POSIX

namespace
{
constexpr char BLANK = ' ';
constexpr int DECIMAL = 10;

void LowerCase(std::string& text)
{
    for (char& character : text) {
        character = static_cast<char>(std::tolower(static_cast<unsigned char>(character)));
    }
}

// basename and dirname may write to their argument, so they get a copy.
std::string GetPathPart(const std::string& token, char* (*part)(char*))
{
    if (token.empty()) {
        return "";
    }
    const OwnedText copy(strdup(token.c_str()));
    return copy ? part(copy.get()) : "";
}
} // namespace

bool CompareIgnoreCase(std::string first, std::string second)
{
    LowerCase(first);
    LowerCase(second);
    return first.compare(second) != 0;
}

bool IsSameText(const std::string& first, const std::string& second)
{
    return !CompareIgnoreCase(first, second);
}

bool UnixHelperFunction::CompareIgnoreCase(std::string first, std::string second)
{
    return ::CompareIgnoreCase(first, second);
}

void UnixHelperFunction::ToLowerCase(std::string& text)
{
    LowerCase(text);
}

std::string UnixHelperFunction::trim(const std::string& text)
{
    const std::size_t first = text.find_first_not_of(BLANK);
    if (first == std::string::npos) {
        return text; // Intentional: a text of blanks is unchanged, so a list of one blank has one element
    }
    return text.substr(first, text.find_last_not_of(BLANK) - first + 1);
}

std::string UnixHelperFunction::GetToken(std::string text, int index, std::string delimiter)
{
    if (index < 0) {
        return "";
    }
    std::size_t position = text.find(delimiter);
    while (position != std::string::npos) {
        if (index == 0) {
            return text.substr(0, position);
        }
        text.erase(0, position + delimiter.size());
        --index;
        position = text.find(delimiter);
    }
    return index == 0 ? text : "";
}

int UnixHelperFunction::GetPid(std::string text, int index, std::string delimiter)
{
    return static_cast<int>(strtol(GetToken(text, index, delimiter).c_str(), nullptr, DECIMAL));
}

int UnixHelperFunction::GetIntValue(std::string text, int index, std::string delimiter)
{
    return static_cast<int>(strtol(GetToken(text, index, delimiter).c_str(), nullptr, DECIMAL));
}

std::int64_t UnixHelperFunction::GetLongValue(std::string text, int index, std::string delimiter)
{
    return strtol(GetToken(text, index, delimiter).c_str(), nullptr, DECIMAL);
}

double UnixHelperFunction::GetDoubleValue(std::string text, int index, std::string delimiter)
{
    return strtod(GetToken(text, index, delimiter).c_str(), nullptr);
}

std::string UnixHelperFunction::GetProcDir(std::string text, int index, std::string delimiter)
{
    return GetPathPart(GetToken(text, index, delimiter), dirname);
}

std::string UnixHelperFunction::GetProcName(std::string text, int index, std::string delimiter)
{
    return GetPathPart(GetToken(text, index, delimiter), basename);
}

std::string UnixHelperFunction::RemoveConsecutiveSpaces(std::string text)
{
    const std::unique_ptr<char[]> buffer(new (std::nothrow) char[text.size() + 1]);
    if (!buffer) {
        return "";
    }
    char* end = buffer.get();
    for (const char* next = text.c_str(); *next != '\0'; ++next) {
        if (*next != BLANK || end == buffer.get() || end[-1] != BLANK) {
            *end++ = *next;
        }
    }
    *end = '\0';
    return buffer.get();
}

std::string UnixHelperFunction::RemoveEOL(std::string text)
{
    text.erase(std::remove(text.begin(), text.end(), '\n'), text.end());
    return text;
}

void UnixHelperFunction::GetJavaProcessOSName(std::string& name)
{
    name = "java";
}

std::string UnixHelperFunction::RedirectCommand(std::string command, std::string file, bool append,
                                                bool withStderr)
{
    return command + (append ? " >> " : " > ") + file + (withStderr ? " 2>&1 " : "");
}
