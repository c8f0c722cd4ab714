#pragma once

#include <cstddef>

/** From now on IsDeleted answers for this object. */
void WatchForDelete(const void* object);

/** Whether the watched object's memory has been deleted. */
bool IsDeleted();

/** How many objects this process has allocated with new so far. */
std::size_t CountAllocations();

/** The number that the latest allocation at this address has among all; 0 when it isn't one of the latest
 * 4096. */
std::size_t GetAllocationNumber(const void* object);
