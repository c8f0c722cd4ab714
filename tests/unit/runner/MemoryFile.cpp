#include "runner/MemoryFile.h"

#include <sys/mman.h>
#include <unistd.h>

MemoryFile::MemoryFile() : mDescriptor(memfd_create("test", MFD_CLOEXEC)) {}

MemoryFile::~MemoryFile()
{
    (void)close(mDescriptor);
}

void MemoryFile::Write(const std::string& text) const
{
    (void)pwrite(mDescriptor, text.data(), text.size(), 0); // in memory it is complete
    (void)lseek(mDescriptor, 0, SEEK_SET);
}

std::string MemoryFile::Read() const
{
    std::string text;
    char buffer[4096];
    for (ssize_t size = 0;
         (size = pread(mDescriptor, buffer, sizeof buffer, static_cast<off_t>(text.size()))) > 0;) {
        text.append(buffer, static_cast<std::size_t>(size));
    }
    return text;
}
