#include "evidence/ArchiveLibrary.h"

#include "base/LibraryCall.h"

#include <stdexcept>
#include <string>

namespace ctl
{
namespace
{
/** The name that a program linked against the library would ask for; the build finds it out. */
constexpr char NAME[] = THSENTINEL_LIBARCHIVE;

[[noreturn]] void Fail()
{
    const char* const reason = dlerror();
    throw std::runtime_error(std::string("bundles need libarchive, which can't be opened: ") +
                             (reason == nullptr ? NAME : reason));
}

template <typename Call>
void Find(void* library, const char* name, Call& call)
{
    FindCall(library, name, call);
    if (call == nullptr) {
        Fail();
    }
}

void FindWriter(void* library, ArchiveLibrary& calls)
{
    Find(library, "archive_write_new", calls.writeNew);
    Find(library, "archive_write_free", calls.writeFree);
    Find(library, "archive_write_add_filter_zstd", calls.writeAddFilterZstd);
    Find(library, "archive_write_set_format_pax_restricted", calls.writeSetFormatPaxRestricted);
    Find(library, "archive_write_set_bytes_in_last_block", calls.writeSetBytesInLastBlock);
    Find(library, "archive_write_open_fd", calls.writeOpenFd);
    Find(library, "archive_write_header", calls.writeHeader);
    Find(library, "archive_write_data", calls.writeData);
    Find(library, "archive_write_close", calls.writeClose);
}

void FindReader(void* library, ArchiveLibrary& calls)
{
    Find(library, "archive_read_new", calls.readNew);
    Find(library, "archive_read_free", calls.readFree);
    Find(library, "archive_read_support_filter_zstd", calls.readSupportFilterZstd);
    Find(library, "archive_read_support_format_tar", calls.readSupportFormatTar);
    Find(library, "archive_read_set_format_option", calls.readSetFormatOption);
    Find(library, "archive_read_open_fd", calls.readOpenFd);
    Find(library, "archive_read_next_header", calls.readNextHeader);
    Find(library, "archive_read_data", calls.readData);
    Find(library, "archive_filter_code", calls.filterCode);
}

void FindEntry(void* library, ArchiveLibrary& calls)
{
    Find(library, "archive_entry_new", calls.entryNew);
    Find(library, "archive_entry_free", calls.entryFree);
    Find(library, "archive_entry_set_pathname", calls.entrySetPathname);
    Find(library, "archive_entry_set_filetype", calls.entrySetFiletype);
    Find(library, "archive_entry_set_perm", calls.entrySetPerm);
    Find(library, "archive_entry_set_size", calls.entrySetSize);
    Find(library, "archive_entry_set_mtime", calls.entrySetMtime);
    Find(library, "archive_entry_pathname", calls.entryPathname);
    Find(library, "archive_entry_filetype", calls.entryFiletype);
    Find(library, "archive_entry_hardlink", calls.entryHardlink);
}

ArchiveLibrary OpenArchiveLibrary()
{
    // Never closed: bundles may be written and read until the process ends.
    void* const library = dlopen(NAME, RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
        Fail();
    }
    ArchiveLibrary calls;
    Find(library, "archive_error_string", calls.errorString);
    FindWriter(library, calls);
    FindReader(library, calls);
    FindEntry(library, calls);
    return calls;
}
} // namespace

const ArchiveLibrary& GetArchiveLibrary()
{
    static const ArchiveLibrary library = OpenArchiveLibrary();
    return library;
}

NamesInUtf8::NamesInUtf8() : mLocale(newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr))
{
    if (mLocale != nullptr) {
        mBefore = uselocale(mLocale);
    }
}

NamesInUtf8::~NamesInUtf8()
{
    if (mLocale != nullptr) {
        (void)uselocale(mBefore); // it was the thread's
        freelocale(mLocale);
    }
}

} // namespace ctl
