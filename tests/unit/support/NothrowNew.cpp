#include "support/NothrowNew.h"

#include <cstddef>
#include <new>

namespace
{
thread_local bool gFails = false;

template <typename Allocate>
void* AllocateUnlessFailing(Allocate allocate)
{
    if (gFails) {
        return nullptr;
    }
    try {
        return allocate();
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}
} // namespace

NothrowNewFails::NothrowNewFails()
{
    gFails = true;
}

NothrowNewFails::~NothrowNewFails()
{
    gFails = false;
}

void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept
{
    return AllocateUnlessFailing([size] { return ::operator new(size); });
}

void* operator new[](std::size_t size, const std::nothrow_t& /*tag*/) noexcept
{
    return AllocateUnlessFailing([size] { return ::operator new[](size); });
}
