#pragma once

/** Whether a stop signal has come: noted by the handler on any thread, asked by the worker. */

/** Async-signal-safe. */
void NoteStop();

/** Whether a stop signal has come that the main thread handles or is about to handle. */
bool IsStopUnderWay();
