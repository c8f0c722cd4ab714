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
 * operations raise nothing but what the reporter raises. Results are 0 and the STORE_RC_ codes of thbase.h.
 */
class ConfigurationStore
{
public:
    /** Takes one line for the system log, with no line end. */
    using Reporter = std::function<void(const char* line)>;

    /**
     * `path` is the file; it is not read yet. `reporter` gets the lines for the system log, one call at a
     * time, on the thread that reads the file.
     */
    explicit ConfigurationStore(std::string path, Reporter reporter = WriteToSystemLog);
    ~ConfigurationStore();
    ConfigurationStore(const ConfigurationStore&) = delete;
    ConfigurationStore& operator=(const ConfigurationStore&) = delete;

    /**
     * Reads the file if no version of it has been read yet. A failure is reported if its reason is not that
     * of the failure before. Gives 0 if there is a version now, STORE_RC_UNREADABLE or STORE_RC_NO_MEMORY.
     */
    int ReadIfNeeded();

    /**
     * Reads the file again. The version in force is replaced on success and stays on failure; each failure
     * is reported with one line. The lines that a version skips are reported when its text is new and not
     * again while the file stays as it is. Gives 0, STORE_RC_UNREADABLE or STORE_RC_NO_MEMORY.
     */
    int ReadAgain();

    /**
     * Gives the text of a key in `value`, which the caller frees with free; set with result 0 only.
     * Results: 0, STORE_RC_NOT_FOUND, STORE_RC_UNREADABLE, STORE_RC_NO_MEMORY.
     */
    int GetText(std::string_view key, char*& value) const;

    /**
     * Gives the number of a key in `value`; set with result 0 only.
     * Results: 0, STORE_RC_NOT_FOUND, STORE_RC_NOT_NUMERIC, STORE_RC_UNREADABLE.
     */
    int GetNumber(std::string_view key, int& value) const;

    /// The version in force, null while there is none. It stays whole and readable for as long as it is held.
    std::shared_ptr<const StoreVersion> GetVersion() const;

    /** The reporter of the product: one line to the system log, LOG_USER and LOG_WARNING. */
    static void WriteToSystemLog(const char* line);

private:
    /** What a key stands for in the version in force. */
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

    std::mutex mReadingMutex;               ///< one reading of the file at a time, its reports included
    const char* mReportedFailure = nullptr; ///< the failure that was reported last; under mReadingMutex

    mutable std::mutex mVersionMutex;             ///< held for the copy of a pointer only
    std::shared_ptr<const StoreVersion> mVersion; ///< under mVersionMutex
};
