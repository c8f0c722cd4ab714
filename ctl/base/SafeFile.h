#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>

namespace ctl
{

/** Owns an open descriptor. */
class Descriptor
{
public:
    explicit Descriptor(int descriptor = -1) noexcept : mDescriptor(descriptor) {}
    ~Descriptor();
    Descriptor(Descriptor&& other) noexcept;
    Descriptor& operator=(Descriptor&& other) noexcept;
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    int Get() const noexcept { return mDescriptor; }
    bool IsOpen() const noexcept { return mDescriptor >= 0; }
    /** Gives the descriptor up; the caller closes it. */
    int Release() noexcept;

private:
    int mDescriptor;
};

/** An open file, or the reason why it can't be read. */
struct OpenedFile
{
    Descriptor file;
    struct stat status = {}; ///< of the open file
    int error = 0;           ///< errno; ELOOP for a symbolic link; 0 on success and for a wrong kind
    std::string failure;     ///< empty on success

    bool IsOpen() const noexcept { return file.IsOpen(); }
};

/**
 * Opens a regular file for reading. The last component of `name` is never followed as a link, a FIFO or a
 * device is never waited for, and anything but a regular file is refused. `folder` is an open folder or
 * AT_FDCWD. To be safe below a folder that others may write, open it component by component.
 */
OpenedFile OpenRegularFile(int folder, const std::string& name);

/** Opens a folder, with the same care. */
OpenedFile OpenFolder(int folder, const std::string& name);

/** The text of a file, as far as the limit. */
struct FileText
{
    std::string text;
    int error = 0;       ///< as in OpenedFile
    std::string failure; ///< empty on success
    bool isCut = false;  ///< the file holds more than the limit

    bool IsRead() const noexcept { return failure.empty(); }
};

/**
 * Reads a regular file, no more than `limit` bytes of it. Files of /proc, which show no size, are read too.
 */
FileText ReadFile(int folder, const std::string& name, std::size_t limit);

/** Reads the same from an open descriptor, from where it stands. */
FileText ReadDescriptor(int descriptor, std::size_t limit);

/** The names in an open folder without "." and "..", sorted; no more than `limit` of them. */
std::vector<std::string> ListNames(int folder, std::size_t limit = 1'000'000);

} // namespace ctl
