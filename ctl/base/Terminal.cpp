#include "base/Terminal.h"

#include <cstdlib>
#include <cstring>

#include <unistd.h>

namespace ctl
{

namespace
{

const char* GetSequence(Colour colour)
{
    switch (colour) {
    case Colour::Red:
        return "\033[31m";
    case Colour::Yellow:
        return "\033[33m";
    case Colour::Green:
        return "\033[32m";
    case Colour::Faint:
        return "\033[2m";
    case Colour::Plain:
        break;
    }
    return "";
}

bool IsDumb()
{
    const char* const terminal = std::getenv("TERM");
    return terminal == nullptr || std::strcmp(terminal, "dumb") == 0;
}

} // namespace

bool UsesColour()
{
    const char* const refusal = std::getenv("NO_COLOR");
    return isatty(STDOUT_FILENO) != 0 && (refusal == nullptr || *refusal == '\0') && !IsDumb();
}

std::string Paint(std::string_view text, Colour colour)
{
    if (colour == Colour::Plain || !UsesColour()) {
        return std::string(text);
    }
    return GetSequence(colour) + std::string(text) + "\033[0m";
}

bool ShowsProgress()
{
    return isatty(STDERR_FILENO) != 0 && !IsDumb();
}

} // namespace ctl
