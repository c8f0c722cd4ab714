#include "evidence/SetDocument.h"

#include "base/PlainText.h"

#include <iostream>

namespace ctl
{
namespace
{
Json TextsToJson(const std::vector<std::string>& texts)
{
    Json array = Json::array();
    for (const std::string& text : texts) {
        array.push_back(ToJson(text));
    }
    return array;
}

Json FilesToJson(const EvidenceSet& set)
{
    Json array = Json::array();
    for (const EvidenceFile& file : set.files) {
        array.push_back(ToJson(file.name));
    }
    return array;
}

void PrintTexts(const std::vector<std::string>& texts, const char* what)
{
    for (const std::string& text : texts) {
        std::cerr << "thsentinelctl: " << what << EscapeControls(text) << '\n';
    }
}
} // namespace

Json SetToJson(const EvidenceTree& tree, const CheckedSet& checked, bool withProblems)
{
    const EvidenceSet& set = checked.set;
    Json json;
    json["id"] = ToJson(set.GetId());
    json["process"] = ToJson(set.process);
    json["pid"] = set.pid;
    json["resource"] = set.resource.empty() ? Json(nullptr) : ToJson(set.resource);
    json["number"] = set.number;
    json["time"] = TimeToJson(set.time);
    json["path"] = ToJson(tree.GetPath(set));
    json["state"] = GetStateName(checked.report.state);
    json["files"] = FilesToJson(set);
    json["bytes"] = set.GetBytes();
    json["diskBytes"] = set.GetDiskBytes();
    json["pinned"] = set.isPinned;
    if (withProblems) {
        json["problems"] = TextsToJson(checked.report.problems);
        json["notes"] = TextsToJson(checked.report.notes);
    }
    return json;
}

Json SettingsFailureToJson(const EvidenceSource& source)
{
    return source.settingsFailure.empty() ? Json(nullptr) : ToJson(source.settingsFailure);
}

void AddRemarks(DocumentStream& document, const EvidenceSource& source)
{
    document.Add("settingsFailure", SettingsFailureToJson(source));
    document.Add("strangers", TextsToJson(source.tree.strangers));
    document.Add("unseen", TextsToJson(source.tree.unseen));
}

void PrintUnknownSettings(const EvidenceSource& source)
{
    const std::string text = DescribeUnknownSettings(source);
    if (!text.empty()) {
        std::cerr << "thsentinelctl: " << EscapeControls(text) << '\n';
    }
}

void PrintRemarks(const EvidenceSource& source)
{
    PrintUnknownSettings(source);
    PrintTexts(source.tree.strangers, "left alone: ");
    PrintTexts(source.tree.unseen, "could not look at ");
}

Colour GetStateColour(SetState state)
{
    switch (state) {
    case SetState::Complete:
        return Colour::Green;
    case SetState::Incomplete:
        return Colour::Red;
    default:
        return Colour::Yellow;
    }
}

} // namespace ctl
