#pragma once

#include <cstddef>
#include <functional>
#include <string>

/** The largest store file that is read, in bytes. */
constexpr std::size_t STORE_FILE_LIMIT = std::size_t{16} * 1024 * 1024;

/** A store file as it was read. */
struct StoreFileContent
{
    std::string text; ///< the whole file; of no meaning after a failure
    const char* failure =
        nullptr; ///< why the file can't be read, as a text that lives for ever; null on success
};

/**
 * Reads a whole regular file of at most STORE_FILE_LIMIT bytes, without ever waiting for a FIFO or a device.
 *
 * A file that another program writes at the same time is not taken half-written: a text counts when two
 * readings, some hundredths of a second apart, have found the same text and a file that did not change from
 * the one to the other. There are some tries, half a second in all; a file that doesn't come to rest by then
 * is a failure. Against a writer that pauses in the middle of a file, only a rename helps.
 *
 * `path` is the file. `known`, if not null, is the text in force: one reading that finds it again is enough.
 * `afterReading`, if given, is called after each reading of the bytes, before the stamps of the file are
 * looked at again; tests change the file there. Raises std::bad_alloc only. Any thread.
 */
StoreFileContent ReadStoreFile(const char* path, const std::string* known = nullptr,
                               const std::function<void()>& afterReading = {});
