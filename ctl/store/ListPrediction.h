#pragma once

#include <map>
#include <string>

namespace ctl
{

class LoadRecord;

/**
 * Predicts the parse of one monitoring list: fills `limits` as far as the daemon would, with its log lines,
 * and adds a finding for every element that stops the service or means something else than it seems to.
 */
void PredictList(LoadRecord& record, const char* key, const std::string& value,
                 std::map<std::string, int>& limits);

} // namespace ctl
