#pragma once

#include <cstdio>
#include <filesystem>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include <dlfcn.h>
#include <pthread.h>

#include <gtest/gtest.h>

/** Whether a sanitizer is built in. */
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool IS_SANITIZED = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
constexpr bool IS_SANITIZED = true;
#else
constexpr bool IS_SANITIZED = false;
#endif
#else
constexpr bool IS_SANITIZED = false;
#endif

/** The lines that a shell line prints on standard output. */
inline std::vector<std::string> GetLines(const std::string& shellLine)
{
    std::FILE* const pipe = popen(shellLine.c_str(), "r");
    EXPECT_NE(pipe, nullptr);
    std::string output;
    for (int byte = std::fgetc(pipe); byte != EOF; byte = std::fgetc(pipe)) {
        output += static_cast<char>(byte);
    }
    EXPECT_EQ(pclose(pipe), 0) << shellLine;
    std::vector<std::string> lines;
    std::istringstream stream(output);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

/** The shared library that this program runs with. */
inline std::string GetLibraryPath()
{
    Dl_info library = {};
    // Not RTLD_DEFAULT: a program that isn't position-independent has an entry of its own for the function.
    EXPECT_NE(dladdr(dlsym(RTLD_NEXT, "get_master_config_ptr"), &library), 0);
    return std::filesystem::absolute(library.dli_fname).string();
}

/** The program caller/CCaller.c, which lies beside the library. */
inline std::string GetCallerPath()
{
    return std::filesystem::path(GetLibraryPath()).replace_filename("thbase_c_caller").string();
}

/// Runs `body` on a thread that has been cancelled before. True if it was finished before the thread ended.
inline bool IsFinishedWhenCancelled(const std::function<void()>& body)
{
    struct Run
    {
        const std::function<void()>& body;
        bool isFinished = false;
    } run{body};
    const auto start = [](void* argument) -> void* {
        (void)pthread_cancel(pthread_self()); // takes effect at the next cancellation point
        static_cast<Run*>(argument)->body();
        static_cast<Run*>(argument)->isFinished = true;
        pthread_testcancel();
        return nullptr;
    };
    pthread_t thread = {};
    void* result = nullptr;
    EXPECT_EQ(pthread_create(&thread, nullptr, start, &run), 0);
    EXPECT_EQ(pthread_join(thread, &result), 0);
    EXPECT_EQ(result, PTHREAD_CANCELED);
    return run.isFinished;
}
