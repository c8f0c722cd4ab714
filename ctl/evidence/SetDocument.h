#pragma once

#include "base/DocumentStream.h"
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
    EvidenceSet set;
    SetReport report;
};

/** A set as `list` and `verify` show it in JSON. `verify` adds problems and notes. */
Json SetToJson(const EvidenceTree& tree, const CheckedSet& checked, bool withProblems);

/** Ends a document with why the settings are unknown, what isn't the daemon's and what can't be looked at. */
void AddRemarks(DocumentStream& document, const EvidenceSource& source);

/** Prints the same for people, on standard error. */
void PrintRemarks(const EvidenceSource& source);

/** Why the settings are unknown, as a document has it: null if they are known. */
Json SettingsFailureToJson(const EvidenceSource& source);

/** Says the same for people, on standard error; nothing if they are known. */
void PrintUnknownSettings(const EvidenceSource& source);

/** The colour of a state: green for complete, red for incomplete, yellow for the others. */
Colour GetStateColour(SetState state);

} // namespace ctl
