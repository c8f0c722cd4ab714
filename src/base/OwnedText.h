#pragma once

#include <cstdlib>
#include <memory>

struct FreeText
{
    void operator()(char* text) const { free(text); }
};

/** A text that the C library or the base library allocated, freed with free. */
using OwnedText = std::unique_ptr<char, FreeText>;
