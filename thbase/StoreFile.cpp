#include "StoreFile.h"

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <ctime>
#include <map>
#include <mutex>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
constexpr int READINGS = 16;
constexpr std::int64_t NANOSECONDS_PER_SECOND = 1'000'000'000;

// Between two readings that must agree. The time stamps of a file advance by the kernel's clock tick, 10 ms
// at most, so two writes within one tick leave the same stamps; and a file that is being truncated shows its
// new size some milliseconds before its new stamps.
constexpr timespec PAUSE = {0, 30'000'000};

/** The descriptor of an open file. */
class Descriptor
{
public:
    explicit Descriptor(int descriptor) noexcept : mDescriptor(descriptor) {}
    ~Descriptor()
    {
        if (mDescriptor >= 0) {
            (void)close(mDescriptor); // the file was only read, so an error loses nothing
        }
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int Get() const noexcept { return mDescriptor; }

private:
    const int mDescriptor;
};

/** One reading of the file: the bytes, and the stamps before and after. */
struct Reading
{
    StoreFileContent mContent;
    struct stat mBefore = {};
    struct stat mAfter = {};
};

/** The system's text for an error number. It is never freed, since callers keep its address. */
const char* Describe(int error)
{
    static std::mutex mutex;
    static auto* const texts = new std::map<int, std::string>();
    const std::lock_guard<std::mutex> lock(mutex);
    return texts->try_emplace(error, std::generic_category().message(error)).first->second.c_str();
}

std::int64_t ToNanoseconds(const timespec& time)
{
    return time.tv_sec * NANOSECONDS_PER_SECOND + time.tv_nsec;
}

bool IsUnchanged(const struct stat& one, const struct stat& other)
{
    // The time of the last status change advances with every write. Unlike that of the last write it can't be
    // set by a program.
    return one.st_dev == other.st_dev && one.st_ino == other.st_ino && one.st_size == other.st_size &&
           ToNanoseconds(one.st_mtim) == ToNanoseconds(other.st_mtim) &&
           ToNanoseconds(one.st_ctim) == ToNanoseconds(other.st_ctim);
}

/** True if the file has not changed from before the one reading to after the other. */
bool IsSameReading(const Reading& former, const Reading& reading)
{
    return IsUnchanged(former.mBefore, former.mAfter) && IsUnchanged(former.mAfter, reading.mBefore) &&
           IsUnchanged(reading.mBefore, reading.mAfter) && former.mContent.mText == reading.mContent.mText;
}

const char* CheckKind(const struct stat& status)
{
    if (!S_ISREG(status.st_mode)) {
        return "it is not a regular file";
    }
    if (std::cmp_greater(status.st_size, STORE_FILE_LIMIT)) {
        return "it is larger than 16 MiB";
    }
    return nullptr;
}

/** Reads to the end of the file, or one byte past the limit. Returns null or the failure. */
const char* ReadBytes(int descriptor, std::size_t expectedSize, std::string& text)
{
    constexpr std::size_t GROWTH = 65536;
    text.resize(expectedSize + 1); // one more, so that the end of the file is seen without growing
    std::size_t length = 0;
    while (length <= STORE_FILE_LIMIT) {
        const ssize_t count = read(descriptor, text.data() + length, text.size() - length);
        if (count < 0 && errno != EINTR) {
            return Describe(errno);
        }
        if (count == 0) {
            text.resize(length);
            return nullptr;
        }
        length += count > 0 ? static_cast<std::size_t>(count) : 0;
        if (length == text.size()) {
            text.resize(length + GROWTH);
        }
    }
    return "it is larger than 16 MiB";
}

int OpenForReading(const char* path)
{
    int descriptor = -1;
    do {
        // Without O_NONBLOCK, the opening of a FIFO would wait for its writer.
        descriptor = open(path, O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    } while (descriptor < 0 && errno == EINTR);
    return descriptor;
}

Reading ReadOnce(const char* path, const std::function<void()>& afterReading)
{
    Reading reading;
    const Descriptor file(OpenForReading(path));
    if (file.Get() < 0 || fstat(file.Get(), &reading.mBefore) != 0) {
        reading.mContent.mFailure = Describe(errno);
        return reading;
    }
    reading.mContent.mFailure = CheckKind(reading.mBefore);
    if (reading.mContent.mFailure == nullptr) {
        const auto size = static_cast<std::size_t>(reading.mBefore.st_size);
        reading.mContent.mFailure = ReadBytes(file.Get(), size, reading.mContent.mText);
    }
    if (afterReading) {
        afterReading();
    }
    if (reading.mContent.mFailure == nullptr && fstat(file.Get(), &reading.mAfter) != 0) {
        reading.mContent.mFailure = Describe(errno);
    }
    return reading;
}
} // namespace

StoreFileContent ReadStoreFile(const char* path, const std::string* known,
                               const std::function<void()>& afterReading)
{
    Reading former;
    for (int number = 0; number < READINGS; ++number) {
        if (number > 0) {
            (void)nanosleep(&PAUSE,
                            nullptr); // a signal that ends it early only makes the next reading earlier
        }
        Reading reading = ReadOnce(path, afterReading);
        if (reading.mContent.mFailure != nullptr) {
            return std::move(reading.mContent);
        }
        const bool isKnown = known != nullptr && reading.mContent.mText == *known;
        if (isKnown || (number > 0 && IsSameReading(former, reading))) {
            return std::move(reading.mContent);
        }
        former = std::move(reading);
    }
    return {{}, "it keeps changing while it is read"};
}
