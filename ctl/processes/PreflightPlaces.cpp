#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <optional>

#include <sys/stat.h>
#include <sys/timex.h>
#include <unistd.h>

#include "base/ByteSize.h"
#include "base/JavaNames.h"
#include "base/SafeFile.h"
#include "base/TimeText.h"
#include "log/LogFolder.h"
#include "processes/Preflight.h"
#include "store/EvidencePathCheck.h"

namespace ctl
{

namespace
{

using Result = PreflightRow::Result;

constexpr std::uint64_t BYTES_PER_SECOND = 100'000'000; // a gibibyte takes about ten seconds
constexpr std::size_t LIMIT = 65536;

/** The kilobytes beside a name such as "VmSize" in a status file, 0 if it isn't there. */
std::uint64_t FindKilobytes(const std::string& status, const std::string& name)
{
    const std::size_t place = status.find("\n" + name + ":");
    return place == std::string::npos ? 0
                                      : std::strtoull(status.c_str() + place + name.size() + 2, nullptr, 10);
}

/** The bytes of an image: a core image takes the address space, a heap dump at most what is in use. */
std::uint64_t EstimateImage(const std::string& root, const LiveCounter& counter, bool isJava)
{
    const std::string path = root + "/proc/" + std::to_string(counter.pid) + "/status";
    const std::string status = ReadFile(AT_FDCWD, path, LIMIT).text;
    const std::uint64_t inUse = FindKilobytes(status, "VmRSS") + FindKilobytes(status, "VmSwap");
    return (isJava ? inUse : FindKilobytes(status, "VmSize")) * 1024;
}

void CheckImage(const PreflightBase& base, bool isJava, PreflightRows& rows)
{
    const LiveCounter* largest = nullptr;
    std::uint64_t bytes = 0;
    for (const LiveCounter& counter : base.live.counters) {
        const std::uint64_t estimate = EstimateImage(base.host.root, counter, isJava);
        if (IsJavaName(counter.process) == isJava && (largest == nullptr || estimate > bytes)) {
            largest = &counter;
            bytes = estimate;
        }
    }
    if (largest == nullptr) {
        return;
    }
    const std::chrono::seconds standstill(bytes / BYTES_PER_SECOND + 1);
    const std::optional<std::uint64_t> free = base.host.getFreeBytes(base.evidencePath);
    const bool fits = !free || *free > bytes;
    const char* const kind = isJava ? "heap dump" : "core image";
    rows.push_back({std::string("space for a ") + kind,
                    !free  ? Result::Unknown
                    : fits ? Result::Good
                           : Result::Error,
                    "the largest, of process " + std::to_string(largest->pid) + " (" + largest->process +
                        "), takes about " + FormatByteSize(bytes) +
                        (free ? ", " + FormatByteSize(*free) + " are free" : ", free space unknown") +
                        "; the process stands still for about " + FormatDuration(standstill) +
                        " if the disk takes 100 MB a second",
                    fits ? "" : "make room, or name another THHS_EVIDENCE_PATH"});
}

/** The findings of `check` about the evidence folder, as rows. */
void CheckEvidence(const PreflightBase& base, PreflightRows& rows)
{
    if (base.evidencePath.empty() && !base.isStoreRead) {
        rows.push_back({"evidence folder", Result::Unknown, "its path isn't known without the store", ""});
        return;
    }
    if (base.evidencePath.empty()) {
        rows.push_back({"evidence folder", Result::Error,
                        "THHS_EVIDENCE_PATH is not set: the service won't start", "name an existing folder"});
        return;
    }
    struct stat status = {};
    const int error = stat(base.evidencePath.c_str(), &status) != 0 ? errno : 0;
    if (error == EACCES) {
        rows.push_back({"evidence folder", Result::Unknown,
                        base.evidencePath + " may not be looked at by this user", "run it as the superuser"});
        return;
    }
    if (error != 0 || !S_ISDIR(status.st_mode)) {
        rows.push_back({"evidence folder", Result::Error,
                        base.evidencePath + " isn't there: the service won't start", "make the folder"});
        return;
    }
    StoreFindings findings;
    CheckEvidenceFolder(base.evidencePath, base.evidencePath, 0, findings);
    for (const StoreFinding& finding : findings) {
        const Result result = finding.severity == Severity::Error     ? Result::Error
                              : finding.severity == Severity::Warning ? Result::Warning
                                                                      : Result::Good;
        rows.push_back({"evidence folder", result, finding.message, finding.remedy});
    }
}

void CheckLogFolder(const PreflightHost& host, PreflightRows& rows)
{
    const std::string parent = host.root + std::filesystem::path(GetUsualLogPath()).parent_path().string();
    struct stat status = {};
    const int error = stat(parent.c_str(), &status) != 0 ? errno : 0;
    if (error == EACCES) {
        rows.push_back({"log folder", Result::Unknown, parent + " may not be looked at by this user",
                        "run it as the superuser"});
    } else if (error != 0 || !S_ISDIR(status.st_mode)) {
        rows.push_back({"log folder", Result::Error, parent + " isn't there: every line of the log is lost",
                        "mkdir -p " + parent});
    } else if (access(parent.c_str(), W_OK) == 0) {
        rows.push_back({"log folder", Result::Good, parent + " can be written", ""});
    } else {
        rows.push_back({"log folder", host.isSuperuser ? Result::Error : Result::Unknown,
                        parent + (host.isSuperuser ? " can't be written: every line of the log is lost"
                                                   : " can't be written by this user; the service may"),
                        host.isSuperuser ? "see how it is mounted" : "run it as the superuser"});
    }
}

void CheckClock(const PreflightHost& host, PreflightRows& rows)
{
    struct timex clock = {};
    const int state = adjtimex(&clock); // reads alone, as no mode is set
    const bool isSynchronised = state >= 0 && state != TIME_ERROR && (clock.status & STA_UNSYNC) == 0;
    rows.push_back({"clock", isSynchronised ? Result::Good : Result::Warning,
                    FormatTime(std::time(nullptr)) +
                        (isSynchronised ? ", kept in step"
                                        : ", and nothing keeps it in step: stamps can't be compared "
                                          "with those of other hosts"),
                    isSynchronised ? "" : "start a time service"});
    const LogFolder logs = ListLogs(host.root + GetUsualLogPath());
    if (!logs.files.empty() && logs.files.back().day > GetDay(ToWall(std::time(nullptr)))) {
        rows.push_back(
            {"clock", Result::Warning,
             "the newest log, " + logs.files.back().name + ", is of a day to come: the clock was set back",
             "see that the time and the time zone are right"});
    }
}

} // namespace

void CheckPlaces(const PreflightBase& base, PreflightRows& rows)
{
    CheckEvidence(base, rows);
    CheckImage(base, false, rows);
    CheckImage(base, true, rows);
    CheckLogFolder(base.host, rows);
    CheckClock(base.host, rows);
}

} // namespace ctl
