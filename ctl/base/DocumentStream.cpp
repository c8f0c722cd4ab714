#include "base/DocumentStream.h"

#include <ostream>

namespace ctl
{

namespace
{

constexpr int STEP = 2;
const std::string OF_MEMBER(STEP, ' ');
const std::string OF_ITEM(std::size_t{2} * STEP, ' ');

} // namespace

DocumentStream::DocumentStream(std::ostream& output, const Json& head) : mOutput(output)
{
    for (const auto& [name, value] : head.items()) {
        Add(name, value);
    }
}

DocumentStream::~DocumentStream()
{
    mOutput << (mHasMember ? "\n}\n" : "{}\n");
}

void DocumentStream::Add(std::string_view name, const Json& value)
{
    BeginMember(name);
    Write(value, OF_MEMBER);
}

void DocumentStream::BeginArray(std::string_view name)
{
    BeginMember(name);
    mOutput << '[';
    mHasItem = false;
}

void DocumentStream::AddItem(const Json& item)
{
    mOutput << (mHasItem ? ",\n" : "\n") << OF_ITEM;
    mHasItem = true;
    Write(item, OF_ITEM);
}

void DocumentStream::EndArray()
{
    mOutput << (mHasItem ? "\n" + OF_MEMBER : "") << ']';
}

void DocumentStream::BeginMember(std::string_view name)
{
    mOutput << (mHasMember ? ",\n" : "{\n") << OF_MEMBER << ToJson(name).dump() << ": ";
    mHasMember = true;
}

/** A line end in a text is escaped, so each one here ends a line of the document. */
void DocumentStream::Write(const Json& value, const std::string& indent)
{
    const std::string text = value.dump(STEP, ' ', false, Json::error_handler_t::replace);
    std::size_t begin = 0;
    for (std::size_t end = 0; (end = text.find('\n', begin)) != std::string::npos; begin = end + 1) {
        mOutput << std::string_view(text).substr(begin, end + 1 - begin) << indent;
    }
    mOutput << std::string_view(text).substr(begin);
}

} // namespace ctl
