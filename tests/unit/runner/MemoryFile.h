#pragma once

#include <string>

/** A file without a name, in memory: its descriptor can be a stream of a child process. */
class MemoryFile
{
public:
    MemoryFile();
    ~MemoryFile();
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    int GetDescriptor() const { return mDescriptor; }

    /** Makes the file hold this text, and sets the place of the next read to its begin. */
    void Write(const std::string& text) const;

    /** The whole content. */
    std::string Read() const;

private:
    int mDescriptor;
};
