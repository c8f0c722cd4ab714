#pragma once

/** From now on IsDeleted answers for this object. */
void WatchForDelete(const void* object);

/** Whether the watched object's memory has been deleted. */
bool IsDeleted();
