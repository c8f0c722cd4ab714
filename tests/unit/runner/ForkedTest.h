#pragma once

#include "runner/Outcome.h"

/**
 * Runs one test in a child of this process, so that no state of the program passes from one test to the next.
 * Waits up to two minutes for its end, and ends what it leaves running. Not for threads at the same time.
 *
 * Off an isolated host the test has a folder for temporary files of its own (TMPDIR). On one, the fixed paths
 * are reset after the test: /tmp, /run, /usr/tarnv and the release files are as on a new host.
 */
Outcome RunForked(const std::string& test);
