#pragma once

/** The store of a host without the product. Data alone: whoever looks at the same place may include it. */
inline constexpr char MASTER_CONFIGURATION_PATH[] = "/usr/tarnv/tarnhaven/master.conf";
