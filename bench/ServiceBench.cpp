#include "Figures.h"

#include "cli/THJobPerfMonSvc.h"
#include "config/ConfigurationMgr.h"
#include "platform/THUEnv.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include <sys/wait.h>
#include <unistd.h>

/**
 * What the worker's own loop costs beside the shell lines that it runs, and what is left of it after many
 * passes.
 *
 * The loop is the program's, with its sleep replaced. In the first stretch each sleep runs the same shell
 * lines that a pass has just run, bare, so that a pass and its lines are timed in turn; the second stretch
 * makes passes alone and looks at memory, descriptors and threads. Run it on an isolated host.
 */

namespace
{
constexpr int WATCHED_PROCESSES = 3;
constexpr int TIMED_PASSES = 101;
constexpr int EARLY_PASS = 10;

int lastPass = 1000;
int passes = 0;
std::chrono::steady_clock::time_point passBegan;
std::vector<std::string> shellLines;
std::vector<double> passTimes;
std::vector<double> bareTimes;
std::vector<double> ratios;

struct Footprint
{
    long mResidentKilobytes = 0;
    long mDescriptors = 0;
    long mThreads = 0;
};
Footprint early;

long CountEntries(const char* folder)
{
    return std::distance(std::filesystem::directory_iterator(folder), std::filesystem::directory_iterator());
}

Footprint LookAtProcess()
{
    Footprint footprint;
    std::ifstream status("/proc/self/status");
    for (std::string word; status >> word;) {
        if (word == "VmRSS:") {
            status >> footprint.mResidentKilobytes;
        }
    }
    footprint.mDescriptors = CountEntries("/proc/self/fd");
    footprint.mThreads = CountEntries("/proc/self/task");
    return footprint;
}

void Print(const char* when, int pass, const Footprint& footprint)
{
    std::printf("%s pass %d: %ld KiB resident, %ld descriptors, %ld threads\n", when, pass,
                footprint.mResidentKilobytes, footprint.mDescriptors, footprint.mThreads);
}

/** The shell lines of the pass that has just ended, as the verbose log shows them. */
void CollectShellLines()
{
    std::ifstream log(GetTHPerfMonLogFilePath());
    const std::string mark = " - Cmd:";
    for (std::string line; std::getline(log, line);) {
        const std::size_t position = line.find(mark);
        if (position != std::string::npos) {
            shellLines.push_back(line.substr(position + mark.size()));
        }
    }
    std::filesystem::remove(GetTHPerfMonLogFilePath());
}

void RunBare()
{
    char buffer[65536];
    for (const std::string& line : shellLines) {
        FILE* const pipe = popen(line.c_str(), "r");
        while (pipe != nullptr && fread(buffer, 1, sizeof buffer, pipe) > 0) {
        }
        (void)pclose(pipe);
    }
}

void Finish()
{
    std::printf("a pass runs %zu shell lines for %d processes\n", shellLines.size(), WATCHED_PROCESSES);
    std::printf("pass: %.2f ms, its shell lines bare: %.2f ms, ratio %.4f (medians of %zu pairs)\n",
                GetMedian(passTimes), GetMedian(bareTimes), GetMedian(ratios), ratios.size());
    Print("after", EARLY_PASS, early);
    Print("after", passes, LookAtProcess());
    (void)StopMonitoringActivity();
}

/** Between two passes: pass 1 is traced for its shell lines, and the next ones are timed. */
void BetweenPasses(double passTime)
{
    ++passes;
    if (passes == 1) {
        CollectShellLines();
        ConfigurationMgr::GetInstance()->mVerbose = 0;
    } else if (passes <= TIMED_PASSES) {
        passTimes.push_back(passTime);
        bareTimes.push_back(TimeMilliseconds(RunBare));
        ratios.push_back(passTimes.back() / bareTimes.back());
    }
    if (passes == EARLY_PASS) {
        early = LookAtProcess();
    }
    if (passes == lastPass) {
        Finish();
    }
}

void PrepareHost()
{
    for (const std::string& folder : {GetTHTempPath(), GetTHLogPath(), std::string("/evidence")}) {
        std::filesystem::create_directories(folder);
    }
    std::ofstream store(GetTHPath() + "/master.conf");
    store
        << "THHS_MONITOR_CPU = sleep:90\nTHHS_MONITOR_MEMORY = sleep:5000\nTHHS_EVIDENCE_PATH = /evidence\n";
}

std::vector<pid_t> StartWatchedProcesses()
{
    std::vector<pid_t> watched;
    for (int process = 0; process < WATCHED_PROCESSES; ++process) {
        const pid_t child = fork();
        if (child == 0) {
            execlp("sleep", "sleep", "3600", nullptr);
            _exit(EXIT_FAILURE);
        }
        watched.push_back(child);
    }
    return watched;
}
} // namespace

extern "C" unsigned __wrap_sleep(unsigned /*seconds*/)
{
    const std::chrono::duration<double, std::milli> passTime = std::chrono::steady_clock::now() - passBegan;
    BetweenPasses(passTime.count());
    passBegan = std::chrono::steady_clock::now();
    return 0;
}

int main(int argc, char** argv)
{
    if (!std::filesystem::exists("/run/thsentinel-isolated-host")) {
        std::fprintf(stderr, "run it on an isolated host, by script/bench\n");
        return EXIT_FAILURE;
    }
    lastPass = argc > 1 ? std::max(std::atoi(argv[1]), TIMED_PASSES) : lastPass;
    PrepareHost();
    const std::vector<pid_t> watched = StartWatchedProcesses();
    ServiceThreadStatus status = {0, 1};
    if (StartMonitoringActivity() == 0) {
        std::filesystem::remove(GetTHPerfMonLogFilePath());
        ConfigurationMgr::GetInstance()->mVerbose = 1;
        (void)ServiceWorkerThread(&status);
    }
    for (const pid_t child : watched) {
        (void)kill(child, SIGKILL);
        (void)waitpid(child, nullptr, 0);
    }
    return status.mAlive == 1 ? EXIT_SUCCESS : EXIT_FAILURE;
}
