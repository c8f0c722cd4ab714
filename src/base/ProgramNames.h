#pragma once

/** What the program calls itself in its messages. */
inline constexpr char TITLE[] = "Tarnhaven Health Sentinel";

/** Its short name, which is also its identity in the system log. */
inline constexpr char SHORT_NAME[] = "thsentinel";

/** Name of a daily log: month, day, and the last two digits of the year. */
inline constexpr char LOG_FILE_NAME_TEXT[] = "root.%02d%02d%02d_00001.log";
