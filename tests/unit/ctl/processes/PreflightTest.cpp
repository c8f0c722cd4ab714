#include "processes/Preflight.h"

#include <algorithm>
#include <filesystem>

#include <gtest/gtest.h>

#include "platform/CommandPath.h"

#include "ctl/processes/ProcFolder.h"
#include "ctl/store/StoreDouble.h"
#include "store/PredictLoad.h"

namespace ctl
{
namespace
{

using Result = PreflightRow::Result;
using std::string_literals::operator""s;

/** The checks on a host that is a folder: a superuser, a tool for everything, no process. */
class PreflightFixture : public testing::Test
{
protected:
    PreflightFixture()
    {
        mHost.root = mFolder.GetRoot();
        mHost.isSuperuser = true;
        mHost.findOwner = [](unsigned) { return ProcessOwner{"owner", "/bin/sh"}; };
        mHost.getFreeBytes = [](const std::string&) { return std::uint64_t{1} << 40U; };
        mHost.tools = mTools;
        mHost.debugger = mFolder.WriteProgram("tools/gdb", "");
        for (const ToolPath& tool : TOOL_PATHS) {
            (*mTools).*tool.mField =
                mFolder.WriteProgram("tools/"s + tool.mName, "cat >/dev/null; echo output");
        }
        mFolder.WriteProgram("bin/sh", "");
        const StoreOfKeys store(std::map<std::string, std::string>{{"THHS_EVIDENCE_PATH", "/evidence"}});
        const auto always = [](const std::string&) { return true; };
        mPrediction = PredictLoad(store, {always, always});
    }

    using Check = void (*)(const PreflightBase&, PreflightRows&);

    /** Runs checks; the row of one, "RESULT MESSAGE", or nothing. */
    std::string Run(Check check, const std::string& name)
    {
        const WatchedNames names(ReadProcesses(mFolder.GetProc()),
                                 GetTableNames(GetListedNames(mPrediction.settings)), 0);
        const LiveMatches live =
            FindLive(mPrediction.settings, names, {4, 1 << 20, 0, 1000}, mFolder.GetProc());
        PreflightRows rows;
        check({mHost, mPrediction, names, live, mDaemon, mEvidence, mIsStoreRead}, rows);
        const auto found = std::find_if(rows.begin(), rows.end(),
                                        [&](const PreflightRow& row) { return row.check == name; });
        constexpr const char* RESULTS[] = {"good ", "warning ", "error ", "unknown "};
        return found == rows.end() ? "" : RESULTS[static_cast<int>(found->result)] + found->message;
    }

    std::string GetPath(const std::string& name) const { return mFolder.GetRoot() + "/" + name; }

    ProcFolder mFolder;
    std::shared_ptr<CmdPath> mTools = std::make_shared<CmdPath>();
    PreflightHost mHost;
    LoadPrediction mPrediction;
    int mDaemon = 0;
    std::string mEvidence = mFolder.GetRoot();
    bool mIsStoreRead = true;
};

/** A store that isn't there. */
class MissingStore : public HiddenStore
{
public:
    bool IsMissing() const override { return true; }
};

TEST_F(PreflightFixture, LooksWhetherTheServiceStartsWithTheStore)
{
    const auto look = [this](const Store& store) {
        PreflightRows rows;
        CheckStore(store, mPrediction, rows);
        return std::pair(rows.at(0).result, rows.at(0).message);
    };
    EXPECT_EQ(look(StoreOfKeys({})), std::pair(Result::Good, "the service starts with it"s));
    mPrediction.result = 1;
    EXPECT_EQ(look(StoreOfKeys({})), std::pair(Result::Error, "the service won't start with it"s));
    EXPECT_EQ(look(HiddenStore()), std::pair(Result::Unknown, "store can't be read: Permission denied"s));
    EXPECT_EQ(look(MissingStore()),
              std::pair(Result::Error, "there is no store, and the service won't start without settings"s));
}

TEST_F(PreflightFixture, SaysWhatItCannotKnowWithoutTheStore)
{
    mEvidence = "";
    EXPECT_EQ(Run(CheckPlaces, "evidence folder"),
              "error THHS_EVIDENCE_PATH is not set: the service won't start");
    mIsStoreRead = false;
    EXPECT_EQ(Run(CheckPlaces, "evidence folder"), "unknown its path isn't known without the store");
    EXPECT_EQ(Run(CheckListing, "process listing"),
              "unknown ps and egrep work; which processes they should show isn't known without the store");
}

TEST_F(PreflightFixture, LooksWhetherTheLogCanBeWritten)
{
    const std::string logs = GetPath("usr/tarnv/tarnhaven/logs");
    EXPECT_EQ(Run(CheckPlaces, "log folder"),
              "error " + logs + " isn't there: every line of the log is lost");
    std::filesystem::create_directories(logs);
    EXPECT_EQ(Run(CheckPlaces, "log folder"), "good " + logs + " can be written");
}

TEST_F(PreflightFixture, AsksForTheSuperuser)
{
    EXPECT_EQ(Run(CheckRights, "user"), "good superuser");
    mHost.isSuperuser = false;
    EXPECT_EQ(Run(CheckRights, "user"),
              "warning not the superuser: what is seen here may differ from what the service sees");
}

TEST_F(PreflightFixture, LooksWhetherTheServiceMayTrace)
{
    mDaemon = 42;
    mFolder.Write("proc/42/status", "Name:\tx\nCapEff:\t000001ffffffffff\n");
    EXPECT_EQ(Run(CheckRights, "rights of the service"), "good it may look into other processes");
    mFolder.Write("proc/42/status", "Name:\tx\nCapEff:\t0000000000000000\n");
    EXPECT_EQ(Run(CheckRights, "rights of the service"),
              "error it lacks the right to look into processes of others: no cores, no stacks of theirs");
    mFolder.Write("proc/42/status", "");
    EXPECT_EQ(Run(CheckRights, "rights of the service"), "");
}

struct FileRow
{
    const char* text; ///< nothing is written for a null
    const char* row;
};

class PtraceScope : public PreflightFixture, public testing::WithParamInterface<FileRow>
{
};

TEST_P(PtraceScope, IsClosedAtThreeAlone)
{
    if (GetParam().text != nullptr) {
        mFolder.Write("proc/sys/kernel/yama/ptrace_scope", GetParam().text);
    }
    EXPECT_EQ(Run(CheckRights, "ptrace_scope"), GetParam().row);
}

INSTANTIATE_TEST_SUITE_P(
    Values, PtraceScope,
    testing::Values(FileRow{nullptr, "good this kernel has none"},
                    FileRow{"0\n", "good 0: any process of the same user may be looked into"},
                    FileRow{"2\n", "good 2: the superuser may look into any process"},
                    FileRow{"3\n", "error 3: nobody may look into a process until the next boot"}));

TEST_F(PreflightFixture, WarnsOfSelinuxWhereItEnforces)
{
    EXPECT_EQ(Run(CheckRights, "SELinux"), "good not in use");
    mFolder.Write("sys/fs/selinux/enforce", "0");
    EXPECT_EQ(Run(CheckRights, "SELinux"), "good permissive");
    mFolder.Write("sys/fs/selinux/enforce", "1");
    EXPECT_EQ(Run(CheckRights, "SELinux"),
              "warning enforcing: a policy may keep gcore from a process or from the evidence folder");
    mFolder.Write("sys/fs/selinux/booleans/deny_ptrace", "1 1");
    EXPECT_EQ(Run(CheckRights, "SELinux"), "error enforcing, and deny_ptrace is on: no cores and no stacks");
}

TEST_F(PreflightFixture, FindsADebuggerAtWork)
{
    mFolder.AddProcess(7, "tbrd\0"s, 0, 0, 1024, "TracerPid:\t9\n");
    mPrediction.settings.cpu["tbrd"] = 1;
    EXPECT_EQ(Run(CheckRights, "tracer"),
              "warning process 7 (tbrd) is traced by process 9: gcore and gstack fail for it");
}

TEST_F(PreflightFixture, NeedsAShellOfTheOwnerOfAJavaProgram)
{
    mFolder.AddProcess(7, "/opt/java\0-Dthwmc\0"s);
    mPrediction.settings.cpu["thwmc"] = 1;
    EXPECT_EQ(Run(CheckRights, "owner of Java"),
              "good process 7 (thwmc) belongs to owner, whose shell /bin/sh runs commands");
    mFolder.WriteProgram("usr/sbin/nologin", "");
    for (const char* const shell : {"/usr/sbin/nologin", "/bin/false", "/bin/absent"}) {
        mHost.findOwner = [shell](unsigned) { return ProcessOwner{"owner", shell}; };
        EXPECT_EQ(Run(CheckRights, "owner of Java"),
                  "error process 7 (thwmc) belongs to owner, whose shell "s + shell +
                      " runs none: su fails, and no dump is taken");
    }
    mHost.findOwner = [](unsigned) { return std::nullopt; };
    EXPECT_EQ(Run(CheckRights, "owner of Java"),
              "error process 7 (thwmc) belongs to user 1000, who has no name: su fails");
}

TEST_F(PreflightFixture, NeedsTheTemporaryFolder)
{
    EXPECT_EQ(Run(CheckRights, "temporary folder"), "error /usr/tarnv/tmp isn't there");
    mFolder.Write("usr/tarnv/tmp/file", "");
    EXPECT_EQ(Run(CheckRights, "temporary folder"), "good /usr/tarnv/tmp is there");
}

TEST_F(PreflightFixture, ReckonsWithTheLargestImage)
{
    mFolder.AddProcess(7, "tbrd\0"s);
    mPrediction.settings.cpu["tbrd"] = 1;
    const std::string largest = "the largest, of process 7 (tbrd), takes about 4 MiB, ";
    const std::string still =
        " are free; the process stands still for about 1 s if the disk takes 100 MB a second";
    EXPECT_EQ(Run(CheckPlaces, "space for a core image"), "good " + largest + "1 TiB" + still);
    mHost.getFreeBytes = [](const std::string&) { return std::uint64_t{4} << 20U; };
    EXPECT_EQ(Run(CheckPlaces, "space for a core image"), "error " + largest + "4 MiB" + still);
    mHost.getFreeBytes = [](const std::string&) { return std::nullopt; };
    EXPECT_TRUE(
        Run(CheckPlaces, "space for a core image").starts_with("unknown " + largest + "free space unknown"));
}

TEST_F(PreflightFixture, TriesEachTool)
{
    EXPECT_EQ(Run(CheckTools, "tool vmstat"), "good " + GetPath("tools/vmstat"));
    std::filesystem::remove(GetPath("tools/vmstat"));
    EXPECT_EQ(Run(CheckTools, "tool vmstat"),
              "warning " + GetPath("tools/vmstat") + " isn't there or can't be run: no memory statistics");
    mFolder.WriteProgram("tools/mpstat", "cat >/dev/null; echo x; exit 3");
    EXPECT_EQ(Run(CheckTools, "tool mpstat"), "warning " + GetPath("tools/mpstat") + " ended with status 3");
    mFolder.WriteProgram("tools/ps", "exit 0");
    EXPECT_EQ(Run(CheckTools, "tool ps"),
              "error " + GetPath("tools/ps") + " ended with status 0 and printed nothing");
}

TEST_F(PreflightFixture, TriesASamplingToolWithTheLineOfTheServiceForASecond)
{
    mFolder.WriteProgram("tools/iostat", "[ \"$*\" = '-xt 1 1' ] && echo sample");
    EXPECT_EQ(Run(CheckTools, "tool iostat"), "good " + GetPath("tools/iostat"));
    mFolder.WriteProgram("tools/mpstat", "[ \"$*\" = '1 1' ] && echo sample");
    EXPECT_EQ(Run(CheckTools, "tool mpstat"), "good " + GetPath("tools/mpstat"));
}

TEST_F(PreflightFixture, TriesTheDebuggerOfTheCores)
{
    mPrediction.settings.numbers["THHS_CAPTURE_PROCESS_DUMP"] = 1;
    EXPECT_EQ(Run(CheckTools, "debugger"), "good " + mHost.debugger);
    mFolder.WriteProgram("tools/gdb", "exit 1");
    EXPECT_EQ(Run(CheckTools, "debugger"), "error gcore is there and " + mHost.debugger + " doesn't work");
    std::filesystem::remove(GetPath("tools/gcore"));
    EXPECT_EQ(Run(CheckTools, "tool gcore"),
              "error " + GetPath("tools/gcore") + " isn't there: no core images");
    mPrediction.settings.numbers["THHS_CAPTURE_PROCESS_DUMP"] = 0;
    EXPECT_TRUE(Run(CheckTools, "tool gcore").starts_with("warning "));
}

TEST_F(PreflightFixture, RunsTheListingLines)
{
    mFolder.AddProcess(7, "tbrd\0"s);
    mPrediction.settings.cpu["tbrd"] = 1;
    mFolder.WriteProgram("tools/egrep", "exec grep -E \"$1\"");
    const auto list = [this](const std::string& line) {
        mFolder.WriteProgram("tools/ps", "echo '" + line + "'");
    };
    list("    7  0.0 tbrd");
    EXPECT_EQ(Run(CheckListing, "process listing"), "good shows the one watched process");
    EXPECT_EQ(Run(CheckListing, "reading of CPU"), "good process 7 reads 0.0 % of one processor");
    mPrediction.settings.memory["tbrd"] = 1;
    mPrediction.settings.memoryUnit = "PERCENT";
    EXPECT_EQ(Run(CheckListing, "reading of Memory"), "good process 7 reads 0.0 % of the memory");
    mPrediction.settings.memoryUnit = "ABSOLUTE";
    EXPECT_EQ(Run(CheckListing, "reading of Memory"), "good process 7 reads 0.0 kB");
    list("    7  0,5 tbrd");
    EXPECT_EQ(Run(CheckListing, "reading of CPU"),
              "error the line of process 7 isn't understood, and reads as 0:     7  0,5 tbrd");
    list("    8  0.0 tbrd");
    EXPECT_EQ(Run(CheckListing, "process listing"), "error process 7 should be listed and isn't");
    EXPECT_EQ(Run(CheckListing, "reading of CPU"), "error process 7 has no line, and reads as 0");
    mFolder.WriteProgram("tools/ps", "exit 9");
    EXPECT_TRUE(Run(CheckListing, "process listing").starts_with("error "));
}

TEST_F(PreflightFixture, NamesWhatHasNoProcessBesideTheListing)
{
    mFolder.WriteProgram("tools/egrep", "exec grep -E \"$1\"");
    mFolder.WriteProgram("tools/ps", "echo '    7  0.0 tbrd'; echo '    8  0.0 tbrd'");
    mPrediction.settings.cpu["nosuch"] = 1;
    mPrediction.settings.memory["nosuch"] = 1;
    mPrediction.settings.memory["other"] = 1;
    EXPECT_EQ(Run(CheckListing, "process listing"),
              "good works; no watched process runs; without a process: nosuch, other");
    mFolder.AddProcess(7, "tbrd\0"s);
    mFolder.AddProcess(8, "tbrd\0"s);
    mPrediction.settings.cpu["tbrd"] = 1;
    EXPECT_EQ(Run(CheckListing, "process listing"),
              "good shows each of the 2 watched processes; without a process: nosuch, other");
}

} // namespace
} // namespace ctl
