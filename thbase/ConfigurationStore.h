#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

class StoreVersion;

/**
 * A configuration store: a file, and the last version of it that could be read. Every operation may be
 * called from any thread at any time; one that reads values never waits for one that reads the file. The
 * operations raise only what the reporter raises. Results are 0 and the STORE_RC_ codes of thbase.h.
 */
class ConfigurationStore
{
public:
    /** Receives one line for the system log, without a line end. */
    using Reporter = std::function<void(const char* line)>;

    /**
     * `path` is the file; the constructor doesn't read it. `reporter` receives the lines for the system log,
     * one call at a time, on the thread that reads the file.
     */
    explicit ConfigurationStore(std::string path, Reporter reporter = WriteToSystemLog);
    ~ConfigurationStore();
    ConfigurationStore(const ConfigurationStore&) = delete;
    ConfigurationStore& operator=(const ConfigurationStore&) = delete;

    /**
     * Reads the file if no version of it has been read yet. A failure is reported only if its reason
     * differs from that of the last one. Returns 0 if there is a version now, STORE_RC_UNREADABLE or
     * STORE_RC_NO_MEMORY.
     */
    int ReadIfNeeded();

    /**
     * Reads the file again. The version in force is replaced on success and stays on failure; each failure
     * is reported with one line. The lines that a version skips are reported when its text is new and not
     * again while the file stays as it is; the first 20 are named, the others counted. Returns 0,
     * STORE_RC_UNREADABLE or STORE_RC_NO_MEMORY.
     */
    int ReadAgain();

    /**
     * Stores the text of a key in `value`, which the caller frees with free; it is set with result 0 only.
     * Results: 0, STORE_RC_NOT_FOUND, STORE_RC_UNREADABLE, STORE_RC_NO_MEMORY.
     */
    int GetText(std::string_view key, char*& value) const;

    /**
     * Stores the number of a key in `value`; it is set with result 0 only.
     * Results: 0, STORE_RC_NOT_FOUND, STORE_RC_NOT_NUMERIC, STORE_RC_UNREADABLE.
     */
    int GetNumber(std::string_view key, int& value) const;

    /// The version in force, null while there is none. It stays valid as long as the caller holds it.
    std::shared_ptr<const StoreVersion> GetVersion() const;

    /** The reporter of the product: one line to the system log, LOG_USER and LOG_WARNING. */
    static void WriteToSystemLog(const char* line);

private:
    /** What the version in force has for a key. */
    struct Finding
    {
        int mResult;                                  ///< 0, STORE_RC_NOT_FOUND or STORE_RC_UNREADABLE
        std::shared_ptr<const StoreVersion> mVersion; ///< keeps the text alive
        std::string_view mText;
    };

    Finding Find(std::string_view key) const;
    int Read(bool reportSameFailure);
    const char* TakeNewVersion();
    void ReportFailure(const char* failure, bool reportSameFailure);
    void ReportSkippedLines(const StoreVersion& version) const;

    const std::string mPath;
    const Reporter mReporter;

    std::mutex mReadingMutex;               ///< one reading of the file at a time, with its reports
    const char* mReportedFailure = nullptr; ///< the last reported failure; guarded by mReadingMutex

    mutable std::mutex mVersionMutex;             ///< held only to copy a pointer
    std::shared_ptr<const StoreVersion> mVersion; ///< guarded by mVersionMutex
};
