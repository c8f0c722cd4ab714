#include "processes/Preflight.h"

#include "store/Store.h"

namespace ctl
{

void CheckStore(const Store& store, const LoadPrediction& prediction, PreflightRows& rows)
{
    using Result = PreflightRow::Result;
    if (store.IsMissing()) {
        rows.push_back({"store", Result::Error,
                        "there is no " + store.GetName() + ", and the service won't start without settings",
                        "write one; thsentinel.conf(5) has the keys"});
    } else if (!store.GetFailure().empty()) {
        rows.push_back({"store", Result::Unknown, store.GetName() + " can't be read: " + store.GetFailure(),
                        "run it as a user who may read the store"});
    } else if (prediction.result == 0) {
        rows.push_back({"store", Result::Good, "the service starts with it", ""});
    } else {
        rows.push_back(
            {"store", Result::Error, "the service won't start with it", "see thsentinelctl check"});
    }
}

} // namespace ctl
