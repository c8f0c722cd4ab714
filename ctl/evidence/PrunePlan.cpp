#include "evidence/PrunePlan.h"

#include "base/ByteSize.h"
#include "base/TimeText.h"

#include <algorithm>
#include <map>

namespace ctl
{
namespace
{
/** Makes a plan, rule after rule. */
class Planner
{
public:
    Planner(const std::vector<PruneSubject>& subjects, const PruneRules& rules, std::time_t now)
        : mSubjects(subjects), mRules(rules), mNow(now), mReasons(subjects.size()), mGuards(subjects.size())
    {
        for (std::size_t place = 0; place < subjects.size(); ++place) {
            mByTime.push_back(place);
            mPlan.diskBytes += subjects[place].diskBytes;
        }
        std::stable_sort(mByTime.begin(), mByTime.end(), [&subjects](std::size_t left, std::size_t right) {
            return subjects[left].time < subjects[right].time;
        });
    }

    PrunePlan Run()
    {
        FindGuards();
        FinishInterrupted();
        ChooseOlder();
        ChooseAllButNewest();
        ChooseForSize();
        for (const std::size_t place : mByTime) {
            if (mReasons[place].empty()) {
                continue;
            }
            const bool isKept = !mGuards[place].empty();
            (isKept ? mPlan.kept : mPlan.candidates)
                .push_back({place, isKept ? mGuards[place] : mReasons[place]});
        }
        mPlan.isAboveMaxSize = mRules.maxSize && mPlan.diskBytes - mPlan.freedBytes > *mRules.maxSize;
        return std::move(mPlan);
    }

private:
    void FindGuards()
    {
        GuardMarkedSets();
        GuardFirstAndNewest();
        for (std::size_t place = 0; place < mSubjects.size(); ++place) {
            // Last, since an option lifts it: where another guard stands the option would do nothing.
            if (mSubjects[place].isLive && !mRules.withLive) {
                Guard(place, "its process is alive; --live lets it go");
            }
        }
    }

    void GuardMarkedSets()
    {
        for (std::size_t place = 0; place < mSubjects.size(); ++place) {
            if (mSubjects[place].isPinned) {
                Guard(place, "is pinned");
            } else if (mSubjects[place].isInProgress) {
                Guard(place, "is in progress");
            }
        }
    }

    void GuardFirstAndNewest()
    {
        std::map<std::string_view, std::size_t> first;
        std::map<std::string_view, std::size_t> newest;
        for (const std::size_t place : mByTime) {
            const PruneSubject& subject = mSubjects[place];
            if (!subject.isHalfDeleted && !subject.isEmpty) {
                first.emplace(subject.process, place);
                newest[subject.process] = place;
            }
        }
        for (const auto& [process, place] : first) {
            Guard(place, "is the first set of " + std::string(process));
        }
        for (const auto& [process, place] : newest) {
            Guard(place, "is the newest set of " + std::string(process));
        }
    }

    std::string_view Keep(const std::string& text) { return *mPlan.texts.insert(text).first; }

    void Guard(std::size_t place, const std::string& reason)
    {
        if (mGuards[place].empty()) {
            mGuards[place] = Keep(reason);
        }
    }

    /** Chooses a set unless another rule has; what a guard keeps is remembered with it. */
    void Choose(std::size_t place, const std::string& reason)
    {
        if (mReasons[place].empty()) {
            mReasons[place] = Keep(reason);
            mPlan.freedBytes += mGuards[place].empty() ? mSubjects[place].diskBytes : 0;
        }
    }

    void FinishInterrupted()
    {
        for (const std::size_t place : mByTime) {
            if (mSubjects[place].isHalfDeleted) {
                Choose(place, "a deletion of it was interrupted");
            }
        }
    }

    void ChooseOlder()
    {
        for (const std::size_t place : mByTime) {
            if (mRules.older && mNow - mSubjects[place].time > mRules.older->count()) {
                Choose(place, "is older than " + FormatDuration(*mRules.older));
            }
        }
    }

    void ChooseAllButNewest()
    {
        std::map<std::string_view, std::size_t> seen;
        for (auto place = mByTime.rbegin(); mRules.keepNewest && place != mByTime.rend(); ++place) {
            const PruneSubject& subject = mSubjects[*place];
            if (subject.isHalfDeleted) {
                continue;
            }
            std::size_t& newer = seen[subject.process]; // an empty set takes no place among them
            if (newer >= *mRules.keepNewest) {
                Choose(*place, "is not among the newest " + std::to_string(*mRules.keepNewest) + " of " +
                                   std::string(subject.process));
            }
            newer += subject.isEmpty ? 0 : 1;
        }
    }

    void ChooseForSize()
    {
        for (const std::size_t place : mByTime) {
            if (!mRules.maxSize || mPlan.diskBytes - mPlan.freedBytes <= *mRules.maxSize) {
                return;
            }
            Choose(place, "all evidence takes more than " + FormatByteSize(*mRules.maxSize));
        }
    }

    const std::vector<PruneSubject>& mSubjects;
    const PruneRules& mRules;
    const std::time_t mNow;
    std::vector<std::size_t> mByTime;
    std::vector<std::string_view> mReasons; ///< why a set would go; empty for one that no rule chose
    std::vector<std::string_view> mGuards;  ///< why it stays all the same
    PrunePlan mPlan;
};
} // namespace

PrunePlan PlanPrune(const std::vector<PruneSubject>& subjects, const PruneRules& rules, std::time_t now)
{
    return Planner(subjects, rules, now).Run();
}

} // namespace ctl
