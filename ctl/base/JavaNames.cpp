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
        return "tarn.thx.AdminConsole";
    }
    return name == WEB_MANAGEMENT_JAVA ? "Dthwmc" : "";
}

} // namespace ctl
