#pragma once

#include <string_view>

namespace ctl
{

/** What every page carries in itself, put into the program when it was built. */
extern const std::string_view DYGRAPH_MIN_JS;
extern const std::string_view DYGRAPH_MIN_CSS;
extern const std::string_view REPORT_JS;
extern const std::string_view REPORT_CSS;

} // namespace ctl
