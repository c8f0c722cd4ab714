#include "counters/Counter.h"

Counter::Counter()
    : mCounterIndex(-1), mIsActive(false), mDumpCount(0), mReadingNumber(1), mFirstReading(-1), mSum(0),
      mRunningAverage(0), mIsJavaProcess(false)
{}

Counter::~Counter() = default;
