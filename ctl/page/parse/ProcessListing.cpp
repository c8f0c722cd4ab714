#include "page/parse/ProcessListing.h"

namespace ctl
{

namespace
{
/**
 * "NAME=…". The name of a variable may hold any sign, so only what can't be one is left out: an option, a
 * path, an address.
 */
bool SetsAName(std::string_view word)
{
    const std::string_view name = word.substr(0, word.find('='));
    return !name.empty() && name.size() < word.size() && name.front() != '-' && name.front() != '/' &&
           name.find("://") == std::string_view::npos;
}

std::string_view GetFirstWord(std::string_view text)
{
    return text.substr(0, text.find(' '));
}

/** Leaves out the last word where it may be a variable, or an address with a password, that was cut. */
std::string_view StripCutWord(std::string_view command)
{
    const auto blank = command.rfind(' ');
    const std::string_view word = command.substr(blank == std::string_view::npos ? 0 : blank + 1);
    const bool isPlain = word.starts_with('/') || word.starts_with('-');
    if (word.find("://") == std::string_view::npos && (isPlain || blank == std::string_view::npos)) {
        return command;
    }
    return blank == std::string_view::npos ? std::string_view() : TrimBlanks(command.substr(0, blank));
}
} // namespace

std::string_view StripEnvironment(std::string_view command)
{
    for (std::size_t begin = 0; begin < command.size();) {
        const std::string_view word = GetFirstWord(command.substr(begin));
        if (SetsAName(word)) {
            return TrimBlanks(command.substr(0, begin));
        }
        begin += word.size() + 1;
    }
    return command;
}

std::size_t GetListingWidth(std::string_view toolLine)
{
    constexpr std::string_view OPTION = "--width ";
    const auto found = toolLine.find(OPTION);
    const auto width = found == std::string_view::npos
                           ? std::nullopt
                           : ReadWhole(GetFirstWord(toolLine.substr(found + OPTION.size())));
    return width && *width > 0 ? static_cast<std::size_t>(*width) : 0;
}

std::string_view StripTree(std::string_view command)
{
    const auto branch = command.find("\\_ ");
    if (branch != std::string_view::npos && command.find_first_not_of(" |\\_") >= branch + 3) {
        command.remove_prefix(branch + 3);
    }
    return TrimBlanks(command);
}

void ProcessListingParser::TakeLine(std::string_view line)
{
    if (!mColumns.HasHead()) {
        if (line.find("PID") != std::string_view::npos) {
            mColumns.TakeHead(line);
        }
        return;
    }
    mColumns.TakeRow(line);
    const auto pid = ReadWhole(mColumns.Text("PID"));
    if (!pid) {
        return;
    }
    if (mListing.mProcesses.size() == MOST_PROCESS_ROWS) {
        ++mListing.mRowsLeftOut;
        return;
    }
    ProcessRow& row = mListing.mProcesses.emplace_back();
    row.mPid = *pid;
    row.mMemory = mColumns.Number("%MEM", -1);
    row.mResident = mColumns.Number("RSS", -1);
    row.mVirtual = mColumns.Number("VSZ", -1);
    const auto command = StripTree(RestFromField(line, mColumns.IndexOf("COMMAND")));
    const auto arguments = StripEnvironment(command);
    const bool isCut = mWidth != 0 && line.size() >= mWidth && arguments.size() == command.size();
    row.mCommand = isCut ? StripCutWord(command) : arguments;
}

} // namespace ctl
