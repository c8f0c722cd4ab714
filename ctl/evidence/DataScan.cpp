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
constexpr std::size_t BLOCK = std::size_t{256} * 1024;
constexpr std::size_t LONGEST_LINE = std::size_t{64} * 1024;

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
        // ENXIO: no data up to the end of the file, which may have come closer meanwhile. Anything else: the
        // file system doesn't show holes.
        const bool isHole = errno == ENXIO && lseek(file, 0, SEEK_END) >= ToOffset(bytes);
        return isHole ? Stretch{bytes, bytes} : Stretch{from, bytes};
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

DataScan ReadRange(int file, std::uint64_t begin, std::uint64_t end, const BlockTaker& take)
{
    DataScan scan;
    std::vector<char> buffer(std::min<std::uint64_t>(BLOCK, end - std::min(begin, end)));
    for (std::uint64_t offset = begin; offset < end;) {
        const Stretch stretch = FindData(file, offset, end);
        if (!ReadStretch(file, stretch, buffer, take, scan)) {
            break;
        }
        offset = stretch.end;
    }
    return scan;
}

/** Cuts blocks into lines. */
class LineCutter
{
public:
    explicit LineCutter(const LineTaker& take) : mTake(take) {}

    void Take(std::string_view block)
    {
        while (!block.empty()) {
            const std::size_t end = block.find('\n');
            mLine.append(block.substr(0, std::min(end, LONGEST_LINE - mLine.size())));
            if (end == std::string_view::npos) {
                return;
            }
            mTake(mLine);
            mLine.clear();
            block.remove_prefix(end + 1);
        }
    }

    void Finish() const
    {
        if (!mLine.empty()) {
            mTake(mLine);
        }
    }

private:
    const LineTaker& mTake;
    std::string mLine;
};
} // namespace

DataScan ReadData(int file, std::uint64_t bytes, const BlockTaker& take)
{
    (void)posix_fadvise(file, 0, 0, POSIX_FADV_SEQUENTIAL); // only advice
    return ReadRange(file, 0, bytes, take);
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

DataScan ReadLines(int file, std::uint64_t offset, std::uint64_t bytes, const LineTaker& take)
{
    LineCutter cutter(take);
    DataScan scan = ReadRange(file, offset, offset + bytes,
                              [&cutter](std::uint64_t, std::string_view block) { cutter.Take(block); });
    cutter.Finish();
    return scan;
}

} // namespace ctl
