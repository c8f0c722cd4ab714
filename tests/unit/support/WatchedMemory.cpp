#include "support/WatchedMemory.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace
{
constexpr std::size_t KEPT = 4096;

std::atomic<const void*> gWatched = nullptr;
std::atomic<bool> gIsDeleted = false;
std::atomic<std::size_t> gCount = 0;
std::atomic<const void*> gLatest[KEPT];

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

std::size_t CountAllocations()
{
    return gCount;
}

std::size_t GetAllocationNumber(const void* object)
{
    for (std::size_t number = gCount; number > 0 && gCount - number < KEPT; --number) {
        if (gLatest[number % KEPT] == object) {
            return number;
        }
    }
    return 0;
}

void* operator new(std::size_t size)
{
    void* const memory = std::malloc(size == 0 ? 1 : size);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    gLatest[++gCount % KEPT] = memory;
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
