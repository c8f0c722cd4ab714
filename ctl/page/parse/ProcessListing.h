#pragma once

#include "page/parse/Top.h"

namespace ctl
{

/** The rows of `ps faxeo pid,pmem,rss,vsz,sz,size,args`, processor time not among them. */
struct ProcessListing
{
    std::vector<ProcessRow> mProcesses;
    std::size_t mRowsLeftOut = 0;
};

/** Reads the process listing line by line. */
class ProcessListingParser
{
public:
    void TakeLine(std::string_view line);
    const ProcessListing& Get() const { return mListing; }

private:
    ProcessListing mListing;
    Columns mColumns;
};

/**
 * A command line without the environment that the listing adds to it: it ends before the first word, not
 * being the first of all, that sets a name in capitals. Values of the environment may be secrets, and a page
 * is passed on.
 */
std::string_view StripEnvironment(std::string_view command);

/** A command line without the branches of the process tree in front of it. */
std::string_view StripTree(std::string_view command);

} // namespace ctl
