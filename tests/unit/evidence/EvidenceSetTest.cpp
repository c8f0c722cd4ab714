#include "config/ConfigurationMgr.h"
#include "evidence/CaptureFixture.h"
#include "support/HostFixture.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <memory>

namespace fs = std::filesystem;

using testing::ElementsAre;

/** The whole road of one breach with real threads, on scripted tools. */
class EvidenceSet : public CaptureFixture
{
protected:
    void SetUp() override
    {
        CaptureFixture::SetUp();
        ConfigurationMgr::GetInstance()->mNumberOfReadings = 1;
        GetSeams().mSleep = [](unsigned) { return 0U; };
        GetSeams().mSystem = [](const char*) { return 0; };
        StartRealThreads();
    }

    /** Starts the captures that follow the dump. */
    static void CaptureMachine(HelperFunctionInterface& helper, const std::string& name, int pid,
                               const std::string& javaName)
    {
        helper.MemoryPerformanceCounters(name, pid, {}, "Memory", javaName);
        helper.CaptureNetworkPerformance(name, pid, {}, "Memory", javaName);
        helper.CaptureDiskPerformanceCounters(name, pid, {}, "Memory", javaName);
        helper.CaptureProcessSpecificData(name, pid, "Memory", javaName);
    }
};

TEST_F(EvidenceSet, OfAnOrdinaryProcessIsACoreFiveStatisticsAndTheMarker)
{
    const std::string gcore = MakeFolder() + "/gcore";
    WriteFile(gcore, "", 0755);
    GetHelperSeam().mMake = [&] {
        ScriptedHelper<>* const helper = MakeHelper();
        helper->mCmdPath->mGcore = gcore;
        return helper;
    };
    const std::string core = Path("exampled", 4321, 1, "Memory", "");
    mScript.mStatus = [&](const std::string& line) {
        EXPECT_EQ(line, gcore + " -o " + core + " 4321");
        WriteFile(core + ".4321", "core"); // gcore adds the process id to the name
        return 0;
    };
    const std::unique_ptr<UnixHelperFunction> helper(MakeHelper());
    EXPECT_TRUE(helper->CreateProcessDump("exampled", 4321, "Dump Event", "Memory"));
    CaptureMachine(*helper, "exampled", 4321, "");
    JoinThreads();
    EXPECT_THAT(GetEvidence(),
                ElementsAre("exampled/4321/Evidence1/4321_13-11_02.10.28_Memory.4321",
                            "exampled/4321/Evidence1/4321_13-11_02.10.28_Memory.DiskPerf_iostat",
                            "exampled/4321/Evidence1/4321_13-11_02.10.28_Memory.DiskPerf_mpstat",
                            "exampled/4321/Evidence1/4321_13-11_02.10.28_Memory.MemoryPerf",
                            "exampled/4321/Evidence1/4321_13-11_02.10.28_Memory.Netstat",
                            "exampled/4321/Evidence1/4321_13-11_02.10.28_Memory.ProcessData",
                            "exampled/4321/evidence.lock"));
}

TEST_F(EvidenceSet, OfAJavaProcessHasTwoDumpsInPlaceOfTheCore)
{
    RequireHost(); // the dumps go through the product's folder for temporary files
    if (IsSkipped()) {
        return;
    }
    GetSeams().mGetuid = [] { return uid_t{1000}; };
    mScript.mStatus = [](const std::string& line) {
        const std::size_t heap = line.find("GC.heap_dump ");
        const std::size_t threads = line.find("Thread.print > ");
        if (heap != std::string::npos) {
            WriteFile(line.substr(heap + 13), "heap");
        } else if (threads != std::string::npos) {
            WriteFile(line.substr(threads + 15), "threads");
        } else if (line.rfind("mv -f ", 0) == 0) {
            const std::size_t quote = line.find('"');
            const std::string source = line.substr(6, quote - 7);
            WriteFile(line.substr(quote + 1, line.size() - quote - 2), ReadFile(source));
            fs::remove(source);
        }
        return 0;
    };
    const std::unique_ptr<UnixHelperFunction> helper(MakeHelper());
    EXPECT_TRUE(helper->CreateJavaProcessDump("adminconsole", "/jdk", 5000, "Memory"));
    CaptureMachine(*helper, "java", 5000, "adminconsole");
    JoinThreads();
    const std::string stem = "adminconsole/5000/Evidence1/5000_13-11_02.10.28_Memory.";
    EXPECT_THAT(GetEvidence(),
                ElementsAre(stem + "DiskPerf_iostat", stem + "DiskPerf_mpstat", stem + "MemoryPerf",
                            stem + "Netstat", stem + "ProcessData", stem + "ThreadDump", stem + "hprof",
                            "adminconsole/5000/evidence.lock"));
    EXPECT_EQ(ReadFile(mRoot + "/" + stem + "hprof"), "heap");
    EXPECT_EQ(ReadFile(mRoot + "/" + stem + "ThreadDump"), "threads");
}
