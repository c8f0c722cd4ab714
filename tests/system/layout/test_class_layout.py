"""The order of operations and fields in the program's classes, and what its objects and executable hold.

The orders are fixed: a new operation or field goes to the end of its class, and into the table here.
"""
import collections
import shutil
import subprocess

import pytest

from host import layout, product, texts

pytestmark = [pytest.mark.skipif(not shutil.which(tool), reason=f"needs {tool}")
              for tool in ("g++", "readelf", "nm")]

ACTIONS = ["InstallAction", "UninstallAction", "StartAction", "StopAction", "RunAction", "ListConfig",
           "PrintHelp", "PrintVersion"]
HELPER = [
    "trim", "CompareIgnoreCase", "ToLowerCase", "ExecuteCommand", "ExecuteCommandWithRc", "PreCheckForAction",
    "PostCheckForAction", "GetCPUCount", "GetTotalSizeOfMemoryInKB", "FindProcessId",
    "PopulateProcessNameAndProcessIDMap", "PopulateProcessIDAndProcessNameMap", "TakeMemorySnapshotAndDump",
    "GenerateFileName", "CreateProcessDump", "CaptureDiskPerformanceCounters", "ExecuteCustomScript",
    "CaptureProcessSpecificData", "CaptureNetworkPerformance", "ExecuteNetStat", "MemoryPerformanceCounters",
    "RemoveDir", "IncreaseLogging", "SendEmailNotification", "GetTarnhavenJavaProcesses", "isProcessAlive",
    "CreateJavaProcessDump", "GetJavaProcessOSName", "WriteLogToSystem", "CloseRunningThread", "HF_CreateDir",
    "HF_OpenFileInMode", "HF_IsFileExist", "HF_CommandToCleanFolder", "HF_DoesFolderExist"]
UNIX_HELPER = HELPER + [
    "GetCPUUsageForProcessInPercent", "GetMemoryUsageForProcessInPercent", "GetMemoryUsageForProcessInMB",
    "ExecuteMemStat", "ExecuteDiskStat", "ExecuteProcessSpecificCmd", "CollectCommandData", "SetCPUCount",
    "SetTotalSizeOfMemoryInKB", "GetToken", "GetProcNameFilterForGrep", "GetPid", "GetCompleteMatchWrap",
    "GetProcName", "GetIntValue", "GetLongValue", "GetDoubleValue", "GetProcDir", "RemoveConsecutiveSpaces",
    "RemoveEOL", "GetPidProcNamePairsOutput", "CreateThreadWithoutWait", "CreateTouchFile",
    "EchoCommandToFile", "RedirectCommand", "GetUserOfProcess", "GetTempPathBasedOnUserContext",
    "CollectCommandDataInBackground"]
MANAGER = ["AddCounterToMonitor", "AddCounterHelper", "HandleThresholdBreach", "ReadCounterIndexValue",
           "GetProcessesRegisteredMonitoring", "GetMessageStr", "CleanUpStaleCounters",
           "GetCounterValueFromOS"]


def table(owner, operations, overrides=(), override_owner=None):
    """The slots of a class: two for its destructor, then an operation each, some of them overridden."""
    last = override_owner or owner
    destructor = f"{last}::~{last}"
    return [destructor] * 2 + [f"{last if name in overrides else owner}::{name}" for name in operations]


# Class to its header and its table.
SLOTS = {
    "CUnixAction": ("cli/UnixAction.h", table("CActionInterface", ACTIONS, ACTIONS[:6], "CUnixAction")),
    "UnixHelperFunction": ("platform/UnixHelperFunction.h", table("UnixHelperFunction", UNIX_HELPER)),
    "RhelHelperFunction": ("platform/RhelHelperFunction.h",
                           table("UnixHelperFunction", UNIX_HELPER, ["GetCPUUsageForProcessInPercent"],
                                 "RhelHelperFunction")),
    "CmdPath": ("platform/CommandPath.h", table("CmdPath", ["IsFileExist"])),
    "SuseCmdPath": ("platform/SUSECommandPath.h", table("CmdPath", ["IsFileExist"], [], "SuseCmdPath")),
    "Counter": ("counters/Counter.h", table("Counter", [])),
    "CounterMgr": ("counters/CounterMgr.h", table("CounterMgr", MANAGER)),
    "CPUCounterMgr": ("counters/CPUCounterMgr.h",
                      table("CounterMgr", MANAGER, ["ReadCounterIndexValue"], "CPUCounterMgr")),
    "MemoryCounterMgr": ("counters/MemoryCounterMgr.h",
                         table("CounterMgr", MANAGER, ["ReadCounterIndexValue"], "MemoryCounterMgr")),
    "DeadLockCounterMgr": ("counters/DeadLockCounterMgr.h",
                           table("CounterMgr", MANAGER, ["AddCounterHelper", "HandleThresholdBreach"],
                                 "DeadLockCounterMgr")),
}

# Interface to a class that implements it, and what it declares; all but the last operations are pure.
INTERFACES = {
    "CActionInterface": ("cli/UnixAction.h", ACTIONS, ["PrintHelp", "PrintVersion"]),
    "HelperFunctionInterface": ("platform/UnixHelperFunction.h", HELPER, []),
}

# Class to its fields with their types, in order.
FIELDS = {
    "ConfigurationMgr": [
        "int mPollInterval", "int mCaptureNetworkStat", "int mDeadlockInterval", "int mIncreaseLogLevel",
        "int mCaptureProcessDump", "int mAlwaysDump", "string mMemoryUnit", "int mForceReadingInterval",
        "multimap<string, int> mProcessNameAndProcessIDMap", "map<int, string> mProcessIDAndProcessNameMap",
        "string mEvidencePath", "int mCPUCount", "long int mTotalMemoryInKB", "int mMaxDumpCount",
        "int mCaptureDiskIO", "int mNumberOfReadings", "int mReadingInterval",
        "set<string> mMonitoredProcessNames", "int mVerbose", "string mReservedText",
        "string mCustomScriptPath", "vector<string> mCustomScriptArguments", "int mDaemonPid",
        "string mLogFilePath", "string mBasePath", "int mCurrentEvidenceNumber",
        "map<string, LogLevel> mLogLevelMap", "int mCaptureWithoutThreshold", "string mJdkHome",
        "map<string, string> mJavaProcessMap", "map<long unsigned int, SnapshotData*> mThreadMap",
        "int mPurgeOldEvidence", "CounterMgr* mCPUCounterMgr", "CounterMgr* mMemoryCounterMgr",
        "CounterMgr* mDeadLockCounterMgr", "HelperFunctionInterface* mHelper"],
    "CounterMgr": [
        "map<string, int> mProcessesRegisteredMonitoring", "map<int, Counter*> mProcessIDAndCouterMap",
        "string mMessageStr", "bool mSpareFlag1", "bool mSpareFlag2", "bool mSpareFlag3"],
    "CPUCounterMgr": [],
    "MemoryCounterMgr": [],
    "DeadLockCounterMgr": ["bool mDeadLockFlag"],
    "Counter": [
        "string mCounterName", "string mProcessName", "int mCounterIndex", "bool mIsActive", "int mDumpCount",
        "int mReadingNumber", "long int mFirstReading", "long int mSum", "long int mRunningAverage",
        "bool mIsJavaProcess", "string mJavaProcessName"],
    "SnapshotData": [
        "string mProcessName", "int mPid", "string mCommand", "string mCounterType", "string mJdkHome",
        "string mJavaProcessName", "string mUser", "string mTempPath"],
    "CommandRunData": ["string mOutputFile", "string mCommandPath", "string mArguments", "int mFilterPid"],
    "UnixHelperFunction": ["CmdPath* mCmdPath", "int mCPUCount", "long int mTotalMemoryInKB"],
    "RhelHelperFunction": [],
    "CmdPath": [f"string m{tool}" for tool in (
        "Awk", "Cat", "Echo", "Egrep", "Free", "Gcore", "Grep", "Gstack", "Iostat", "Ls", "Mpstat", "Netstat",
        "Pmap", "Ps", "Sed", "Top", "Vmstat", "Wc", "Which")],
    "SuseCmdPath": [],
    "CUnixAction": ["HelperFunctionInterface* mHelper"],
    "ServiceThreadStatus": ["int mResult", "int mAlive"],
    "LogLevel": ["int mDebugLevel", "int mDiagnosticLevel"],
    "LogIdEntry": ["string mProcessName", "int[] mLogIds"],
}
FIELD_HEADERS = [
    "cli/THJobPerfMonSvc.h", "cli/UnixAction.h", "config/ConfigurationMgr.h", "counters/CPUCounterMgr.h",
    "counters/DeadLockCounterMgr.h", "counters/MemoryCounterMgr.h", "evidence/CommandRunData.h",
    "evidence/SnapshotData.h", "config/LogLevel.h", "logcontrol/processToLogIdMap.h",
    "platform/RhelHelperFunction.h", "platform/SUSECommandPath.h"]

LOGGING_UNITS = [
    "CPUCounterMgr", "CommandCapture", "CommandExecution", "ConfigurationLoad", "ConfigurationMgr",
    "ConfigurationValueReaders", "CounterMgr", "CounterRegistry", "CustomScript", "EvidenceFolders",
    "IncreaseLogging", "JavaProcessDump", "MemoryCounterMgr", "MonitoringList", "PerformanceCapture",
    "ProcessSnapshot", "ProcessTables", "ResetLogging", "StaleCounterCleanup", "THJobPerfMonSvc"]
RELEASE_MARK = f"\n@(#) {texts.VERSION[:-1]}\0".encode()


@pytest.mark.parametrize("name", SLOTS)
def test_the_operations_have_their_slots(name):
    header, expected = SLOTS[name]
    assert layout.slots(header)[name] == expected


@pytest.mark.parametrize("name", INTERFACES)
def test_an_interface_declares_its_operations_and_no_more(name):
    header, operations, implemented = INTERFACES[name]
    pure = len(operations) - len(implemented)
    assert layout.slots(header)[name][2:] == [None] * pure + [f"{name}::{one}" for one in implemented]


@pytest.fixture(scope="module", name="types")
def described_types(tmp_path_factory):
    return layout.compile_layout(tmp_path_factory.mktemp("layout"), FIELD_HEADERS)


@pytest.mark.parametrize("name", FIELDS)
def test_the_fields_lie_in_their_order(types, name):
    assert [f"{kind} {field}" for kind, field in types.fields(name)] == FIELDS[name]


def core_symbols(needed):
    """Object file to the kinds of a symbol that it holds."""
    library = product.build_folder() / "src/libthsentinel_core.a"
    if not library.exists():
        pytest.skip(f"needs the build in {product.build_folder()}")
    listing = subprocess.run(["nm", "-A", library], capture_output=True, text=True, check=True,
                             timeout=120).stdout
    found = collections.defaultdict(list)
    for line in listing.splitlines():
        place, *_, kind, symbol = line.split()
        if symbol == needed:
            found[place.split(":")[1].removesuffix(".cpp.o")].append(kind)
    return found


def test_twenty_units_log_and_each_has_a_lock_of_its_own():
    locks = core_symbols("_ZL10logFileMtx")
    assert sorted(locks) == LOGGING_UNITS
    assert len(LOGGING_UNITS) == 20
    assert all(len(kinds) == 1 and kinds[0].islower() for kinds in locks.values())  # the unit's alone


def test_a_unit_has_a_lock_if_it_logs_and_not_otherwise():
    writers = ("_Z12WriteLogLineR5mutexPKcz", "_Z16WriteVerboseLineR5mutexPKcz")
    callers = {unit for writer in writers for unit, kinds in core_symbols(writer).items() if "U" in kinds}
    assert sorted(callers) == LOGGING_UNITS


def test_the_release_mark_is_in_the_program_for_both_its_modules():
    program = product.build_folder() / "src/thsentinel"
    if not program.exists():
        pytest.skip(f"needs the build in {product.build_folder()}")
    assert program.read_bytes().count(RELEASE_MARK) >= 2
    marks = core_symbols("_ZL21TH_STATIC_RELEASE_STR")
    assert {unit: len(kinds) for unit, kinds in marks.items()} == {"th_static_version": 1, "thpm_version": 1}
