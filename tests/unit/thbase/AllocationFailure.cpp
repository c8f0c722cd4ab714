#include "AllocationFailure.h"

#include <cstddef>
#include <cstdlib>
#include <new>

namespace
{

constexpr int NEVER_FAILS = -1;

thread_local int gPassesLeft = NEVER_FAILS;
thread_local bool gHasHit = false;

void* Allocate(std::size_t size)
{
    if (gPassesLeft == 0) {
        gHasHit = true;
        throw std::bad_alloc();
    }
    gPassesLeft -= gPassesLeft > 0 ? 1 : 0;
    void* const memory = std::malloc(size > 0 ? size : 1);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

} // namespace

AllocationFailure::AllocationFailure(int passes) noexcept
{
    gHasHit = false;
    gPassesLeft = passes;
}

AllocationFailure::~AllocationFailure()
{
    gPassesLeft = NEVER_FAILS;
}

bool AllocationFailure::HasHit() const noexcept
{
    return gHasHit;
}

void* operator new(std::size_t size)
{
    return Allocate(size);
}

void* operator new[](std::size_t size)
{
    return Allocate(size);
}

void operator delete(void* memory) noexcept
{
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept
{
    std::free(memory);
}

void operator delete[](void* memory) noexcept
{
    std::free(memory);
}

void operator delete[](void* memory, std::size_t) noexcept
{
    std::free(memory);
}
