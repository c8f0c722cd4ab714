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
    /** `width` is what the tool was told to cut its lines at; 0 if that isn't known. */
    explicit ProcessListingParser(std::size_t width = 0) : mWidth(width) {}

    void TakeLine(std::string_view line);
    const ProcessListing& Get() const { return mListing; }

private:
    std::size_t mWidth;
    ProcessListing mListing;
    Columns mColumns;
};

/**
 * A command line without the environment that the listing adds to it: it ends before the first word that sets
 * a name. Values of the environment may be secrets, and a page is passed on.
 *
 * Intentional: arguments like if=/dev/zero, and all after them, are left out too. Nothing in the listing
 * tells them from variables.
 */
std::string_view StripEnvironment(std::string_view command);

/** The width that a tool line asks for by "--width N"; 0 without one. */
std::size_t GetListingWidth(std::string_view toolLine);

/** A command line without the branches of the process tree in front of it. */
std::string_view StripTree(std::string_view command);

} // namespace ctl
