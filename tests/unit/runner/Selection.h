#pragma once

#include <string>
#include <vector>

/**
 * The tests that run: those that the filter of the command line selects, in the order of the program.
 *
 * @param file  only tests whose source ends with this path; all when empty
 */
std::vector<std::string> SelectTests(const std::string& file);

/** The suite of a test: what stands before the dot. */
std::string GetSuite(const std::string& test);
