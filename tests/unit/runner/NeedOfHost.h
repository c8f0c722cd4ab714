#pragma once

/** True on an isolated host, where a test may change every path. */
bool IsOnIsolatedHost();

/** Notes that the running test can't go on here. The runner then runs its whole suite on an isolated host. */
void AskForHost();

/** Whether the running test has asked. */
bool HasAskedForHost();
