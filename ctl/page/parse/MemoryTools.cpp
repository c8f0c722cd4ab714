#include "page/parse/MemoryTools.h"

namespace ctl
{

namespace
{
/** Neither file has nearly as many names, nor values as long. */
constexpr std::size_t MOST_NAMES = 500;
constexpr std::size_t LONGEST_VALUE = 500;
} // namespace

void FreeParser::TakeLine(std::string_view line)
{
    if (line.find("total") != std::string_view::npos && line.find("used") != std::string_view::npos) {
        // The rows begin with their name, for which the head has no column.
        mColumns.TakeHead(std::string("row ").append(line));
        return;
    }
    mColumns.TakeRow(line);
    if (mColumns.Text("row") == "Mem:") {
        TakeMemory();
    } else if (mColumns.Text("row") == "Swap:") {
        mReading.mSwapTotal = mColumns.Number("total", -1);
        mReading.mSwapUsed = mColumns.Number("used", -1);
    } else if (line.starts_with("-/+ buffers/cache:")) {
        // The name is two words, so what is used stands where the other rows have it, although there is no
        // total.
        mReading.mUsed = mColumns.Number("used", mReading.mUsed);
    }
}

void FreeParser::TakeMemory()
{
    mReading.mTotal = mColumns.Number("total", -1);
    mReading.mUsed = mColumns.Number("used", -1);
    mReading.mFree = mColumns.Number("free", -1);
    mReading.mAvailable = mColumns.Number("available", -1);
    mReading.mCache = mColumns.Has("buff/cache") ? mColumns.Number("buff/cache", -1)
                                                 : mColumns.Number("buffers") + mColumns.Number("cached");
}

void VmstatParser::TakeLine(std::string_view line)
{
    if (line.find("swpd") != std::string_view::npos) {
        mColumns.TakeHead(line);
        return;
    }
    mColumns.TakeRow(line);
    if (!mColumns.HasHead() || !ReadNumber(mColumns.Text("r"))) {
        return;
    }
    mReading.mRunnable = mColumns.Number("r", -1);
    mReading.mBlocked = mColumns.Number("b", -1);
    mReading.mSwapped = mColumns.Number("swpd", -1);
    mReading.mFree = mColumns.Number("free", -1);
}

void NamedValues::TakeLine(std::string_view line)
{
    const auto colon = line.find(':');
    if (colon == std::string_view::npos || colon == 0 || mValues.size() == MOST_NAMES ||
        colon > LONGEST_VALUE) {
        return;
    }
    mValues.emplace(line.substr(0, colon), TrimBlanks(line.substr(colon + 1)).substr(0, LONGEST_VALUE));
}

std::string_view NamedValues::Text(std::string_view name) const
{
    const auto found = mValues.find(name);
    return found == mValues.end() ? std::string_view() : std::string_view(found->second);
}

double NamedValues::Number(std::string_view name) const
{
    std::string_view text = Text(name);
    return ReadNumber(text.substr(0, text.find_first_of(" \t"))).value_or(-1);
}

} // namespace ctl
