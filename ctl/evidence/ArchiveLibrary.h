#pragma once

#include <archive.h>
#include <archive_entry.h>
#include <locale.h>

namespace ctl
{

/**
 * The calls of libarchive that bundles are written and read with. The library is opened when a bundle is
 * written or checked: loading it with all that it needs would be a tenth of the time of the quick verbs,
 * and a host without it can do everything else. The manual pages archive_read(3), archive_write(3) and
 * archive_entry(3) document the calls.
 */
struct ArchiveLibrary
{
    decltype(&archive_error_string) errorString = nullptr;

    decltype(&archive_write_new) writeNew = nullptr;
    decltype(&archive_write_free) writeFree = nullptr;
    decltype(&archive_write_add_filter_zstd) writeAddFilterZstd = nullptr;
    decltype(&archive_write_set_format_pax_restricted) writeSetFormatPaxRestricted = nullptr;
    decltype(&archive_write_set_bytes_in_last_block) writeSetBytesInLastBlock = nullptr;
    decltype(&archive_write_open_fd) writeOpenFd = nullptr;
    decltype(&archive_write_header) writeHeader = nullptr;
    decltype(&archive_write_data) writeData = nullptr;
    decltype(&archive_write_close) writeClose = nullptr;

    decltype(&archive_read_new) readNew = nullptr;
    decltype(&archive_read_free) readFree = nullptr;
    decltype(&archive_read_support_filter_zstd) readSupportFilterZstd = nullptr;
    decltype(&archive_read_support_format_tar) readSupportFormatTar = nullptr;
    decltype(&archive_read_set_format_option) readSetFormatOption = nullptr;
    decltype(&archive_read_open_fd) readOpenFd = nullptr;
    decltype(&archive_read_next_header) readNextHeader = nullptr;
    decltype(&archive_read_data) readData = nullptr;
    decltype(&archive_filter_code) filterCode = nullptr;

    decltype(&archive_entry_new) entryNew = nullptr;
    decltype(&archive_entry_free) entryFree = nullptr;
    decltype(&archive_entry_set_pathname) entrySetPathname = nullptr;
    decltype(&archive_entry_set_filetype) entrySetFiletype = nullptr;
    decltype(&archive_entry_set_perm) entrySetPerm = nullptr;
    decltype(&archive_entry_set_size) entrySetSize = nullptr;
    decltype(&archive_entry_set_mtime) entrySetMtime = nullptr;
    decltype(&archive_entry_pathname) entryPathname = nullptr;
    decltype(&archive_entry_filetype) entryFiletype = nullptr;
    decltype(&archive_entry_hardlink) entryHardlink = nullptr;
};

/**
 * Opens the library on the first call, for good. Any thread may call it.
 * Raises std::runtime_error with the reason of the loader where it can't be opened or lacks a call.
 */
const ArchiveLibrary& GetArchiveLibrary();

/**
 * Makes the thread's names UTF-8 texts while it lives, whatever the locale of the user: the library converts
 * the names in an archive to and from those of the locale. Where the host lacks the locale nothing changes.
 */
class NamesInUtf8
{
public:
    NamesInUtf8();
    ~NamesInUtf8();
    NamesInUtf8(const NamesInUtf8&) = delete;
    NamesInUtf8& operator=(const NamesInUtf8&) = delete;

private:
    const locale_t mLocale;
    locale_t mBefore = nullptr;
};

} // namespace ctl
