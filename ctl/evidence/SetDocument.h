#pragma once

#include "base/Document.h"
#include "base/Terminal.h"
#include "evidence/EvidenceSource.h"
#include "evidence/SetCheck.h"

#include <iosfwd>
#include <string>
#include <vector>

namespace ctl
{

/** A set with what a check found. */
struct CheckedSet
{
    const EvidenceSet* set = nullptr;
    SetReport report;
};

/** A set as `list` and `verify` show it in JSON. `verify` adds problems and notes. */
Json SetToJson(const EvidenceTree& tree, const CheckedSet& checked, bool withProblems);

/** Adds to a document what isn't the daemon's and what can't be looked at. */
void AddRemarks(Json& document, const EvidenceTree& tree);

/** Prints the same for people, on standard error. */
void PrintRemarks(const EvidenceTree& tree);

/** The colour of a state: green for complete, red for incomplete, yellow for the others. */
Colour GetStateColour(SetState state);

} // namespace ctl
