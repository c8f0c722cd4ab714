#include "evidence/SnapshotData.h"

#include <utility>

SnapshotData::SnapshotData() : mPid(-1) {}

SnapshotData::SnapshotData(std::string processName, int pid, std::string counterLabel)
    : mProcessName(std::move(processName)), mPid(pid), mCounterType(std::move(counterLabel))
{}
