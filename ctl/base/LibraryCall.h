#pragma once

#include <dlfcn.h>

namespace ctl
{

/** Looks a call of an opened library up. `call` is null if there is none; dlerror says why. */
template <typename Call>
void FindCall(void* library, const char* name, Call*& call)
{
    call = reinterpret_cast<Call*>(dlsym(library, name));
}

} // namespace ctl
