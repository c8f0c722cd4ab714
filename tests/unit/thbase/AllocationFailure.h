#pragma once

/**
 * Makes the allocations of this thread fail: `passes` of them by operator new succeed, and all after them
 * raise std::bad_alloc, until the object goes. The tests' own operator new, in AllocationFailure.cpp, obeys
 * it, also for the shared library.
 */
class AllocationFailure
{
public:
    explicit AllocationFailure(int passes) noexcept;
    ~AllocationFailure();
    AllocationFailure(const AllocationFailure&) = delete;
    AllocationFailure& operator=(const AllocationFailure&) = delete;

    /** True once an allocation has failed. */
    bool HasHit() const noexcept;
};
