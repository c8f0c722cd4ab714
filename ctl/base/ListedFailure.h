#pragma once

#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace ctl
{

/** A failure whose message is followed by lines of their own, such as the names to choose from. */
class ListedFailure : public std::runtime_error
{
public:
    ListedFailure(const std::string& text, std::vector<std::string> lines)
        : std::runtime_error(text), mLines(std::move(lines))
    {}

    const std::vector<std::string>& GetLines() const noexcept { return mLines; }

private:
    std::vector<std::string> mLines;
};

} // namespace ctl
