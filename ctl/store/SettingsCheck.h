#pragma once

#include "store/StoreFinding.h"

namespace ctl
{

class Store;
struct LoadPrediction;

/**
 * Adds what follows from settings that are valid: what has no effect, what is missing for another to work.
 * @param asksHost whether files of this host are looked at; without that the text alone counts
 */
void CheckSettings(const Store& store, const LoadPrediction& prediction, StoreFindings& findings,
                   bool asksHost);

} // namespace ctl
