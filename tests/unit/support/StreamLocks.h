#pragma once

/**
 * From now on the end of this process takes the lock of every open stream, one after the other, as newer C
 * libraries do. A thread that holds one of them holds up the end.
 */
void TakeStreamLocksAtExit();
