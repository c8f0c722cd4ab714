#pragma once

#include "runner/Outcome.h"

#include <string>
#include <vector>

/** Prints a test that has run, and all that it wrote when it failed. */
void PrintOutcome(const Outcome& outcome);

/** Prints how many tests passed, failed and were skipped, and how many ran without a host. */
void PrintCounts(const std::vector<Outcome>& outcomes);

/** How many tests have this result. */
std::size_t Count(const std::vector<Outcome>& outcomes, Result result);

/**
 * Writes the outcomes as a JUnit report; a test case on an isolated host has the attribute host="true". Bytes
 * that XML can't hold are shown as question marks.
 *
 * @return false when the file can't be written
 */
bool WriteReport(const std::string& path, const std::vector<Outcome>& outcomes);
