#pragma once

/**
 * The lock files of the daemon, in the folder for temporary files of the product. Data alone: whoever asks
 * whether the daemon runs may include it.
 */

inline constexpr char THHS_RUN_LOCK_NAME[] = "976AF287-9C13-4F28-AC99-AD456ABE5383.RUN"; ///< holds its id
inline constexpr char THHS_CHILD_LOCK_NAME[] = "41938320-72B9-4818-A4F2-16EBF79F40F0.CHILD";
