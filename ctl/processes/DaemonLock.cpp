#include "processes/DaemonLock.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include "base/ProductPlaces.h"
#include "cli/LockNames.h"

#include "base/SafeFile.h"
#include "processes/ProcessTable.h"

namespace ctl
{

namespace
{

constexpr std::size_t LOCKS_LIMIT = std::size_t{16} * 1024 * 1024;

/** The answer of one way to ask: held by whom (0: by somebody unseen), free, or no answer. */
struct Answer
{
    bool isKnown = false;
    bool isHeld = false;
    int holder = 0;
};

bool IsDaemon(int pid, const std::string& procFolder)
{
    const std::optional<Process> process = ReadProcess(pid, procFolder);
    return process && process->GetName() == "thsentinel";
}

/**
 * Looks the file up in the kernel's list of locks, which shows this PID namespace's only. Some file systems,
 * such as those in layers, show another device there than to stat: then the holder must be the daemon by its
 * name.
 */
Answer AskLockList(const struct stat& file, const std::string& procFolder)
{
    const FileText list = ReadFile(AT_FDCWD, procFolder + "/locks", LOCKS_LIMIT);
    if (!list.IsRead()) {
        return {};
    }
    char device[32];
    (void)std::snprintf(device, sizeof device, "%02x:%02x", major(file.st_dev), minor(file.st_dev));
    const std::string place = ":" + std::to_string(file.st_ino) + " ";
    for (std::size_t found = 0; (found = list.text.find(place, found)) != std::string::npos; ++found) {
        const std::size_t begin = list.text.rfind('\n', found) + 1; // npos + 1 is 0
        int holder = 0;
        if (std::sscanf(list.text.c_str() + begin, "%*d: POSIX %*s WRITE %d", &holder) != 1) {
            continue;
        }
        const std::string shown = list.text.substr(list.text.rfind(' ', found) + 1, std::strlen(device));
        if (shown == device || IsDaemon(holder, procFolder)) {
            return {true, true, holder};
        }
    }
    return {true, false, 0};
}

/** Asks the file itself. The device numbers of the list differ from those of stat on some file systems. */
Answer AskFile(const std::string& path)
{
    const OpenedFile opened = OpenRegularFile(AT_FDCWD, path);
    if (!opened.IsOpen()) {
        return {};
    }
    struct flock lock = {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    if (fcntl(opened.file.Get(), F_GETLK, &lock) != 0) {
        return {};
    }
    return {true, lock.l_type != F_UNLCK, lock.l_type != F_UNLCK && lock.l_pid > 0 ? lock.l_pid : 0};
}

std::optional<int> ReadWrittenPid(const std::string& path)
{
    const FileText file = ReadFile(AT_FDCWD, path, 64);
    int pid = 0;
    const auto parsed = std::from_chars(file.text.data(), file.text.data() + file.text.size(), pid);
    return file.IsRead() && parsed.ec == std::errc() && pid > 0 ? std::optional(pid) : std::nullopt;
}

/**
 * True if a process of the daemon's name is there. Some file systems show other numbers in the list of locks.
 */
bool IsAnyoneAlive(const std::string& procFolder)
{
    const std::vector<Process> processes = ReadProcesses(procFolder);
    return std::any_of(processes.begin(), processes.end(),
                       [](const Process& process) { return process.GetName() == "thsentinel"; });
}

void SetHolder(DaemonLock& result, int holder)
{
    result.state = DaemonLock::State::Running;
    if (holder > 0) {
        result.holder = holder;
    } else {
        result.reason = "the lock is held by a process that can't be seen from here";
    }
    if (result.holder && result.written && *result.holder != *result.written) {
        result.reason = "the lock is held by process " + std::to_string(*result.holder) +
                        ", and the run lock file names " + std::to_string(*result.written);
    }
}

} // namespace

std::string GetLockFolder()
{
    return std::string(PRODUCT_BASE) + "/" + PRODUCT_TEMP;
}

DaemonLock AskForDaemon(const std::string& folder, const std::string& procFolder)
{
    DaemonLock result;
    result.written = ReadWrittenPid(folder + "/" + THHS_RUN_LOCK_NAME);
    const std::string path = folder + "/" + THHS_CHILD_LOCK_NAME;
    struct stat file = {};
    if (lstat(path.c_str(), &file) != 0) {
        result.state = errno == ENOENT ? DaemonLock::State::Stopped : DaemonLock::State::Unknown;
        result.reason = errno == ENOENT ? "" : path + ": " + std::strerror(errno);
        return result;
    }
    const Answer asked = AskFile(path);
    const Answer listed = AskLockList(file, procFolder);
    if (asked.isHeld || listed.isHeld) {
        SetHolder(result, asked.holder > 0 ? asked.holder : listed.holder);
    } else if (asked.isKnown || (listed.isKnown && !IsAnyoneAlive(procFolder))) {
        result.state = DaemonLock::State::Stopped;
    } else {
        result.reason = path + " can't be read, and the list of locks doesn't settle it";
    }
    return result;
}

} // namespace ctl
