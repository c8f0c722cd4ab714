#pragma once

#include <cstddef>
#include <string>

/**
 * Text settings that a load rewrites while capture threads copy them, without a lock.
 *
 * A reader may see a setting empty or half written; it must never see memory that was given back. So a
 * setting has room for the longest text that a store can hold, from before any other thread sees it, and its
 * buffer never moves. The room costs addresses and no memory until it is used.
 */

/** Characters that each text setting has room for: as many as the largest store file has. */
constexpr std::size_t SETTING_TEXT_ROOM = std::size_t{16} * 1024 * 1024;

/** Gives a new, empty setting its room. Before other threads see it. */
void PrepareSettingText(std::string& setting);

/** Replaces a text in place, as far as it has room. Only the thread of the load. */
void AssignSettingText(std::string& setting, const std::string& text);
