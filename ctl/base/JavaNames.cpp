#include "base/JavaNames.h"

#include "config/JavaProcessNames.h"

namespace ctl
{

bool IsJavaName(const std::string& name)
{
    return !GetJavaMarker(name).empty();
}

std::string GetJavaMarker(const std::string& name)
{
    if (name == ADMIN_CONSOLE_JAVA) {
        return ADMIN_CONSOLE_MARKER;
    }
    return name == WEB_MANAGEMENT_JAVA ? WEB_MANAGEMENT_MARKER : "";
}

} // namespace ctl
