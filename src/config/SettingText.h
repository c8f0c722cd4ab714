#pragma once

#include <cstddef>
#include <string>

/**
 * Text settings that a load rewrites while capture threads copy them, without a lock.
 *
 * A reader may see a setting empty or half written; it must never see memory that was given back. So a
 * setting keeps its buffer for good: it starts with room for every path that the system can open, and a
 * longer text moves it to a larger buffer without giving the old one back.
 */

/** Room that each text setting starts with, in characters. */
constexpr std::size_t SETTING_TEXT_ROOM = 8192;

/** Gives a new, empty setting its room. Before other threads see it. */
void PrepareSettingText(std::string& setting);

/** Replaces a text, of a setting without ever giving its buffer back. Only the thread of the load. */
void AssignSettingText(std::string& setting, const std::string& text);
