#pragma once

/** While it lives, allocations with std::nothrow on its thread yield null. */
class NothrowNewFails
{
public:
    NothrowNewFails();
    ~NothrowNewFails();
    NothrowNewFails(const NothrowNewFails&) = delete;
    NothrowNewFails& operator=(const NothrowNewFails&) = delete;
};
