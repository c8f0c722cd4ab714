#include "page/parse/ProcessListing.h"

namespace ctl
{

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
    row.mCommand = StripTree(RestFromField(line, mColumns.IndexOf("COMMAND")));
}

} // namespace ctl
