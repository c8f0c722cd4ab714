#include "page/parse/ProcessListing.h"

namespace ctl
{

namespace
{
/** "NAME=…" */
bool SetsAName(std::string_view word)
{
    const auto end = word.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_");
    return end != 0 && end != std::string_view::npos && word[end] == '=';
}
} // namespace

std::string_view StripEnvironment(std::string_view command)
{
    for (auto blank = command.find(' '); blank != std::string_view::npos;
         blank = command.find(' ', blank + 1)) {
        if (SetsAName(command.substr(blank + 1))) {
            return TrimBlanks(command.substr(0, blank));
        }
    }
    return command;
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
    row.mCommand = StripEnvironment(StripTree(RestFromField(line, mColumns.IndexOf("COMMAND"))));
}

} // namespace ctl
