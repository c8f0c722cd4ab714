#pragma once

#include <cstddef>
#include <functional>
#include <string>

/** The largest store file that is read, in bytes. */
constexpr std::size_t STORE_FILE_LIMIT = std::size_t{16} * 1024 * 1024;

/** A store file as it was read. */
struct StoreFileContent
{
    std::string mText; ///< the whole file; undefined after a failure
    const char* mFailure =
        nullptr; ///< why the file can't be read, a text that is never freed; null on success
};

/**
 * Reads a whole regular file of at most STORE_FILE_LIMIT bytes. Never waits for a FIFO or a device.
 *
 * A file that another program is writing is not accepted half-written: two readings, 30 ms apart, must find
 * the same text in a file that did not change between them. The function tries for half a second; a file that
 * keeps changing is a failure. A writer that pauses in the middle of a file is not noticed: it should write a
 * new file and rename it.
 *
 * `path` is the file. `known`, if not null, is the text in force: one reading that finds the same text is
 * enough. `afterReading`, if given, is called after each reading of the bytes, before the time stamps of the
 * file are compared; tests change the file there. Raises std::bad_alloc only. Any thread.
 */
StoreFileContent ReadStoreFile(const char* path, const std::string* known = nullptr,
                               const std::function<void()>& afterReading = {});
