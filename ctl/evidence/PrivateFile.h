#pragma once

#include "base/SafeFile.h"

#include <string>

namespace ctl
{

/**
 * A new file that only its owner may read and that gets its name when it is whole: a program that is ended
 * meanwhile leaves nothing behind, or a file that ends in ".part" where the file system knows no nameless
 * files.
 */
class PrivateFile
{
public:
    /**
     * Raises std::runtime_error if the file can't be made, or if there is one of that name and `replaces` is
     * false.
     */
    PrivateFile(std::string path, bool replaces);
    ~PrivateFile();
    PrivateFile(const PrivateFile&) = delete;
    PrivateFile& operator=(const PrivateFile&) = delete;

    int Get() const { return mFile.Get(); }

    /**
     * Puts the file on disk under its name. Raises std::runtime_error if that fails; then it doesn't exist.
     */
    void Commit();

private:
    [[noreturn]] void Fail(const std::string& step) const;
    void GiveName(const std::string& name) const;

    const std::string mPath;
    const bool mReplaces;
    std::string mPartPath; ///< of a file that has a name already; empty for a nameless one
    Descriptor mFile;
};

} // namespace ctl
