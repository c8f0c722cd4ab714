#include "StoreText.h"

#include <charconv>

namespace
{
constexpr std::string_view BYTE_ORDER_MARK = "\xEF\xBB\xBF";

bool IsBlank(char byte)
{
    return byte == ' ' || byte == '\t';
}

std::string_view TrimBlanks(std::string_view text)
{
    while (!text.empty() && IsBlank(text.front())) {
        text.remove_prefix(1);
    }
    while (!text.empty() && IsBlank(text.back())) {
        text.remove_suffix(1);
    }
    return text;
}

/** Removes the first line from `rest` and returns it without its end. */
std::string_view CutLine(std::string_view& rest)
{
    const std::size_t end = rest.find('\n');
    std::string_view line = rest.substr(0, end);
    rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
    if (line.ends_with('\r')) {
        line.remove_suffix(1);
    }
    return line;
}

void Classify(std::string_view text, StoreLine& line)
{
    // Checked first: a NUL byte in a comment shows a damaged file just as one in a value does.
    if (text.find('\0') != std::string_view::npos) {
        line.mKind = StoreLineKind::NulByte;
        return;
    }
    const std::string_view content = TrimBlanks(text);
    if (content.empty() || content.front() == '#') {
        return; // StoreLine is an empty line by default
    }
    const std::size_t equalsSign = content.find('=');
    if (equalsSign == std::string_view::npos) {
        line.mKind = StoreLineKind::NoEqualsSign;
        return;
    }
    line.mKey = TrimBlanks(content.substr(0, equalsSign));
    line.mValue = TrimBlanks(content.substr(equalsSign + 1));
    line.mKind = line.mKey.empty() ? StoreLineKind::EmptyKey : StoreLineKind::Entry;
}
} // namespace

void ForEachStoreLine(std::string_view text, const std::function<void(const StoreLine&)>& visit)
{
    if (text.starts_with(BYTE_ORDER_MARK)) {
        text.remove_prefix(BYTE_ORDER_MARK.size());
    }
    for (std::size_t number = 1; !text.empty(); ++number) {
        StoreLine line;
        line.mNumber = number;
        Classify(CutLine(text), line);
        visit(line);
    }
}

const char* GetSkipReason(StoreLineKind kind) noexcept
{
    switch (kind) {
    case StoreLineKind::NoEqualsSign:
        return "it has no equals sign";
    case StoreLineKind::EmptyKey:
        return "its key is empty";
    case StoreLineKind::NulByte:
        return "it holds a NUL byte";
    case StoreLineKind::Entry:
    case StoreLineKind::Empty:
        break;
    }
    return nullptr;
}

std::optional<int> ParseStoreNumber(std::string_view text) noexcept
{
    // from_chars accepts a minus sign only, so a plus sign is removed here, unless a minus sign follows it.
    if (text.starts_with('+') && !text.starts_with("+-")) {
        text.remove_prefix(1);
    }
    int number = 0;
    const char* const end = text.data() + text.size();
    const std::from_chars_result parsed = std::from_chars(text.data(), end, number);
    if (parsed.ec != std::errc() || parsed.ptr != end) {
        return std::nullopt;
    }
    return number;
}
