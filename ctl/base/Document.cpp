#include "base/Document.h"

#include <iostream>

#include "base/PlainText.h"
#include "base/TimeText.h"

namespace ctl
{

Json BeginDocument(std::string_view verb, int version)
{
    Json document;
    document["schema"] = "thsentinelctl." + std::string(verb) + "/" + std::to_string(version);
    document["time"] = FormatTime(std::time(nullptr));
    return document;
}

Json ToJson(std::string_view text)
{
    return ToUtf8(text);
}

Json ToJson(const std::vector<std::string>& texts)
{
    Json list = Json::array();
    for (const std::string& text : texts) {
        list.push_back(ToJson(text));
    }
    return list;
}

Json TimeToJson(std::optional<std::time_t> time)
{
    return time ? Json(FormatTime(*time)) : Json(nullptr);
}

void PrintDocument(const Json& document)
{
    std::cout << document.dump(2, ' ', false, Json::error_handler_t::replace) << '\n';
}

void PrintLine(const Json& object)
{
    std::cout << object.dump(-1, ' ', false, Json::error_handler_t::replace) << std::endl;
}

} // namespace ctl
