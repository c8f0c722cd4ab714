#include "evidence/EvidenceSource.h"

#include "StoreText.h"
#include "base/Common.h"
#include "base/ListedFailure.h"
#include "base/Progress.h"
#include "config/KeyTable.h"
#include "config/ReadingPlan.h"
#include "evidence/SetLoader.h"
#include "store/Store.h"

#include <algorithm>
#include <filesystem>
#include <memory>
#include <stdexcept>

namespace ctl
{
namespace
{
constexpr std::size_t MOST_SHOWN = 5; ///< ids in a message

/** An integer key as the daemon takes it: its default for what is missing, no number or out of range. */
int ReadNumber(const SettingReader& read, const KeyRow& key)
{
    const std::optional<std::string> text = read(key.mName);
    const std::optional<int> number = text ? ParseStoreNumber(*text) : std::nullopt;
    return number && *number >= key.mLowest && *number <= key.mHighest ? *number : GetDefaultNumber(key);
}

/** A name as it would stand in an id: without the way to the root and without a slash at the end. */
std::string MakeRelative(const EvidenceTree& tree, const std::string& name)
{
    if (name.empty()) {
        return name; // the library has no absolute path for it
    }
    std::string path = std::filesystem::path(name).lexically_normal().string();
    const std::string absolute = std::filesystem::absolute(name).lexically_normal().string();
    const std::string root = tree.root + "/";
    if (absolute.compare(0, root.size(), root) == 0) {
        path = absolute.substr(root.size());
    }
    while (!path.empty() && path.back() == '/') {
        path.pop_back();
    }
    return path;
}

bool IsBelow(const std::string& id, const std::string& name)
{
    return id.size() > name.size() && id.compare(0, name.size(), name) == 0 && id[name.size()] == '/';
}

/** True if the name is that of a file of the set. */
bool HoldsFile(SetLoader& loader, std::size_t place, const std::string& name)
{
    const EvidenceSet set = loader.Load(place);
    return std::any_of(set.files.begin(), set.files.end(), [&](const EvidenceFile& file) {
        return (std::filesystem::path(set.folder) / file.name).lexically_normal() == name;
    });
}

bool Fits(SetLoader& loader, const EvidenceTree& tree, std::size_t place, const std::string& name)
{
    const EvidenceSet set = tree.sets[place];
    const std::string id = set.GetId();
    if (id == name || IsBelow(id, name)) {
        return true;
    }
    // The file of a set lies in the folder of its process id, though it may be in another EvidenceN.
    const std::optional<EvidenceName> file = ParseEvidenceName(name.substr(name.rfind('/') + 1));
    return file && file->label == set.label && IsBelow(name, set.process + "/" + std::to_string(set.pid)) &&
           HoldsFile(loader, place, name);
}
} // namespace

CapturePlan MakeCapturePlan(const SettingReader& read)
{
    CapturePlan plan;
    plan.wantsDump = ReadNumber(read, GetKey(THHS_CAPTURE_PROCESS_DUMP)) == 1;
    plan.wantsNetwork = ReadNumber(read, GetKey(THHS_CAPTURE_NETWORK_STAT)) == 1;
    plan.wantsDisk = ReadNumber(read, GetKey(THHS_CAPTURE_DISK_IO)) == 1;
    ReadingPlan readings = {ReadNumber(read, GetKey(THHS_READING_INTERVAL)),
                            ReadNumber(read, GetKey(THHS_NUMBER_OF_READINGS))};
    const int poll = ReadNumber(read, GetKey(THHS_POLL_INTERVAL));
    const bool isForced = ReadNumber(read, GetKey(FORCE_READING_INTERVAL)) != 0;
    if (!isForced && !FitsInto(readings, poll)) {
        readings = FitTo(readings, poll);
    }
    plan.readings = readings.mCount;
    plan.interval = readings.mInterval;
    return plan;
}

StoredSettings OpenSettings(const Common& common)
{
    const std::shared_ptr<const Store> store = OpenStore(common.store);
    if (!store->GetFailure().empty()) {
        return {nullptr, store->GetName() + " can't be read: " + store->GetFailure()};
    }
    return {[store](const std::string& key) -> std::optional<std::string> {
                const Store::Text text = store->GetText(key);
                return text.result == 0 ? text.text : std::nullopt;
            },
            ""};
}

std::string DescribeUnknownSettings(const EvidenceSource& source)
{
    if (source.settingsFailure.empty()) {
        return "";
    }
    return "the settings are unknown (" + source.settingsFailure +
           "), so their defaults decide which files and samples belong to a set, and none is called complete";
}

EvidenceSource OpenEvidence(const Common& common)
{
    const StoredSettings settings = OpenSettings(common);
    EvidenceSource source;
    source.settingsFailure = settings.failure;
    if (settings.read) {
        source.plan = MakeCapturePlan(settings.read);
    }
    std::string directory = common.evidence;
    if (directory.empty()) {
        directory = settings.read ? settings.read(THHS_EVIDENCE_PATH).value_or("") : "";
    }
    if (directory.empty()) {
        const std::string name = common.store.empty() ? "the configuration store" : common.store;
        throw std::runtime_error((settings.read ? name + " names no evidence folder" : settings.failure) +
                                 "; give --evidence DIR");
    }
    Progress progress("looking for evidence:", 0);
    source.tree = FindEvidence(directory, [&progress](const std::string& folder) {
        progress.SetDetail(folder);
        progress.Advance(1);
    });
    if (!source.tree.failure.empty()) {
        throw std::runtime_error(source.tree.failure);
    }
    return source;
}

std::vector<std::size_t> SelectSets(const EvidenceTree& tree, const std::string& name)
{
    const std::string wanted = MakeRelative(tree, name);
    SetLoader loader(tree);
    std::vector<std::size_t> places;
    for (std::size_t place = 0; place < tree.sets.size(); ++place) {
        if (Fits(loader, tree, place, wanted)) {
            places.push_back(place);
        }
    }
    return places;
}

std::vector<std::size_t> SelectSets(const EvidenceTree& tree, const std::vector<std::string>& names)
{
    std::vector<bool> isSelected(tree.sets.size(), names.empty());
    for (const std::string& name : names) {
        const std::vector<std::size_t> places = SelectSets(tree, name);
        if (places.empty()) {
            throw std::runtime_error("no evidence set fits " + name + "; see thsentinelctl list");
        }
        for (const std::size_t place : places) {
            isSelected[place] = true;
        }
    }
    std::vector<std::size_t> selected;
    for (std::size_t place = 0; place < isSelected.size(); ++place) {
        if (isSelected[place]) {
            selected.push_back(place);
        }
    }
    return selected;
}

std::size_t SelectOneSet(const EvidenceTree& tree, const std::string& name)
{
    const std::vector<std::size_t> places = SelectSets(tree, std::vector<std::string>{name});
    if (places.size() > 1) {
        const std::string text =
            name + " stands for " + std::to_string(places.size()) + " sets; give one of them:";
        std::vector<std::string> lines;
        for (std::size_t index = 0; index < std::min(places.size(), MOST_SHOWN); ++index) {
            lines.push_back(tree.sets[places[index]].GetId());
        }
        if (places.size() > MOST_SHOWN) {
            lines.push_back("and " + std::to_string(places.size() - MOST_SHOWN) +
                            " more; see thsentinelctl list");
        }
        throw ListedFailure(text, std::move(lines));
    }
    return places.front();
}

} // namespace ctl
