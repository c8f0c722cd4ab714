#include "platform/HelperFunctionInterface.h"

#include "platform/CommandPath.h"
#include "platform/RhelHelperFunction.h"

#include <gtest/gtest.h>

#include <cstring>
#include <type_traits>
#include <vector>

namespace
{
/** Slot of a virtual operation, which the platform's ABI keeps, times the pointer size plus 1, in its
 * pointer. */
template <typename Operation>
std::size_t GetSlot(Operation operation)
{
    std::size_t word = 0;
    static_assert(sizeof operation >= sizeof word);
    std::memcpy(&word, &operation, sizeof word);
    return (word - 1) / sizeof(void*);
}

template <typename... Operations>
std::vector<std::size_t> GetSlots(Operations... operations)
{
    return {GetSlot(operations)...};
}

std::vector<std::size_t> CountFrom(std::size_t first, std::size_t count)
{
    std::vector<std::size_t> numbers;
    for (std::size_t number = first; number < first + count; ++number) {
        numbers.push_back(number);
    }
    return numbers;
}

constexpr std::size_t DESTRUCTOR_SLOTS = 2;
constexpr std::size_t INTERFACE_OPERATIONS = 35;
} // namespace

TEST(HelperFunctionInterface, KeepsTheOrderOfItsOperations)
{
    using Interface = HelperFunctionInterface;
    const std::vector<std::size_t> slots = GetSlots(
        &Interface::trim, &Interface::CompareIgnoreCase, &Interface::ToLowerCase, &Interface::ExecuteCommand,
        &Interface::ExecuteCommandWithRc, &Interface::PreCheckForAction, &Interface::PostCheckForAction,
        &Interface::GetCPUCount, &Interface::GetTotalSizeOfMemoryInKB, &Interface::FindProcessId,
        &Interface::PopulateProcessNameAndProcessIDMap, &Interface::PopulateProcessIDAndProcessNameMap,
        &Interface::TakeMemorySnapshotAndDump, &Interface::GenerateFileName, &Interface::CreateProcessDump,
        &Interface::CaptureDiskPerformanceCounters, &Interface::ExecuteCustomScript,
        &Interface::CaptureProcessSpecificData, &Interface::CaptureNetworkPerformance,
        &Interface::ExecuteNetStat, &Interface::MemoryPerformanceCounters, &Interface::RemoveDir,
        &Interface::IncreaseLogging, &Interface::SendEmailNotification, &Interface::GetTarnhavenJavaProcesses,
        &Interface::isProcessAlive, &Interface::CreateJavaProcessDump, &Interface::GetJavaProcessOSName,
        &Interface::WriteLogToSystem, &Interface::CloseRunningThread, &Interface::HF_CreateDir,
        &Interface::HF_OpenFileInMode, &Interface::HF_IsFileExist, &Interface::HF_CommandToCleanFolder,
        &Interface::HF_DoesFolderExist);
    EXPECT_EQ(slots, CountFrom(DESTRUCTOR_SLOTS, INTERFACE_OPERATIONS));
}

TEST(HelperFunctionInterface, IsContinuedByTheOperationsOfTheUnixHelper)
{
    using Helper = UnixHelperFunction;
    const std::vector<std::size_t> slots =
        GetSlots(&Helper::GetCPUUsageForProcessInPercent, &Helper::GetMemoryUsageForProcessInPercent,
                 &Helper::GetMemoryUsageForProcessInMB, &Helper::ExecuteMemStat, &Helper::ExecuteDiskStat,
                 &Helper::ExecuteProcessSpecificCmd, &Helper::CollectCommandData, &Helper::SetCPUCount,
                 &Helper::SetTotalSizeOfMemoryInKB, &Helper::GetToken, &Helper::GetProcNameFilterForGrep,
                 &Helper::GetPid, &Helper::GetCompleteMatchWrap, &Helper::GetProcName, &Helper::GetIntValue,
                 &Helper::GetLongValue, &Helper::GetDoubleValue, &Helper::GetProcDir,
                 &Helper::RemoveConsecutiveSpaces, &Helper::RemoveEOL, &Helper::GetPidProcNamePairsOutput,
                 &Helper::CreateThreadWithoutWait, &Helper::CreateTouchFile, &Helper::EchoCommandToFile,
                 &Helper::RedirectCommand, &Helper::GetUserOfProcess, &Helper::GetTempPathBasedOnUserContext,
                 &Helper::CollectCommandDataInBackground);
    EXPECT_EQ(slots, CountFrom(DESTRUCTOR_SLOTS + INTERFACE_OPERATIONS, slots.size()));
}

TEST(HelperFunctionInterface, IsOverriddenByTheHelperOfRedHatInOneOperation)
{
    using Probe = double (RhelHelperFunction::*)(std::string, int);
    EXPECT_TRUE((std::is_same_v<decltype(&RhelHelperFunction::GetCPUUsageForProcessInPercent), Probe>));
    EXPECT_FALSE((std::is_same_v<decltype(&RhelHelperFunction::GetMemoryUsageForProcessInPercent), Probe>));
    EXPECT_FALSE((std::is_same_v<decltype(&RhelHelperFunction::GetMemoryUsageForProcessInMB), Probe>));
    EXPECT_EQ(sizeof(RhelHelperFunction), sizeof(UnixHelperFunction));
}

TEST(HelperFunctionInterface, IsAbstractAndDestroyedThroughItself)
{
    EXPECT_TRUE(std::is_abstract_v<HelperFunctionInterface>);
    EXPECT_TRUE(std::has_virtual_destructor_v<HelperFunctionInterface>);
    EXPECT_TRUE(std::has_virtual_destructor_v<CmdPath>);
    EXPECT_EQ(sizeof(HelperFunctionInterface), sizeof(void*));
}

TEST(HelperFunctionInterface, NumbersActionsAndLevels)
{
    EXPECT_EQ(HelperFunctionInterface::THPM_ACTION_INSTALL, 0);
    EXPECT_EQ(HelperFunctionInterface::THPM_ACTION_RUN, 1);
    EXPECT_EQ(HelperFunctionInterface::THPM_SYS_LOG_ERROR, 0);
    EXPECT_EQ(HelperFunctionInterface::THPM_SYS_LOG_WARNING, 1);
    EXPECT_EQ(HelperFunctionInterface::THPM_SYS_LOG_INFO, 2);
    EXPECT_EQ(HelperFunctionInterface::THPM_SYS_LOG_DEBUG, 3);
}
