#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <set>

#include <sys/stat.h>
#include <unistd.h>

#include "base/ProductPlaces.h"
#include "config/KeyTable.h"

#include "base/JavaNames.h"
#include "base/SafeFile.h"
#include "processes/DaemonLock.h"
#include "processes/Preflight.h"

namespace ctl
{

namespace
{

using Result = PreflightRow::Result;

constexpr std::size_t LIMIT = 65536;
constexpr unsigned CAP_PTRACE = 19; // CAP_SYS_PTRACE, as bit of a capability set

/** Where the dumps of Java programs of other users are made. */
std::string GetTemporaryOfOthers()
{
    return std::string(PRODUCT_BASE) + "/" + PRODUCT_WEBSERVER + "/" + PRODUCT_WEBSERVER_TEMP;
}

void CheckUser(const PreflightBase& base, PreflightRows& rows)
{
    const bool isRoot = base.host.isSuperuser;
    rows.push_back(
        {"user", isRoot ? Result::Good : Result::Warning,
         isRoot ? "superuser" : "not the superuser: what is seen here may differ from what the service sees",
         isRoot ? "" : "run it as the user of the service"});
    if (base.daemon == 0) {
        return;
    }
    const std::string status =
        ReadFile(AT_FDCWD, base.host.root + "/proc/" + std::to_string(base.daemon) + "/status", LIMIT).text;
    const std::size_t place = status.find("\nCapEff:");
    if (place == std::string::npos) {
        return;
    }
    const unsigned long long rights = std::strtoull(status.c_str() + place + 8, nullptr, 16);
    const bool mayTrace = ((rights >> CAP_PTRACE) & 1U) != 0;
    rows.push_back(
        {"rights of the service", mayTrace ? Result::Good : Result::Error,
         mayTrace ? "it may look into other processes"
                  : "it lacks the right to look into processes of others: no cores, no stacks of theirs",
         mayTrace ? "" : "start it as the superuser, without bounds on its capabilities"});
}

void CheckPtraceScope(const std::string& root, PreflightRows& rows)
{
    const FileText scope = ReadFile(AT_FDCWD, root + "/proc/sys/kernel/yama/ptrace_scope", LIMIT);
    if (!scope.IsRead()) {
        rows.push_back({"ptrace_scope", Result::Good, "this kernel has none", ""});
        return;
    }
    const int value = std::atoi(scope.text.c_str());
    const char* const meanings[] = {
        "any process of the same user may be looked into", "the superuser may look into any process",
        "the superuser may look into any process", "nobody may look into a process until the next boot"};
    const bool isClosed = value >= 3;
    rows.push_back({"ptrace_scope", isClosed ? Result::Error : Result::Good,
                    std::to_string(value) + ": " +
                        meanings[isClosed    ? 3
                                 : value < 0 ? 0
                                             : value],
                    isClosed ? "boot without kernel.yama.ptrace_scope = 3" : ""});
}

void CheckSelinux(const std::string& root, PreflightRows& rows)
{
    const FileText enforce = ReadFile(AT_FDCWD, root + "/sys/fs/selinux/enforce", LIMIT);
    const bool isEnforcing = enforce.IsRead() && enforce.text.starts_with('1');
    const bool deniesPtrace =
        ReadFile(AT_FDCWD, root + "/sys/fs/selinux/booleans/deny_ptrace", LIMIT).text.starts_with('1');
    if (!isEnforcing) {
        rows.push_back({"SELinux", Result::Good, enforce.IsRead() ? "permissive" : "not in use", ""});
        return;
    }
    rows.push_back({"SELinux", deniesPtrace ? Result::Error : Result::Warning,
                    deniesPtrace
                        ? "enforcing, and deny_ptrace is on: no cores and no stacks"
                        : "enforcing: a policy may keep gcore from a process or from the evidence folder",
                    deniesPtrace ? "setsebool deny_ptrace off"
                                 : "look for denials with ausearch -m avc after a rehearsal"});
}

void CheckTracers(const PreflightBase& base, PreflightRows& rows)
{
    std::set<int> seen;
    for (const LiveCounter& counter : base.live.counters) {
        if (counter.details.tracer != 0 && seen.insert(counter.pid).second) {
            rows.push_back({"tracer", Result::Warning,
                            "process " + std::to_string(counter.pid) + " (" + counter.process +
                                ") is traced by process " + std::to_string(counter.details.tracer) +
                                ": gcore and gstack fail for it",
                            "end the debugger"});
        }
    }
}

/** True if a shell of this name runs commands, so that su can start the dump tool. */
bool RunsCommands(const std::string& root, const std::string& shell)
{
    const std::string name = shell.substr(shell.rfind('/') + 1);
    return name != "nologin" && name != "false" && access((root + shell).c_str(), X_OK) == 0;
}

void CheckOwner(const PreflightHost& host, const LiveCounter& counter, PreflightRows& rows)
{
    const std::optional<ProcessOwner> owner = host.findOwner(counter.details.user);
    const std::string who = "process " + std::to_string(counter.pid) + " (" + counter.process + ")";
    if (!owner) {
        rows.push_back(
            {"owner of Java", Result::Error,
             who + " belongs to user " + std::to_string(counter.details.user) + ", who has no name: su fails",
             "give the user a name"});
        return;
    }
    const bool isGood = RunsCommands(host.root, owner->shell);
    rows.push_back({"owner of Java", isGood ? Result::Good : Result::Error,
                    who + " belongs to " + owner->name + ", whose shell " + owner->shell +
                        (isGood ? " runs commands" : " runs none: su fails, and no dump is taken"),
                    isGood ? "" : "usermod -s /bin/sh " + owner->name});
}

void CheckTemporary(const std::string& root, const std::string& path, bool isForOthers, PreflightRows& rows)
{
    struct stat status = {};
    const int error = stat((root + path).c_str(), &status) != 0 ? errno : 0;
    if (error == EACCES) {
        rows.push_back({"temporary folder", Result::Unknown, path + " may not be looked at by this user",
                        "run it as the superuser"});
        return;
    }
    const bool isFolder = error == 0 && S_ISDIR(status.st_mode);
    const bool isGood = isFolder && (!isForOthers || (status.st_mode & S_IWOTH) != 0 || status.st_uid != 0);
    rows.push_back(
        {"temporary folder",
         isGood     ? Result::Good
         : isFolder ? Result::Warning
                    : Result::Error,
         std::string(path) + (isGood ? " is there"
                              : isFolder
                                  ? " can be written by the superuser alone: Java dumps of others fail there"
                                  : " isn't there"),
         isGood     ? ""
         : isFolder ? "let the owner of the Java programs write there"
                    : std::string("mkdir -p ") + path});
}

void CheckJava(const PreflightBase& base, PreflightRows& rows)
{
    bool hasOthers = false;
    std::set<int> seen;
    for (const LiveCounter& counter : base.live.counters) {
        if (IsJavaName(counter.process) && seen.insert(counter.pid).second) {
            CheckOwner(base.host, counter, rows);
            hasOthers = hasOthers || counter.details.user != 0;
        }
    }
    CheckTemporary(base.host.root, GetLockFolder(), false, rows); // of the lock files, too
    if (hasOthers) {
        CheckTemporary(base.host.root, GetTemporaryOfOthers(), true, rows);
    }
}

} // namespace

void CheckRights(const PreflightBase& base, PreflightRows& rows)
{
    CheckUser(base, rows);
    CheckPtraceScope(base.host.root, rows);
    CheckSelinux(base.host.root, rows);
    CheckTracers(base, rows);
    CheckJava(base, rows);
}

} // namespace ctl
