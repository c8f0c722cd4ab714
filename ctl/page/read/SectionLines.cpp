#include "page/read/SectionLines.h"

#include <algorithm>
#include <cerrno>
#include <string>
#include <vector>

#include <unistd.h>

namespace ctl
{

namespace
{
constexpr std::size_t BLOCK = 262144;

/** Bytes of a line that isn't at its end yet, then what follows it. */
class LineBuffer
{
public:
    explicit LineBuffer(const LineTaker& take) : mTake(take) {}

    void Take(std::string_view block)
    {
        for (auto end = block.find('\n'); end != std::string_view::npos; end = block.find('\n')) {
            TakeEnd(block.substr(0, end));
            block.remove_prefix(end + 1);
        }
        Keep(block);
    }

    void Finish()
    {
        if (!mBegun.empty()) {
            mTake(mBegun);
        }
    }

private:
    void TakeEnd(std::string_view text)
    {
        if (mBegun.empty()) {
            mTake(text.substr(0, LONGEST_LINE));
            return;
        }
        Keep(text);
        mTake(mBegun);
        mBegun.clear();
    }

    void Keep(std::string_view text)
    {
        mBegun.append(text.substr(0, LONGEST_LINE - std::min(LONGEST_LINE, mBegun.size())));
    }

    const LineTaker& mTake;
    std::string mBegun;
};
} // namespace

bool ForEachLine(int file, std::uint64_t offset, std::uint64_t bytes, const LineTaker& take,
                 const bool* isEnough)
{
    std::vector<char> block(std::min<std::uint64_t>(BLOCK, bytes));
    LineBuffer lines(take);
    while (bytes > 0 && (isEnough == nullptr || !*isEnough)) {
        const ssize_t count = pread(file, block.data(), std::min<std::uint64_t>(block.size(), bytes),
                                    static_cast<off_t>(offset));
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            lines.Finish();
            return false;
        }
        lines.Take({block.data(), static_cast<std::size_t>(count)});
        offset += static_cast<std::uint64_t>(count);
        bytes -= static_cast<std::uint64_t>(count);
    }
    lines.Finish();
    return true;
}

} // namespace ctl
