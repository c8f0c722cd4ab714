#include "Figures.h"

#include "ctl/evidence/CoreHead.h"
#include "evidence/SetCheck.h"
#include "evidence/SetLoader.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include <fcntl.h>
#include <unistd.h>

/** How fast a set is verified, beside a bare reading of the same bytes in the same run. */

namespace
{
constexpr int ROUNDS = 11;
constexpr char ROOT[] = "/tmp/evidence-bench";
constexpr char STEM[] = "/thsentinel/tbrd/4321/Evidence1/4321_13-11_02.10.28_CPU.";
constexpr std::size_t CORE_BYTES = 256U << 20U;
constexpr std::size_t BLOCK = 256U << 10U;
constexpr int READINGS = 50;
constexpr int PROCESSES = 2000;

void Write(const std::string& suffix, const std::string& text)
{
    std::ofstream file(std::string(ROOT) + STEM + suffix, std::ios::binary);
    file.write(text.data(), static_cast<std::streamsize>(text.size()));
}

std::string MakeSection(const std::string& command, const std::string& output)
{
    const std::string rule(82, '-');
    return "\n\n" + rule + "\nCommand: " + command + "\n" + rule + "\n" + output;
}

std::string MakeMemoryPerf()
{
    std::string processes;
    for (int index = 0; index < PROCESSES; ++index) {
        processes += std::to_string(index) +
                     "  0.1  12345  234567 58641 23456 /usr/lib/product/bin/process"
                     " --with several --arguments of the usual=length PATH=/usr/bin LANG=C\n";
    }
    std::string text;
    for (int reading = 0; reading < READINGS; ++reading) {
        text += MakeSection("/usr/bin/top -b -n 1", processes);
        text += MakeSection("/usr/bin/ps faxeo pid,pmem,rss,vsz,sz,size,args --width 120", processes);
        text += MakeSection("/usr/bin/free ", "Mem: 1 2 3\n");
        text += MakeSection("/usr/bin/vmstat ", "1 0 0\n");
        text += MakeSection("/usr/bin/cat /proc/meminfo", "MemTotal: 1 kB\n");
    }
    return text;
}

void MakeSet()
{
    std::filesystem::create_directories(std::filesystem::path(std::string(ROOT) + STEM).parent_path());
    Write("MemoryPerf", MakeMemoryPerf());
    const std::string head = MakeCore(CORE_BYTES);
    Write("4321", head + std::string(CORE_BYTES, 'x'));
}

void ReadBare(const ctl::EvidenceTree& tree, const ctl::EvidenceSet& set, ctl::FileKind kind)
{
    static char buffer[BLOCK];
    const int file = open((tree.GetPath(set) + "/" + set.Find(kind)->name).c_str(), O_RDONLY | O_CLOEXEC);
    while (read(file, buffer, sizeof buffer) > 0) {
    }
    (void)close(file); // it was only read
}

/** Whether the file comes from memory, where reading is fastest, or from the disk as after a day. */
enum class Cache
{
    Warm,
    Cold
};

void Prepare(const ctl::EvidenceTree& tree, const ctl::EvidenceSet& set, Cache cache)
{
    if (cache == Cache::Cold) {
        const std::string path = tree.GetPath(set) + "/" + set.files.front().name;
        const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
        (void)fsync(file); // what isn't written yet can't be dropped
        (void)posix_fadvise(file, 0, 0, POSIX_FADV_DONTNEED);
        (void)close(file);
    }
}

void Compare(const char* what, const ctl::EvidenceTree& tree, ctl::FileKind kind, Cache cache)
{
    ctl::EvidenceSet set = ctl::LoadSet(tree, 0);
    const ctl::EvidenceFile file = *set.Find(kind);
    set.files = {file};
    ctl::CheckRules rules;
    rules.depth = ctl::Depth::Whole;
    ctl::Activity activity;
    std::vector<double> ratios;
    std::vector<double> speeds;
    for (int round = 0; round < ROUNDS; ++round) {
        Prepare(tree, set, cache);
        const double bare = TimeMilliseconds([&] { ReadBare(tree, set, kind); });
        Prepare(tree, set, cache);
        const double verified = TimeMilliseconds([&] { (void)CheckSet(tree, set, rules, activity); });
        ratios.push_back(bare / verified);
        speeds.push_back(static_cast<double>(set.files.front().bytes) / verified / 1e6);
    }
    std::printf("verify of %s, %s: %.2f GB/s, %.2f of the speed of reading (medians of %d rounds)\n", what,
                cache == Cache::Warm ? "from memory" : "from the disk", GetMedian(speeds), GetMedian(ratios),
                ROUNDS);
}
} // namespace

int main()
{
    MakeSet();
    {
        const ctl::EvidenceTree tree = ctl::FindEvidence(ROOT);
        for (const Cache cache : {Cache::Warm, Cache::Cold}) {
            Compare("a core image", tree, ctl::FileKind::Core, cache);
            Compare("memory statistics", tree, ctl::FileKind::MemoryPerf, cache);
        }
    }
    std::filesystem::remove_all(ROOT);
    return 0;
}
