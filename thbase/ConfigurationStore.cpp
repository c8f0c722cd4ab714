#include "ConfigurationStore.h"

#include "StoreFile.h"
#include "StoreText.h"
#include "StoreVersion.h"
#include "thbase.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <optional>
#include <utility>

#include <syslog.h>

namespace
{
constexpr std::size_t REPORT_SIZE = 1024;
constexpr const char* OUT_OF_MEMORY = "memory ran out";
} // namespace

ConfigurationStore::ConfigurationStore(std::string path, Reporter reporter)
    : mPath(std::move(path)), mReporter(std::move(reporter))
{}

ConfigurationStore::~ConfigurationStore() = default;

int ConfigurationStore::ReadIfNeeded()
{
    if (GetVersion() != nullptr) {
        return 0;
    }
    const std::lock_guard<std::mutex> lock(mReadingMutex);
    // Another thread may have read the file while this one waited for the lock.
    return GetVersion() != nullptr ? 0 : Read(false);
}

int ConfigurationStore::ReadAgain()
{
    const std::lock_guard<std::mutex> lock(mReadingMutex);
    return Read(true);
}

ConfigurationStore::Finding ConfigurationStore::Find(std::string_view key) const
{
    std::shared_ptr<const StoreVersion> version = GetVersion();
    if (version == nullptr) {
        return {STORE_RC_UNREADABLE, nullptr, {}};
    }
    const std::optional<std::string_view> found = version->Find(key);
    return found ? Finding{0, std::move(version), *found} : Finding{STORE_RC_NOT_FOUND, nullptr, {}};
}

int ConfigurationStore::GetText(std::string_view key, char*& value) const
{
    const Finding finding = Find(key);
    if (finding.mResult != 0) {
        return finding.mResult;
    }
    // The C caller frees the text, so it must come from malloc.
    auto* const text = static_cast<char*>(std::malloc(finding.mText.size() + 1));
    if (text == nullptr) {
        return STORE_RC_NO_MEMORY;
    }
    text[finding.mText.copy(text, finding.mText.size())] = '\0';
    value = text;
    return 0;
}

int ConfigurationStore::GetNumber(std::string_view key, int& value) const
{
    const Finding finding = Find(key);
    if (finding.mResult != 0) {
        return finding.mResult;
    }
    const std::optional<int> number = ParseStoreNumber(finding.mText);
    if (!number) {
        return STORE_RC_NOT_NUMERIC;
    }
    value = *number;
    return 0;
}

std::shared_ptr<const StoreVersion> ConfigurationStore::GetVersion() const
{
    const std::lock_guard<std::mutex> lock(mVersionMutex);
    return mVersion;
}

void ConfigurationStore::WriteToSystemLog(const char* line)
{
    syslog(LOG_USER | LOG_WARNING, "%s", line);
}

int ConfigurationStore::Read(bool reportSameFailure)
{
    const char* failure = OUT_OF_MEMORY;
    try {
        failure = TakeNewVersion();
    } catch (const std::bad_alloc&) {
        // The version in force is unchanged. The report needs no memory: its buffer is on the stack.
    }
    if (failure == nullptr) {
        return 0;
    }
    ReportFailure(failure, reportSameFailure);
    return failure == OUT_OF_MEMORY ? STORE_RC_NO_MEMORY : STORE_RC_UNREADABLE;
}

/** Reads the file and puts its text in force, unless it already is. Returns null or the failure. */
const char* ConfigurationStore::TakeNewVersion()
{
    const std::shared_ptr<const StoreVersion> former = GetVersion();
    const std::string* const known = former != nullptr ? &former->GetText() : nullptr;
    StoreFileContent content = ReadStoreFile(mPath.c_str(), known);
    if (content.mFailure != nullptr) {
        return content.mFailure;
    }
    if (known != nullptr && content.mText == *known) {
        return nullptr;
    }
    const auto version = std::make_shared<const StoreVersion>(std::move(content.mText));
    {
        const std::lock_guard<std::mutex> lock(mVersionMutex);
        mVersion = version;
    }
    ReportSkippedLines(*version);
    return nullptr;
}

void ConfigurationStore::ReportFailure(const char* failure, bool reportSameFailure)
{
    if (!reportSameFailure && mReportedFailure != nullptr && std::strcmp(mReportedFailure, failure) == 0) {
        return;
    }
    mReportedFailure = failure;
    char line[REPORT_SIZE];
    (void)std::snprintf(line, sizeof line, "%s can't be read: %s; %s.", mPath.c_str(), failure,
                        GetVersion() != nullptr ? "the last good version stays in force"
                                                : "no version of it has been read yet");
    mReporter(line);
}

void ConfigurationStore::ReportSkippedLines(const StoreVersion& version) const
{
    char line[REPORT_SIZE];
    for (const StoreLine& storeLine : version.GetNamedSkippedLines()) {
        (void)std::snprintf(line, sizeof line, "%s, line %zu is skipped: %s.", mPath.c_str(),
                            storeLine.mNumber, GetSkipReason(storeLine.mKind));
        mReporter(line);
    }
    const std::size_t others = version.GetOtherSkippedLines();
    if (others > 0) {
        (void)std::snprintf(line, sizeof line, "%s, %zu more %s skipped.", mPath.c_str(), others,
                            others == 1 ? "line is" : "lines are");
        mReporter(line);
    }
}
