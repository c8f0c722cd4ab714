#pragma once

namespace CLI
{
class Option;
}

namespace ctl
{

/**
 * Refuses what is no number from `lowest` to `highest`. Whether it is a whole one is for the option's type.
 */
void AcceptRange(CLI::Option& option, double lowest, double highest);

} // namespace ctl
