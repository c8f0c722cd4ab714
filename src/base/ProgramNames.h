#pragma once

/** What the program calls itself in its messages. */
inline constexpr char TITLE[] = "Tarnhaven Health Sentinel";

/** Its short name, which is also its identity in the system log. */
inline constexpr char SHORT_NAME[] = "thsentinel";
