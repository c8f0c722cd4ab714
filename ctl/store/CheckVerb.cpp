#include "store/CheckVerb.h"

#include <algorithm>
#include <iostream>
#include <memory>
#include <optional>

#include <CLI/CLI.hpp>

#include "config/KeyTable.h"

#include "base/Common.h"
#include "base/Document.h"
#include "base/ExitStatus.h"
#include "base/PlainText.h"
#include "base/Plural.h"
#include "base/Table.h"
#include "base/Terminal.h"
#include "processes/DaemonLock.h"
#include "processes/LiveMatches.h"
#include "store/EvidencePathCheck.h"
#include "store/PredictLoad.h"
#include "store/SettingsCheck.h"
#include "store/Store.h"
#include "store/StoreFinding.h"

namespace ctl
{

namespace
{

struct Options
{
    std::string file;
    bool noHost = false;
};

/** Everything that the verb has found out. */
struct Checked
{
    std::string name;
    LoadPrediction prediction;
    StoreFindings findings;
    std::optional<LiveMatches> live;
};

/** The probe of a load: of this host, or with a copy of the evidence folder in the place of the store's. */
FolderProbe GetProbe(const Common& common, const Options& options)
{
    if (options.noHost || !common.evidence.empty()) {
        const auto always = [](const std::string&) { return true; };
        return {always, always};
    }
    return GetHostProbe();
}

void CheckAgainstHost(const Common& common, const Store& store, Checked& checked)
{
    const Settings& settings = checked.prediction.settings;
    if (!settings.evidencePath.empty()) {
        CheckEvidenceFolder(settings.evidencePath,
                            common.evidence.empty() ? settings.evidencePath : common.evidence,
                            store.FindLine(THHS_EVIDENCE_PATH), checked.findings);
    }
    const WatchedNames names(ReadProcesses(), GetTableNames(GetListedNames(settings)),
                             AskForDaemon().holder.value_or(0));
    checked.live = FindLive(settings, names, ReadMachine());
    CheckLive(store, settings, names, *checked.live, checked.findings);
}

/** What needs no host of the same. */
void CheckTexts(const Store& store, Checked& checked)
{
    const Settings& settings = checked.prediction.settings;
    if (!settings.evidencePath.empty()) {
        CheckEvidencePathText(settings.evidencePath, store.FindLine(THHS_EVIDENCE_PATH), checked.findings);
    }
    CheckListTexts(store, settings, checked.findings);
}

void SortByLine(StoreFindings& findings)
{
    std::stable_sort(findings.begin(), findings.end(),
                     [](const StoreFinding& one, const StoreFinding& other) {
                         return one.line - 1 < other.line - 1; // what stands on no line comes last
                     });
}

Checked Check(const Common& common, const Options& options, const Store& store)
{
    Checked checked;
    checked.name = store.GetName();
    checked.prediction = PredictLoad(store, GetProbe(common, options));
    checked.findings = checked.prediction.findings;
    CheckEntries(store, checked.findings);
    CheckSettings(store, checked.prediction, checked.findings, !options.noHost);
    if (options.noHost) {
        CheckTexts(store, checked);
    } else {
        CheckAgainstHost(common, store, checked);
    }
    SortByLine(checked.findings);
    return checked;
}

Json DescribeFinding(const StoreFinding& finding)
{
    return {{"severity", GetName(finding.severity)},
            {"key", ToJson(finding.key)},
            {"line", finding.line},
            {"message", ToJson(finding.message)},
            {"remedy", ToJson(finding.remedy)}};
}

Json DescribeCounter(const LiveCounter& counter)
{
    return {{"process", ToJson(counter.process)},
            {"pid", counter.pid},
            {"resource", GetName(counter.resource)},
            {"reading", counter.reading},
            {"limit", counter.limit},
            {"unit", counter.unit}};
}

Json DescribePrediction(const LoadPrediction& prediction)
{
    Json settings = Json::object();
    for (const auto& [key, value] : prediction.settings.numbers) {
        settings[key] = value;
    }
    Json log = Json::array();
    for (const std::string& line : prediction.log) {
        log.push_back(ToJson(line));
    }
    return {{"starts", prediction.result == 0},
            {"result", prediction.result},
            {"settings", settings},
            {"log", log}};
}

/** The document with all its members, whatever could be found out. */
Json MakeDocument(const std::string& name, const StoreFindings& findings)
{
    Json document = BeginDocument("check");
    document["file"] = ToJson(name);
    document["findings"] = Json::array();
    for (const StoreFinding& finding : findings) {
        document["findings"].push_back(DescribeFinding(finding));
    }
    document["prediction"] = nullptr;
    document["matches"] = Json::array();
    document["unmatched"] = Json::array();
    return document;
}

void PrintJson(const Checked& checked)
{
    Json document = MakeDocument(checked.name, checked.findings);
    document["prediction"] = DescribePrediction(checked.prediction);
    if (checked.live) {
        for (const LiveCounter& counter : checked.live->counters) {
            document["matches"].push_back(DescribeCounter(counter));
        }
        document["unmatched"] = ToJson(GetUnmatchedNames(*checked.live));
    }
    PrintDocument(document);
}

Colour GetColour(Severity severity)
{
    return severity == Severity::Error     ? Colour::Red
           : severity == Severity::Warning ? Colour::Yellow
                                           : Colour::Faint;
}

void PrintFinding(const std::string& name, const StoreFinding& finding)
{
    std::cout << EscapeControls(name) << ':' << finding.line << ": "
              << Paint(GetName(finding.severity), GetColour(finding.severity)) << ": ";
    if (!finding.key.empty()) {
        std::cout << EscapeControls(finding.key) << ": ";
    }
    std::cout << EscapeControls(finding.message) << '\n';
    if (!finding.remedy.empty()) {
        std::cout << "    " << EscapeControls(finding.remedy) << '\n';
    }
}

std::string FormatReading(double reading)
{
    char text[32];
    (void)std::snprintf(text, sizeof text, "%.2f", reading);
    return text;
}

void PrintMatches(const LiveMatches& live)
{
    if (live.counters.empty()) {
        return;
    }
    Table table({{"PROCESS", Table::Side::Left},
                 {"PID", Table::Side::Right},
                 {"RESOURCE", Table::Side::Left},
                 {"READING", Table::Side::Right},
                 {"LIMIT", Table::Side::Right},
                 {"UNIT", Table::Side::Left}});
    for (const LiveCounter& counter : live.counters) {
        const bool isAbove = static_cast<long long>(counter.reading) > counter.limit;
        table.Add({{counter.process},
                   {std::to_string(counter.pid)},
                   {GetName(counter.resource)},
                   {FormatReading(counter.reading), isAbove ? Colour::Red : Colour::Plain},
                   {std::to_string(counter.limit)},
                   {counter.unit}});
    }
    std::cout << "\nMatches now:\n";
    table.Print(std::cout, 2);
}

void PrintText(const Checked& checked)
{
    for (const StoreFinding& finding : checked.findings) {
        PrintFinding(checked.name, finding);
    }
    if (checked.live) {
        PrintMatches(*checked.live);
    }
    const auto count = [&checked](Severity severity) {
        return static_cast<std::uint64_t>(
            std::count_if(checked.findings.begin(), checked.findings.end(),
                          [severity](const StoreFinding& finding) { return finding.severity == severity; }));
    };
    std::cout << '\n'
              << CountNoun(count(Severity::Error), "error") << ", "
              << CountNoun(count(Severity::Warning), "warning") << "; the service "
              << (checked.prediction.result == 0 ? "starts with these settings"
                                                 : "won't start with these settings")
              << '\n';
}

int ReportUnreadable(const Common& common, const Store& store)
{
    const std::string message = "can't be read: " + store.GetFailure();
    if (common.json) {
        PrintDocument(MakeDocument(
            store.GetName(),
            {StoreFinding{Severity::Error, "", 0, message, "name a store file that this user may read"}}));
    }
    std::cerr << "thsentinelctl: " << EscapeControls(store.GetName()) << ' ' << EscapeControls(message)
              << '\n';
    return EXIT_CANT_TELL;
}

/** To the service a store that isn't there is one without any key. */
void AddMissing(const Store& store, StoreFindings& findings)
{
    if (store.IsMissing()) {
        findings.insert(findings.begin(),
                        {Severity::Error, "", 0,
                         "there is no such file: every key is missing, and the service won't start; one that "
                         "runs goes on with the settings that it has read",
                         "write one; thsentinel.conf(5) has the keys"});
    }
}

int RunCheck(const Common& common, const Options& options)
{
    const std::unique_ptr<Store> store = OpenStore(options.file.empty() ? common.store : options.file);
    if (!store->GetFailure().empty() && !store->IsMissing()) {
        return ReportUnreadable(common, *store);
    }
    Checked checked = Check(common, options, *store);
    AddMissing(*store, checked.findings);
    if (common.json) {
        PrintJson(checked);
    } else {
        PrintText(checked);
    }
    return GetExitStatus(checked.findings);
}

} // namespace

void AddCheckVerb(CLI::App& program, Common& common)
{
    CLI::App& verb = AddVerb(program, {"check", "Checks a configuration store before it goes live",
                                       "thsentinelctl check\n"
                                       "thsentinelctl check new.conf"});
    const auto options = std::make_shared<Options>();
    verb.add_option("FILE", options->file, "The store file; that of this host without it")->type_name("FILE");
    verb.add_flag("--no-host", options->noHost,
                  "Look at the text alone: neither at the evidence folder nor at processes");
    SetAction(verb, common, [&common, options] { return RunCheck(common, *options); });
}

} // namespace ctl
