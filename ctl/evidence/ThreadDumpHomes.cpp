#include "evidence/ThreadDumpHomes.h"

#include <algorithm>
#include <map>
#include <numeric>
#include <optional>
#include <tuple>

namespace ctl
{
namespace
{
constexpr int ANY_NUMBER = -1;

/** Sets of one process id that wait for a thread dump. They come by time, so the latest is at the end. */
class WaitingSets
{
public:
    explicit WaitingSets(const SetList& sets) : mSets(sets) {}

    void Add(std::size_t place)
    {
        const SetRecord& record = mSets.GetRecord(place);
        for (const int number : {record.number, ANY_NUMBER}) {
            mPlaces[{record.label, record.hasHeapDump, !record.hasCore, number}].push_back(place);
        }
    }

    /** The best home for a dump; nothing if there is none. */
    std::optional<std::size_t> Find(const DumpRecord& dump)
    {
        for (const bool hasHeapDump : {true, false}) {
            for (const bool hasNoCore : {true, false}) {
                for (const int number : {dump.number, ANY_NUMBER}) {
                    const auto home = FindLatest({dump.label, hasHeapDump, hasNoCore, number});
                    if (home) {
                        return home;
                    }
                }
            }
        }
        return std::nullopt;
    }

private:
    using Key = std::tuple<std::uint32_t, bool, bool, int>; ///< label, with heap dump, without core, number

    std::optional<std::size_t> FindLatest(const Key& key)
    {
        const auto found = mPlaces.find(key);
        if (found == mPlaces.end()) {
            return std::nullopt;
        }
        std::vector<std::size_t>& places = found->second;
        while (!places.empty() && mSets.GetRecord(places.back()).HasThreadDump()) {
            places.pop_back(); // it stands under two keys
        }
        return places.empty() ? std::nullopt : std::optional<std::size_t>(places.back());
    }

    const SetList& mSets;
    std::map<Key, std::vector<std::size_t>> mPlaces;
};
} // namespace

void PlaceThreadDumps(SetList& sets, std::size_t first, const std::string& process, int pid,
                      std::vector<DumpRecord> dumps)
{
    if (dumps.empty()) {
        return;
    }
    std::vector<std::size_t> places(sets.size() - first);
    std::iota(places.begin(), places.end(), first);
    std::sort(places.begin(), places.end(), [&sets](std::size_t left, std::size_t right) {
        return std::make_pair(sets.GetRecord(left).time, left) <
               std::make_pair(sets.GetRecord(right).time, right);
    });
    std::sort(dumps.begin(), dumps.end(), [](const DumpRecord& left, const DumpRecord& right) {
        return std::tie(left.time, left.number) < std::tie(right.time, right.number);
    });
    WaitingSets waiting(sets);
    auto next = places.begin();
    for (const DumpRecord& dump : dumps) {
        for (; next != places.end() && sets.GetRecord(*next).time <= dump.time; ++next) {
            waiting.Add(*next);
        }
        const std::optional<std::size_t> home = waiting.Find(dump);
        if (home) {
            sets.AddThreadDump(*home, dump);
        } else {
            sets.AddAlone(process, pid, dump);
        }
    }
}

} // namespace ctl
