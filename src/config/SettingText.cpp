#include "config/SettingText.h"

void PrepareSettingText(std::string& setting)
{
    setting.reserve(SETTING_TEXT_ROOM);
}

void AssignSettingText(std::string& setting, const std::string& text)
{
    // Emptied first: a reader must find no length that goes with another text.
    setting.clear();
    setting.append(text);
}
