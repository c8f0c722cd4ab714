#pragma once

#include <chrono>
#include <cstdint>
#include <ctime>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace ctl
{

/** What may be deleted, as the operator said. */
struct PruneRules
{
    std::optional<std::chrono::seconds> older; ///< sets that are older than this
    std::optional<std::size_t> keepNewest;     ///< all but so many newest sets of each process
    std::optional<std::uint64_t> maxSize;      ///< the oldest, until all take no more of the disk
    bool withLive = false;                     ///< also sets of process ids that exist now

    bool IsEmpty() const { return !older && !keepNewest && !maxSize; }
};

/** What the plan needs to know of a set. */
struct PruneSubject
{
    std::string_view process; ///< outlives the plan
    std::time_t time = 0;
    std::uint64_t diskBytes = 0;
    bool isPinned = false;
    bool isInProgress = false;
    bool isLive = false;        ///< its process id exists now
    bool isHalfDeleted = false; ///< a deletion of it was interrupted
    bool isEmpty = false;       ///< it has no file
};

/** A set by its place among the subjects, and why it goes or stays. */
struct PruneChoice
{
    std::size_t place = 0;
    std::string_view reason; ///< one of the texts of its plan
};

struct PrunePlan
{
    PrunePlan() = default;
    PrunePlan(PrunePlan&&) = default;
    PrunePlan& operator=(PrunePlan&&) = default;
    PrunePlan(const PrunePlan&) = delete;
    PrunePlan& operator=(const PrunePlan&) = delete;

    std::set<std::string> texts; ///< the reasons; there may be hundreds of thousands of choices of one reason
    std::vector<PruneChoice> candidates; ///< oldest first
    std::vector<PruneChoice> kept;       ///< what a rule would have deleted and a guard keeps
    std::uint64_t diskBytes = 0;         ///< of all sets
    std::uint64_t freedBytes = 0;        ///< of the candidates
    bool isAboveMaxSize = false;         ///< even after it more remains than maxSize
};

/**
 * Chooses the sets to delete. Never chosen are, whatever the rules say: the first and the newest set of a
 * process name, pinned sets, sets in progress, and sets of live process ids unless the rules ask for them.
 * An empty set is neither the first nor the newest, and has no place among the newest that are kept.
 * What an interrupted deletion left is chosen without a rule, with the same guards but the first.
 */
PrunePlan PlanPrune(const std::vector<PruneSubject>& subjects, const PruneRules& rules, std::time_t now);

} // namespace ctl
