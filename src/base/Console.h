#pragma once

/**
 * Text for the operator's terminal.
 *
 * All console text of the program goes through these functions, to standard output and never to standard
 * error. The daemon closes its standard streams, and a closed stream must not be touched again: from then on
 * console text is dropped here. Main thread before the daemon has threads, any thread afterwards.
 */

/** Prints as printf does. Nothing is added to the text. */
[[gnu::format(printf, 1, 2)]] void ConsolePrint(const char* format, ...);

/** Prints `text` and a line end, as puts does. */
void ConsolePuts(const char* text);

/** Closes standard input, output and error, in this order, writing out what standard output still buffers. */
void CloseStandardStreams();

/**
 * Puts an inert descriptor on each of the descriptors 0 to 2 that is free.
 *
 * Reading and writing such a descriptor fails with EBADF just as on a closed one, and tools that the daemon
 * starts find it closed. But no lock file, evidence file or log can get such a descriptor, where closing the
 * streams would drop its lock, or a message for standard error would be written into it.
 */
void OccupyFreeStandardDescriptors();
