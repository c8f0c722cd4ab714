#pragma once

#include "evidence/EvidenceTree.h"

#include <cstddef>
#include <map>
#include <vector>

namespace ctl
{

/** Returns the set at a place of tree.sets with its files as they are now; without files if it is gone. */
EvidenceSet LoadSet(const EvidenceTree& tree, std::size_t place);

/**
 * Finds the files of sets again, since a tree keeps their sums only. One thread.
 *
 * It reads folders, not sets: with a set it finds the next ones in the order of the tree that lie in the same
 * folder, and holds them until they are asked for.
 */
class SetLoader
{
public:
    static constexpr std::size_t WINDOW = 4000;          ///< sets among which neighbours are looked for
    static constexpr std::size_t MOST_HELD = 2 * WINDOW; ///< sets in memory

    /** `tree` outlives the loader. */
    explicit SetLoader(const EvidenceTree& tree) : mTree(tree) {}

    /** Returns what LoadSet does, as it was when its folder was read. */
    EvidenceSet Load(std::size_t place);

    /** How many sets it holds in memory. */
    std::size_t CountHeld() const { return mHeld.size(); }

    /** How many times it read a folder to find sets. */
    std::size_t CountReads() const { return mReads; }

private:
    using Places = std::vector<std::size_t>;

    Places FindNeighbours(std::size_t place) const;
    void ReadFolder(const Places& places);

    const EvidenceTree& mTree;
    std::map<std::size_t, EvidenceSet> mHeld; ///< by place
    std::size_t mReads = 0;
};

} // namespace ctl
