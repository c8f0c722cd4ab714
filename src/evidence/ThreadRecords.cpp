#include "config/ConfigurationMgr.h"
#include "evidence/SnapshotData.h"
#include "platform/HelperFunctionInterface.h"

void ConfigurationMgr::CloseThreadHandles()
{
    const std::map<unsigned long, SnapshotData*> threads = mThreadMap;
    for (const auto& [threadId, record] : threads) {
        mHelper->CloseRunningThread(threadId);
        delete record;
    }
}
