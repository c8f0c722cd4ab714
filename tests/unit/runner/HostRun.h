#pragma once

#include "runner/Outcome.h"

#include <functional>
#include <string>
#include <vector>

/** Called with each outcome; false ends the run. */
using OutcomeSink = std::function<bool(const Outcome&)>;

/**
 * Runs tests on an isolated host, one after the other. After a test that doesn't pass the others get a new
 * host, for such a test may have left anything. Where there can be no host each test is skipped with the
 * reason.
 */
void RunOnHosts(std::vector<std::string> tests, const OutcomeSink& sink);

/** The part of it on the host: runs the tests that standard input names, a line each, and writes their
 * outcomes. */
void ServeOnHost();
