#pragma once

/** Where the product lies. Data alone: whoever looks at the same places may include it. */

inline constexpr char PRODUCT_BASE[] = "/usr/tarnv";
inline constexpr char PRODUCT_HOME[] = "tarnhaven";          ///< below it: the product itself
inline constexpr char PRODUCT_LOGS[] = "logs";               ///< below that
inline constexpr char PRODUCT_TEMP[] = "tmp";                ///< below it: temporary files and locks
inline constexpr char PRODUCT_WEBSERVER[] = "wmc/webserver"; ///< below it
inline constexpr char PRODUCT_WEBSERVER_TEMP[] =
    "temp"; ///< below that: temporary files of Java dumps of others
