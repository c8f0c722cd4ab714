#include "page/parse/Mappings.h"

#include <algorithm>
#include <utility>

namespace ctl
{

namespace
{
/** More than a process may have by default, so names are left out of hostile files alone. */
constexpr std::size_t MOST_NAMES = 20000;
constexpr std::size_t LONGEST_NAME = 300;
constexpr std::string_view ANONYMOUS = "[anonymous]";

struct SmapsField
{
    std::string_view mName;
    double Mapping::*mField;
};

constexpr SmapsField SMAPS_FIELDS[] = {
    {"Size:", &Mapping::mSize},
    {"Rss:", &Mapping::mResident},
    {"Pss:", &Mapping::mProportional},
    {"Private_Clean:", &Mapping::mPrivate},
    {"Private_Dirty:", &Mapping::mPrivate},
    {"Swap:", &Mapping::mSwap},
};

void AddTo(Mapping& sum, const Mapping& mapping)
{
    sum.mSize += mapping.mSize;
    sum.mResident += mapping.mResident;
    sum.mProportional += mapping.mProportional;
    sum.mPrivate += mapping.mPrivate;
    sum.mSwap += mapping.mSwap;
    ++sum.mCount;
}

bool IsHex(std::string_view text)
{
    return !text.empty() && text.find_first_not_of("0123456789abcdef") == std::string_view::npos;
}

bool IsRange(std::string_view word)
{
    const auto dash = word.find('-');
    return dash != std::string_view::npos && IsHex(word.substr(0, dash)) && IsHex(word.substr(dash + 1));
}

/** Stacks of threads and the like have a number in their name in older kernels: one group for all. */
std::string NameOf(std::string_view name)
{
    if (name.empty() || name == "[ anon ]") {
        return std::string(ANONYMOUS);
    }
    if (name.starts_with("[stack:")) {
        return "[stack of a thread]";
    }
    return name == "[ stack ]" ? "[stack]" : std::string(name.substr(0, LONGEST_NAME));
}

bool GoesFirst(const Mapping& left, const Mapping& right)
{
    return std::pair(left.mResident, left.mSize) > std::pair(right.mResident, right.mSize);
}
} // namespace

void MappingCollector::Add(Mapping mapping)
{
    AddTo(mReport.mTotal, mapping);
    const auto known = mReport.mByName.find(mapping.mName);
    if (known != mReport.mByName.end()) {
        AddTo(known->second, mapping);
    } else if (mReport.mByName.size() < MOST_NAMES) {
        Mapping& sum = mReport.mByName[mapping.mName];
        sum.mName = mapping.mName;
        AddTo(sum, mapping);
    } else {
        ++mReport.mNamesLeftOut;
    }
    KeepLargest(std::move(mapping));
}

void MappingCollector::KeepLargest(Mapping&& mapping)
{
    auto& largest = mReport.mLargest;
    if (largest.size() == MOST_LARGEST && !GoesFirst(mapping, largest.back())) {
        return;
    }
    const auto place = std::upper_bound(largest.begin(), largest.end(), mapping, GoesFirst);
    largest.insert(place, std::move(mapping));
    if (largest.size() > MOST_LARGEST) {
        largest.pop_back();
    }
}

void SmapsParser::TakeLine(std::string_view line)
{
    if (!TakeHead(line) && mHasCurrent) {
        TakeValue(line);
    }
}

/** "55ab4170b000-55ab4173a000 r--p 00000000 fe:00 123    /usr/bin/bash" */
bool SmapsParser::TakeHead(std::string_view line)
{
    const auto range = line.substr(0, line.find(' '));
    if (!IsRange(range)) {
        return false;
    }
    Finish();
    SplitFields(line.substr(0, LONGEST_NAME), mWords);
    mCurrent = Mapping();
    mCurrent.mRange = range;
    mCurrent.mAccess = mWords.size() > 1 ? mWords[1] : std::string_view();
    mCurrent.mName = NameOf(RestFromField(line, 5));
    mHasCurrent = true;
    return true;
}

void SmapsParser::TakeValue(std::string_view line)
{
    SplitFields(line, mWords);
    if (mWords.size() < 2) {
        return;
    }
    for (const SmapsField& field : SMAPS_FIELDS) {
        if (mWords[0] == field.mName) {
            mCurrent.*field.mField += ReadNumber(mWords[1]).value_or(0);
        }
    }
}

const MappingReport& SmapsParser::Finish()
{
    if (mHasCurrent) {
        mHasCurrent = false;
        mCollector.Add(std::move(mCurrent));
    }
    return mCollector.Get();
}

/** "000055ab4170b000    188K r---- bash" */
void PmapParser::TakeLine(std::string_view line)
{
    SplitFields(line, mWords);
    if (mWords.size() < 3 || !IsHex(mWords[0]) || !mWords[1].ends_with('K')) {
        return;
    }
    Mapping mapping;
    mapping.mRange = mWords[0];
    mapping.mSize = ReadKilobytes(mWords[1], 1).value_or(0);
    mapping.mAccess = mWords[2];
    mapping.mName = NameOf(RestFromField(line, 3));
    mCollector.Add(std::move(mapping));
}

const MappingReport& PmapParser::Get()
{
    mCollector.Get().mHasResident = false;
    return mCollector.Get();
}

} // namespace ctl
