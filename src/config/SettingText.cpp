#include "config/SettingText.h"

#include <algorithm>

void PrepareSettingText(std::string& setting)
{
    setting.reserve(SETTING_TEXT_ROOM);
}

void AssignSettingText(std::string& setting, const std::string& text)
{
    if (setting.capacity() < SETTING_TEXT_ROOM) {
        setting = text; // never prepared, so nobody else reads it
        return;
    }
    setting.clear();
    if (text.size() > setting.capacity()) {
        // Both are empty while they change places, and the old buffer is kept on purpose: a reader may be
        // copying from it. Doubling bounds what is kept to the size of the largest text ever seen.
        auto* const retired = new std::string;
        retired->reserve(std::max(text.size(), 2 * setting.capacity()));
        setting.swap(*retired);
    }
    setting.append(text);
}
