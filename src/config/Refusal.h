#pragma once

#include "base/LogLine.h"

/** Reports why a value is refused. @return `result`, for the reader or load that ends with it */
inline int Refuse(mutex& unitMutex, MessageOrder order, int result, const std::string& message)
{
    ReportMessage(unitMutex, order, message);
    return result;
}
