#pragma once

#include <string>
#include <string_view>

namespace ctl
{

enum class Colour
{
    Plain,
    Red,
    Yellow,
    Green,
    Faint
};

/** True if colours go to standard output: it is a terminal that knows them, and NO_COLOR isn't set. */
bool UsesColour();

/** The text in the colour where colours are used, and the text alone where they aren't. */
std::string Paint(std::string_view text, Colour colour);

/** True if standard error is a terminal, where progress may be shown. */
bool ShowsProgress();

} // namespace ctl
