#pragma once

#include <cstdarg>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "BoundedScan.h"

/** A stream over a text, and the scans of it. */
class ScannedText
{
public:
    explicit ScannedText(std::string_view text)
    {
        EXPECT_EQ(std::fwrite(text.data(), 1, text.size(), mStream.get()), text.size());
        std::rewind(mStream.get());
    }

    explicit ScannedText(std::FILE* stream) : mStream(stream) {}

    /** Whether no other thread holds the stream. */
    bool IsFree() const
    {
        if (ftrylockfile(mStream.get()) != 0) {
            return false;
        }
        funlockfile(mStream.get());
        return true;
    }

    int Scan(const char* format, ...)
    {
        std::va_list arguments;
        va_start(arguments, format);
        const int conversions = BoundedScan(mStream.get(), arguments).Run(format);
        va_end(arguments);
        return conversions;
    }

    /** Reads and gives all that no scan has read. */
    std::string TakeRest()
    {
        std::string rest;
        for (int byte = std::fgetc(mStream.get()); byte != EOF; byte = std::fgetc(mStream.get())) {
            rest += static_cast<char>(byte);
        }
        return rest;
    }

private:
    struct Closer
    {
        void operator()(std::FILE* stream) const { (void)std::fclose(stream); }
    };

    std::unique_ptr<std::FILE, Closer> mStream{std::tmpfile()};
};
