#include "support/WatchedMemory.h"

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <new>

namespace
{
std::atomic<const void*> gWatched = nullptr;
std::atomic<bool> gIsDeleted = false;

void Free(void* memory)
{
    if (memory != nullptr && memory == gWatched) {
        gIsDeleted = true;
    }
    std::free(memory);
}
} // namespace

void WatchForDelete(const void* object)
{
    gIsDeleted = false;
    gWatched = object;
}

bool IsDeleted()
{
    return gIsDeleted;
}

void* operator new(std::size_t size)
{
    void* const memory = std::malloc(size == 0 ? 1 : size);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

void operator delete(void* memory) noexcept
{
    Free(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept
{
    Free(memory);
}
