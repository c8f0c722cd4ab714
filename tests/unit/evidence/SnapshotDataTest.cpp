#include "evidence/SnapshotData.h"

#include <gtest/gtest.h>

#include <cstddef>

TEST(SnapshotData, StartsEmptyWithoutAProcessId)
{
    const SnapshotData record;
    EXPECT_EQ(record.mProcessName + record.mCommand + record.mCounterType + record.mJdkHome +
                  record.mJavaProcessName + record.mUser + record.mTempPath,
              "");
    EXPECT_EQ(record.mPid, -1);
}

TEST(SnapshotData, TakesProcessIdAndLabelAndLeavesTheRestEmpty)
{
    const SnapshotData record("exampled", 4321, "CPU");
    EXPECT_EQ(record.mProcessName, "exampled");
    EXPECT_EQ(record.mPid, 4321);
    EXPECT_EQ(record.mCounterType, "CPU");
    EXPECT_EQ(record.mCommand + record.mJdkHome + record.mJavaProcessName + record.mUser + record.mTempPath,
              "");
}

TEST(SnapshotData, HasItsFieldsInTheirOrder)
{
    const std::size_t places[] = {
        offsetof(SnapshotData, mProcessName), offsetof(SnapshotData, mPid),
        offsetof(SnapshotData, mCommand),     offsetof(SnapshotData, mCounterType),
        offsetof(SnapshotData, mJdkHome),     offsetof(SnapshotData, mJavaProcessName),
        offsetof(SnapshotData, mUser),        offsetof(SnapshotData, mTempPath)};
    for (std::size_t field = 1; field < std::size(places); ++field) {
        EXPECT_LT(places[field - 1], places[field]) << field;
    }
}
