#pragma once

#include "page/read/ReportData.h"

#include <string>

namespace ctl
{

/** A number with so many digits after the point, "1234.5"; "0" without a sign. */
std::string FormatPlain(double number, int digits);

/** The same, "not known" below 0. All below follow that. */
std::string FormatNumber(double number, int digits);

/** "12.5 %" */
std::string FormatPercent(double percent);

/** Kilobytes in the unit that suits: "12 KiB", "1.5 MiB", "23.1 GiB". */
std::string FormatKilobytes(double kilobytes);

/** A change in kilobytes with its sign: "+1.5 MiB", "-12 KiB", "no change". */
std::string FormatGrowth(double kilobytes);

/** "3.2 ms" */
std::string FormatMilliseconds(double milliseconds);

/** "2026-11-21 20:32:45" */
std::string FormatWall(Wall wall);

/** "20:32:45" */
std::string FormatWallClock(Wall wall);

/** How long after another time: "+12 s", "-3 min 5 s", "+0 s". */
std::string FormatOffset(Wall wall, Wall from);

/** "1 thread", "12 threads": the word gets an s unless there is one of it. */
std::string FormatCount(double count, const char* word);

} // namespace ctl
