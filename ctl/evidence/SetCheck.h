#pragma once

#include "evidence/Activity.h"
#include "evidence/CapturePlan.h"
#include "evidence/EvidenceTree.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace ctl
{

enum class SetState
{
    Complete,
    Incomplete,
    InProgress,
    Unknown
};

/** "complete", "incomplete", "in-progress", "unknown". */
const char* GetStateName(SetState state);

/** How much of the files is read. */
enum class Depth
{
    Ends,  ///< heads, ends, and short texts: a few blocks of each file
    Texts, ///< every byte of the texts, heads and ends of core images and heap dumps
    Whole  ///< every byte
};

/** What a check of a set found. */
struct SetReport
{
    SetState state = SetState::Complete;
    std::vector<std::string> problems; ///< "FILE: what is missing, short or damaged"
    std::vector<std::string> notes;    ///< what doesn't make the set incomplete
    bool isUnderWay = false;           ///< a capture may still mend one of the problems
    bool hasWarning = false;           ///< a problem that leaves the set complete
    bool isReadInPart = false;         ///< a long text was read at its ends only
};

/** Is told of bytes that were read, so that progress can be shown. */
using ProgressTaker = std::function<void(std::uint64_t bytes)>;

/** Everything that a check of a set goes by. */
struct CheckRules
{
    CapturePlan plan;
    Depth depth = Depth::Ends;
    ProgressTaker progress; ///< may be empty
};

/** Checks a set: the files that belong to it, and each file by its kind. Changes nothing. */
SetReport CheckSet(const EvidenceTree& tree, const EvidenceSet& set, const CheckRules& rules,
                   Activity& activity);

} // namespace ctl
