#include "evidence/DataScan.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <limits>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

namespace ctl
{
namespace
{
// Small enough to stay in a processor's cache until it was looked at.
constexpr std::size_t BLOCK = 256 * 1024;
constexpr std::size_t LONGEST_LINE = 64 * 1024;

off_t ToOffset(std::uint64_t value)
{
    constexpr auto HIGHEST = static_cast<std::uint64_t>(std::numeric_limits<off_t>::max());
    return static_cast<off_t>(std::min(value, HIGHEST));
}

/** The stretch of data at or after `from`; empty at `bytes` if there is only a hole until there. */
struct Stretch
{
    std::uint64_t begin;
    std::uint64_t end;
};

Stretch FindData(int file, std::uint64_t from, std::uint64_t bytes)
{
    const off_t begin = lseek(file, ToOffset(from), SEEK_DATA);
    if (begin < 0) {
        // ENXIO: no data up to the end. Anything else: the file system has no holes to tell of.
        return errno == ENXIO ? Stretch{bytes, bytes} : Stretch{from, bytes};
    }
    const off_t end = lseek(file, begin, SEEK_HOLE);
    const auto dataBegin = std::min(static_cast<std::uint64_t>(begin), bytes);
    return {dataBegin, end < 0 ? bytes : std::min(static_cast<std::uint64_t>(end), bytes)};
}

/** pread that goes on after a signal. */
ssize_t ReadOnce(int file, char* buffer, std::size_t size, std::uint64_t offset)
{
    ssize_t count = 0;
    do {
        count = pread(file, buffer, size, ToOffset(offset));
    } while (count < 0 && errno == EINTR);
    return count;
}

bool ReadStretch(int file, const Stretch& stretch, std::vector<char>& buffer, const BlockTaker& take,
                 DataScan& scan)
{
    for (std::uint64_t offset = stretch.begin; offset < stretch.end;) {
        const std::size_t wanted = std::min<std::uint64_t>(buffer.size(), stretch.end - offset);
        const ssize_t count = ReadOnce(file, buffer.data(), wanted, offset);
        if (count <= 0) {
            scan.failure = count == 0 ? "became shorter while it was read" : std::strerror(errno);
            return false;
        }
        const auto size = static_cast<std::size_t>(count);
        take(offset, {buffer.data(), size});
        scan.bytesRead += size;
        offset += size;
    }
    return true;
}
} // namespace

DataScan ReadData(int file, std::uint64_t bytes, const BlockTaker& take)
{
    DataScan scan;
    std::vector<char> buffer(BLOCK);
    (void)posix_fadvise(file, 0, 0, POSIX_FADV_SEQUENTIAL); // only advice
    for (std::uint64_t offset = 0; offset < bytes;) {
        const Stretch stretch = FindData(file, offset, bytes);
        if (!ReadStretch(file, stretch, buffer, take, scan)) {
            break;
        }
        offset = stretch.end;
    }
    return scan;
}

std::string ReadAt(int file, std::uint64_t offset, std::size_t size)
{
    std::string data(size, '\0');
    std::size_t filled = 0;
    while (filled < size) {
        const ssize_t count = ReadOnce(file, data.data() + filled, size - filled, offset + filled);
        if (count <= 0) {
            break;
        }
        filled += static_cast<std::size_t>(count);
    }
    data.resize(filled);
    return data;
}

void ReadLines(int file, std::uint64_t offset, std::uint64_t bytes, const LineTaker& take)
{
    std::string line;
    const std::uint64_t end = offset + bytes;
    while (offset < end) {
        const std::string block = ReadAt(file, offset, std::min<std::uint64_t>(BLOCK, end - offset));
        if (block.empty()) {
            break;
        }
        for (std::size_t from = 0; from < block.size();) {
            const std::size_t lineEnd = block.find('\n', from);
            const std::size_t stop = lineEnd == std::string::npos ? block.size() : lineEnd;
            line.append(block, from, std::min(stop - from, LONGEST_LINE - line.size()));
            if (lineEnd != std::string::npos) {
                take(line);
                line.clear();
            }
            from = stop + 1;
        }
        offset += block.size();
    }
    if (!line.empty()) {
        take(line);
    }
}

} // namespace ctl
