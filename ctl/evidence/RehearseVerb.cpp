#include "evidence/EvidenceVerbs.h"

#include "base/ByteSize.h"
#include "base/Common.h"
#include "base/Document.h"
#include "base/ExitStatus.h"
#include "base/NumberRange.h"
#include "base/PlainText.h"
#include "base/Plural.h"
#include "base/Progress.h"
#include "base/SafeFile.h"
#include "base/Table.h"
#include "config/KeyTable.h"
#include "evidence/EvidenceSource.h"
#include "evidence/Rehearsal.h"
#include "evidence/ScratchFolder.h"
#include "processes/ProcessTable.h"
#include "processes/WatchedNames.h"

#include <algorithm>
#include <filesystem>
#include <iomanip>
#include <iostream>
#include <memory>
#include <sstream>
#include <stdexcept>

#include <CLI/CLI.hpp>
#include <pwd.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

namespace ctl
{
namespace
{
constexpr VerbText REHEARSE = {"rehearse",
                               "Runs the captures of a process into a scratch folder, to see what they give",
                               "thsentinelctl rehearse tbrd\nthsentinelctl rehearse 4321 --stop-process"};
constexpr std::chrono::seconds LONGEST_LINE(120);
constexpr std::chrono::seconds LONGEST_DUMP(3600);
constexpr std::size_t LONGEST_COMMAND = std::size_t{64} * 1024;

struct RehearseOptions
{
    std::string target;
    std::string scratch;
    int readings = 1;
    bool stopsProcess = false;
    bool keeps = false;
};

/** A line that was run, or left out. */
struct Rehearsed
{
    RehearsalLine line;
    RehearsalResult result;
    std::string leftOutWhy; ///< empty for one that was run

    bool IsEmpty() const { return leftOutWhy.empty() && result.bytes == 0; }

    /** The program that the line begins with. */
    std::string GetTool() const { return line.section.substr(0, line.section.find(' ')); }

    bool IsToolMissing() const
    {
        return IsEmpty() && GetTool().starts_with('/') && access(GetTool().c_str(), F_OK) != 0;
    }

    bool IsWell() const
    {
        return !leftOutWhy.empty() || (!result.isTooSlow && (result.bytes != 0 || line.mayBeEmpty));
    }
};

/** The process that a target stands for: its id, or a name as a monitoring list would have it. */
int FindTarget(const std::string& target)
{
    const std::optional<int> pid = ParsePidFolder(target);
    std::vector<int> found;
    if (pid && ReadProcess(*pid)) {
        found = {*pid};
    } else if (!pid) {
        found = WatchedNames(ReadProcesses(), GetTableNames({target}), getpid()).Find(target).pids;
    }
    if (found.empty()) {
        throw std::runtime_error("no process here has the id or the name " + target);
    }
    if (found.size() > 1) {
        std::string text = target + " stands for several processes; give one:";
        for (const int one : found) {
            text += " " + std::to_string(one);
        }
        throw std::runtime_error(text);
    }
    return found.front();
}

/** Refuses a dump for which there is hardly space: a core is about as large as the resident memory. */
void DemandSpace(const std::string& folder, std::uint64_t bytes)
{
    struct statvfs status = {};
    if (statvfs(folder.c_str(), &status) != 0) {
        return; // the dump will say
    }
    const std::uint64_t free = static_cast<std::uint64_t>(status.f_bavail) * status.f_frsize;
    if (free < bytes + bytes / 10) {
        throw std::runtime_error("no dump: the process uses " + FormatByteSize(bytes) + ", and " + folder +
                                 " has " + FormatByteSize(free) + " free");
    }
}

/** The resident memory of a process, in bytes; 0 if it can't be read. */
std::uint64_t GetResidentBytes(int pid)
{
    const FileText text = ReadFile(AT_FDCWD, "/proc/" + std::to_string(pid) + "/statm", LONGEST_COMMAND);
    std::istringstream words(text.text);
    std::uint64_t size = 0;
    std::uint64_t resident = 0;
    words >> size >> resident;
    return resident * static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
}

std::vector<RehearsalLine> MakeDumpLines(const Common& common, int pid, const ScratchFolder& scratch)
{
    DemandSpace(scratch.GetPath(), GetResidentBytes(pid));
    const std::string process = "/proc/" + std::to_string(pid);
    std::error_code ignored; // a program that can't be seen is taken for no Java
    const std::string program = std::filesystem::read_symlink(process + "/exe", ignored).filename().string();
    if (program != "java") {
        return {MakeCoreLine(pid, scratch.GetPath())};
    }
    struct stat status = {};
    const bool isKnown = stat(process.c_str(), &status) == 0;
    const struct passwd* const user = isKnown ? getpwuid(status.st_uid) : nullptr;
    const SettingReader read = OpenSettings(common).read;
    return MakeJavaLines(pid, read ? read(THHS_JDK_HOME).value_or("") : "",
                         user == nullptr ? "" : user->pw_name,
                         scratch.MakeFolderFor(status.st_uid, status.st_gid));
}

std::vector<Rehearsed> RunLines(const std::vector<RehearsalLine>& lines, const ScratchFolder& scratch,
                                bool stopsProcess)
{
    Progress progress("rehearsing", lines.size());
    const InterruptWatch watch;
    std::vector<Rehearsed> rehearsed;
    for (const RehearsalLine& line : lines) {
        progress.SetDetail(line.section);
        Rehearsed& one = rehearsed.emplace_back();
        one.line = line;
        if (InterruptWatch::IsInterrupted()) {
            one.leftOutWhy = "interrupted";
        } else if (line.stopsProcess && !stopsProcess) {
            one.leftOutWhy = "stops the process; --stop-process runs it";
        } else {
            const bool isDump = line.kind == FileKind::Core || line.kind == FileKind::HeapDump;
            one.result = RunLine(line, scratch.GetPath() + "/" + GetKindName(line.kind) + ".out",
                                 scratch.GetPath() + "/complaints", isDump ? LONGEST_DUMP : LONGEST_LINE);
        }
        progress.Advance(1);
    }
    return rehearsed;
}

std::string Describe(const Rehearsed& one)
{
    if (!one.leftOutWhy.empty()) {
        return "left out: " + one.leftOutWhy;
    }
    if (one.IsToolMissing()) {
        return "EMPTY: " + one.GetTool() + " isn't there";
    }
    if (one.IsEmpty() && one.IsWell()) {
        return "empty, as it may be";
    }
    std::string text = one.result.isTooSlow ? "was ended" : one.IsEmpty() ? "EMPTY" : "";
    if (one.result.status != 0 && !one.line.mayBeEmpty) {
        text += (text.empty() ? "" : ", ") + std::string("status ") + std::to_string(one.result.status);
    }
    if (!one.result.complaint.empty() && !one.IsWell()) {
        text += (text.empty() ? "" : ": ") + one.result.complaint;
    }
    return text;
}

std::string FormatSeconds(double seconds)
{
    std::ostringstream text;
    text << std::fixed << std::setprecision(2) << seconds;
    return text.str();
}

void PrintText(const std::vector<Rehearsed>& rehearsed, const CapturePlan& plan, int readings)
{
    Table table(
        {{"FILE"}, {"BYTES", Table::Side::Right}, {"SECONDS", Table::Side::Right}, {"LINE"}, {"REMARK"}});
    std::uint64_t memory = 0;
    double time = 0;
    for (const Rehearsed& one : rehearsed) {
        const bool isRun = one.leftOutWhy.empty();
        table.Add({{GetKindName(one.line.kind)},
                   {isRun ? std::to_string(one.result.bytes) : ""},
                   {isRun ? FormatSeconds(one.result.seconds) : ""},
                   {one.line.section},
                   {Describe(one), one.IsWell() && !one.IsToolMissing() ? Colour::Plain : Colour::Yellow}});
        memory += one.line.kind == FileKind::MemoryPerf ? one.result.bytes : 0;
        time += one.line.kind == FileKind::MemoryPerf ? one.result.seconds : 0;
    }
    table.Print(std::cout);
    const auto all = static_cast<std::uint64_t>(plan.readings.value_or(0));
    const auto taken = static_cast<std::uint64_t>(std::max(readings, 1));
    std::cout << "A set of " << CountNoun(all, "reading") << ": MemoryPerf about "
              << FormatByteSize(memory / taken * all) << "; its tools run "
              << FormatSeconds(time / static_cast<double>(taken) * static_cast<double>(all))
              << " s in all, pauses not counted.\n";
}

void PrintJson(const std::vector<Rehearsed>& rehearsed, int pid, const std::string& settingsFailure)
{
    Json document = BeginDocument("rehearse");
    document["pid"] = pid;
    document["settingsFailure"] = settingsFailure.empty() ? Json(nullptr) : ToJson(settingsFailure);
    document["lines"] = Json::array();
    for (const Rehearsed& one : rehearsed) {
        Json json;
        json["file"] = GetKindName(one.line.kind);
        json["line"] = ToJson(one.line.section);
        json["run"] = one.leftOutWhy.empty();
        json["bytes"] = one.result.bytes;
        json["seconds"] = one.result.seconds;
        json["status"] = one.result.status;
        json["empty"] = one.IsEmpty();
        json["mayBeEmpty"] = one.line.mayBeEmpty;
        json["remark"] = ToJson(Describe(one));
        document["lines"].push_back(std::move(json));
    }
    PrintDocument(document);
}

void PrintUnknownSettings(const std::string& failure)
{
    if (!failure.empty()) {
        std::cerr << "thsentinelctl: the settings are unknown (" << EscapeControls(failure)
                  << "), so their defaults decide which captures are rehearsed\n";
    }
}

int Rehearse(const Common& common, const RehearseOptions& options)
{
    const int pid = FindTarget(options.target);
    const auto [read, failure] = OpenSettings(common);
    const CapturePlan plan =
        read ? MakeCapturePlan(read)
             : MakeCapturePlan([](const std::string&) { return std::optional<std::string>(); });
    const ScratchFolder scratch(options.scratch, options.keeps);
    RehearsalPlan rehearsal;
    rehearsal.pid = pid;
    rehearsal.wantsNetwork = plan.wantsNetwork;
    rehearsal.wantsDisk = plan.wantsDisk;
    rehearsal.readings = options.readings;
    std::vector<RehearsalLine> lines = MakeRehearsal(rehearsal);
    if (options.stopsProcess) {
        const std::vector<RehearsalLine> dumps = MakeDumpLines(common, pid, scratch);
        lines.insert(lines.end(), dumps.begin(), dumps.end());
    }
    const std::vector<Rehearsed> rehearsed = RunLines(lines, scratch, options.stopsProcess);
    if (common.json) {
        PrintJson(rehearsed, pid, failure);
    } else {
        PrintText(rehearsed, plan, options.readings);
        PrintUnknownSettings(failure);
    }
    if (options.keeps) {
        std::cerr << "thsentinelctl: the output is left in " << EscapeControls(scratch.GetPath()) << '\n';
    }
    const bool isWell =
        std::all_of(rehearsed.begin(), rehearsed.end(), [](const Rehearsed& one) { return one.IsWell(); });
    return isWell ? EXIT_GOOD : EXIT_WARNINGS;
}
} // namespace

void AddRehearseVerb(CLI::App& program, Common& common)
{
    CLI::App& verb = AddVerb(program, REHEARSE);
    const auto options = std::make_shared<RehearseOptions>();
    verb.add_option("TARGET", options->target, "The name or id of a process")
        ->required()
        ->type_name("NAME|PID");
    CLI::Option& readings =
        *verb.add_option("--readings", options->readings, "Readings to take of what is sampled")
             ->type_name("N")
             ->capture_default_str();
    AcceptRange(readings, 1, 1000);
    verb.add_option("--scratch", options->scratch, "Where the scratch folder is made, else TMPDIR or /tmp")
        ->type_name("DIR");
    verb.add_flag("--stop-process", options->stopsProcess,
                  "Also what stops the process for a while: its stacks, its core image or Java dumps");
    verb.add_flag("--keep", options->keeps, "Keep the scratch folder");
    SetAction(verb, common, [&common, options] { return Rehearse(common, *options); });
}

} // namespace ctl
