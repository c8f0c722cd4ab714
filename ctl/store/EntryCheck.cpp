#include <algorithm>
#include <cstring>
#include <map>

#include <strings.h>

#include "base/PlainText.h"
#include "store/Keys.h"
#include "store/PredictLoad.h"
#include "store/Store.h"

namespace ctl
{

namespace
{

void CheckUnknown(const StoreEntry& entry, StoreFindings& findings)
{
    const std::span<const KeyRow> keys = GetKeys();
    const auto sameLetters = std::find_if(keys.begin(), keys.end(), [&entry](const KeyRow& row) {
        return strcasecmp(row.name, entry.key.c_str()) == 0;
    });
    if (sameLetters != keys.end()) {
        findings.push_back({Severity::Warning, entry.key, entry.line,
                            "the key is in the wrong case and is not read; keys are told apart by it",
                            std::string("write ") + sameLetters->name});
        return;
    }
    const std::string nearest = FindNearestKey(entry.key);
    findings.push_back(
        {Severity::Warning, entry.key, entry.line, "no key of this name is read by thsentinel",
         nearest.empty() ? "take it out, if no other program reads it" : "did you mean " + nearest + "?"});
}

void CheckSkipped(const StoreEntry& entry, StoreFindings& findings)
{
    findings.push_back({Severity::Warning, "", entry.line,
                        std::string("the line is skipped: ") + GetSkipReason(entry.kind),
                        "write KEY = VALUE, or begin the line with # for a comment"});
}

void CheckDouble(const StoreEntry& entry, std::map<std::string, std::size_t>& seen, StoreFindings& findings)
{
    const auto [former, isFirst] = seen.emplace(entry.key, entry.line);
    if (!isFirst) {
        findings.push_back(
            {Severity::Warning, entry.key, former->second,
             "the key comes again on line " + std::to_string(entry.line) + ", and the last line counts",
             "keep one of them"});
        former->second = entry.line;
    }
}

} // namespace

void CheckEntries(const Store& store, StoreFindings& findings)
{
    const std::vector<StoreEntry>* const entries = store.GetEntries();
    if (entries == nullptr) {
        findings.push_back({Severity::Info, "", 0,
                            "the product's library can't list its keys: unknown keys were not checked", ""});
        return;
    }
    std::map<std::string, std::size_t> seen;
    for (const StoreEntry& entry : *entries) {
        if (entry.kind != StoreLineKind::Entry) {
            CheckSkipped(entry, findings);
            continue;
        }
        if (FindKey(entry.key) == nullptr) {
            CheckUnknown(entry, findings);
        }
        CheckDouble(entry, seen, findings);
    }
}

} // namespace ctl
