#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

/** A folder of its own for one test, removed with all that it holds. */
class TemporaryFolder
{
public:
    TemporaryFolder()
    {
        std::string pattern = (std::filesystem::temp_directory_path() / "thbase-XXXXXX").string();
        EXPECT_NE(mkdtemp(pattern.data()), nullptr);
        mPath = pattern;
    }
    ~TemporaryFolder()
    {
        std::error_code ignored; // a folder that is left behind spoils no test
        std::filesystem::remove_all(mPath, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    std::string operator/(std::string_view name) const { return (mPath / name).string(); }
    std::string GetPath() const { return mPath.string(); }

private:
    std::filesystem::path mPath;
};

/** Makes the file hold exactly `text`, in place. */
inline void WriteTextFile(const std::string& path, std::string_view text)
{
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(text.data(), static_cast<std::streamsize>(text.size()));
    file.close();
    ASSERT_TRUE(file.good()) << path;
}

/** Makes the file hold exactly `text`, by a whole new file in its place. */
inline void ReplaceTextFile(const std::string& path, std::string_view text)
{
    ASSERT_NO_FATAL_FAILURE(WriteTextFile(path + ".new", text));
    std::filesystem::rename(path + ".new", path);
}
