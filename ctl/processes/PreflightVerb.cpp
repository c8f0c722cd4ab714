#include "processes/PreflightVerb.h"

#include <algorithm>
#include <iostream>
#include <memory>

#include <CLI/CLI.hpp>

#include "base/Common.h"
#include "base/Document.h"
#include "base/ExitStatus.h"
#include "base/PlainText.h"
#include "base/Plural.h"
#include "base/Progress.h"
#include "base/Terminal.h"
#include "processes/DaemonLock.h"
#include "processes/Preflight.h"
#include "store/PredictLoad.h"
#include "store/Store.h"

namespace ctl
{

namespace
{

using Result = PreflightRow::Result;

struct ResultName
{
    const char* name;
    Colour colour;
    int status;
};

ResultName GetName(Result result)
{
    switch (result) {
    case Result::Good:
        return {"good", Colour::Green, EXIT_GOOD};
    case Result::Warning:
        return {"warning", Colour::Yellow, EXIT_WARNINGS};
    case Result::Error:
        return {"error", Colour::Red, EXIT_ERRORS};
    case Result::Unknown:
        break;
    }
    return {"unknown", Colour::Yellow, EXIT_CANT_TELL};
}

PreflightRows RunChecks(const Common& common)
{
    const std::unique_ptr<Store> store = OpenStore(common.store);
    const LoadPrediction prediction = PredictLoad(*store, GetHostProbe());
    const DaemonLock lock = AskForDaemon();
    const int daemon = lock.holder.value_or(0);
    const WatchedNames names(ReadProcesses(), GetTableNames(GetListedNames(prediction.settings)), daemon);
    const LiveMatches live = FindLive(prediction.settings, names, ReadMachine());
    const PreflightHost host = GetPreflightHost();
    const std::string evidence = common.evidence.empty() ? prediction.settings.evidencePath : common.evidence;
    const bool isStoreRead =
        store->GetFailure().empty() || store->IsMissing(); // one that is missing is empty
    const PreflightBase base = {host, prediction, names, live, daemon, evidence, isStoreRead};
    PreflightRows rows;
    CheckStore(*store, prediction, rows);
    constexpr std::uint64_t STEPS = 4;
    Progress progress("checking", STEPS);
    for (const auto check : {CheckListing, CheckTools, CheckRights, CheckPlaces}) {
        check(base, rows);
        progress.Advance(1);
    }
    return rows;
}

/** The gravest result; what isn't known counts less than an error and more than a warning. */
int GetStatus(const PreflightRows& rows)
{
    bool hasUnknown = false;
    int status = EXIT_GOOD;
    for (const PreflightRow& row : rows) {
        hasUnknown = hasUnknown || row.result == Result::Unknown;
        status = row.result == Result::Unknown ? status : std::max(status, GetName(row.result).status);
    }
    return hasUnknown && status < EXIT_ERRORS ? EXIT_CANT_TELL : status;
}

void PrintJson(const PreflightRows& rows)
{
    Json document = BeginDocument("preflight");
    document["checks"] = Json::array();
    for (const PreflightRow& row : rows) {
        document["checks"].push_back({{"check", ToJson(row.check)},
                                      {"result", GetName(row.result).name},
                                      {"message", ToJson(row.message)},
                                      {"remedy", ToJson(row.remedy)}});
    }
    PrintDocument(document);
}

void PrintText(const PreflightRows& rows)
{
    constexpr std::size_t NAME_WIDTH = 8;
    for (const PreflightRow& row : rows) {
        const ResultName result = GetName(row.result);
        const std::string name = result.name;
        std::cout << Paint(name, result.colour) << std::string(NAME_WIDTH - name.size(), ' ')
                  << EscapeControls(row.check) << ": " << EscapeControls(row.message) << '\n';
        if (!row.remedy.empty()) {
            std::cout << std::string(NAME_WIDTH + 4, ' ') << EscapeControls(row.remedy) << '\n';
        }
    }
    const auto count = [&rows](Result result) {
        return static_cast<std::uint64_t>(std::count_if(
            rows.begin(), rows.end(), [result](const PreflightRow& row) { return row.result == result; }));
    };
    std::cout << '\n'
              << CountNoun(count(Result::Error), "error") << ", "
              << CountNoun(count(Result::Warning), "warning") << ", " << count(Result::Unknown)
              << " unknown\n";
}

} // namespace

void AddPreflightVerb(CLI::App& program, Common& common)
{
    CLI::App& verb = AddVerb(program, {"preflight", "Tries whether this host lets the service do its work",
                                       "sudo thsentinelctl preflight"});
    SetAction(verb, common, [&common] {
        const PreflightRows rows = RunChecks(common);
        if (common.json) {
            PrintJson(rows);
        } else {
            PrintText(rows);
        }
        return GetStatus(rows);
    });
}

} // namespace ctl
