#pragma once

#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "evidence/SetLoader.h"

/** An evidence folder of a test's own, removed with all that it holds. */
class EvidenceFolder
{
public:
    EvidenceFolder()
    {
        std::string pattern = (std::filesystem::temp_directory_path() / "evidence-XXXXXX").string();
        EXPECT_NE(mkdtemp(pattern.data()), nullptr);
        mPath = pattern;
        std::filesystem::create_directories(GetRoot());
    }
    ~EvidenceFolder()
    {
        std::error_code ignored; // a folder that is left behind spoils no test
        std::filesystem::remove_all(mPath, ignored);
    }
    EvidenceFolder(const EvidenceFolder&) = delete;
    EvidenceFolder& operator=(const EvidenceFolder&) = delete;

    std::string GetPath() const { return mPath.string(); }
    std::filesystem::path GetRoot() const { return mPath / "thsentinel"; }

    /** Writes a file below the root and its folders; returns its path. */
    std::string Write(const std::string& name, const std::string& text) const
    {
        const std::filesystem::path path = GetRoot() / name;
        std::filesystem::create_directories(path.parent_path());
        std::ofstream file(path, std::ios::binary | std::ios::trunc);
        file.write(text.data(), static_cast<std::streamsize>(text.size()));
        file.close();
        EXPECT_TRUE(file.good()) << path;
        return path.string();
    }

    /** Sets the time of a file's last change. */
    static void SetTime(const std::string& path, std::time_t time)
    {
        const timespec times[] = {{time, 0}, {time, 0}};
        EXPECT_EQ(utimensat(AT_FDCWD, path.c_str(), times, AT_SYMLINK_NOFOLLOW), 0) << path;
    }

private:
    std::filesystem::path mPath;
};

/** A local time as seconds since the epoch. */
inline std::time_t MakeTime(int year, int month, int day, int hour, int minute, int second)
{
    std::tm local = {};
    local.tm_year = year - 1900;
    local.tm_mon = month - 1;
    local.tm_mday = day;
    local.tm_hour = hour;
    local.tm_min = minute;
    local.tm_sec = second;
    local.tm_isdst = -1;
    return std::mktime(&local);
}

/** The head of a section, as the daemon writes it. */
inline std::string MakeHead(const std::string& command)
{
    const std::string rule(82, '-');
    return "\n\n" + rule + "\nCommand: " + command + "\n" + rule + "\n";
}

/** A file with a section for each command, each with one line of output. */
inline std::string MakeSections(const std::vector<std::string>& commands)
{
    std::string text;
    for (const std::string& command : commands) {
        text += MakeHead(command) + "output of " + command + "\n";
    }
    return text;
}

/** One whole reading of the memory statistics, so many times. */
inline std::string MakeMemoryPerf(int readings)
{
    std::string text;
    for (int reading = 0; reading < readings; ++reading) {
        text += MakeSections({"/usr/bin/top -b -n 1",
                              "/usr/bin/ps faxeo pid,pmem,rss,vsz,sz,size,args --width 120", "/usr/bin/free ",
                              "/usr/bin/vmstat ", "/usr/bin/cat /proc/meminfo"});
    }
    return text;
}

inline std::string MakeNetstat(int pid)
{
    const std::string filter = " | /usr/bin/grep " + std::to_string(pid);
    std::string text = MakeHead("/usr/bin/netstat -p --tcp | grep CLOSE_WAIT") +
                       MakeHead("/usr/bin/netstat -na | grep CLOSE_WAIT") +
                       MakeSections({"/usr/bin/netstat -e", "/usr/bin/netstat -s", "/usr/bin/netstat -nalp"});
    for (const char* const options : {"-op", "-nop", "-anop", "-tanoxp"}) {
        text += MakeHead(std::string("/usr/bin/netstat ") + options + filter);
    }
    return text;
}

inline std::string MakeProcessData(int pid)
{
    const std::string id = std::to_string(pid);
    return MakeSections({"/usr/bin/cat /proc/" + id + "/smaps", "/usr/bin/cat /proc/" + id + "/status",
                         "/usr/bin/gstack " + id, "/usr/bin/pmap " + id});
}

inline std::string MakeIostat(int interval, int asked, int samples)
{
    std::string text =
        MakeHead("/usr/bin/iostat -xt " + std::to_string(interval) + " " + std::to_string(asked)) +
        "Linux 6.1.0 (host) \t11/13/26 \t_x86_64_\t(2 CPU)\n\n";
    for (int sample = 0; sample < samples; ++sample) {
        text += "11/13/26 02:10:28\navg-cpu:  %user   %nice\n           1.00    0.00\n\n"
                "Device            r/s     rkB/s\nvda              1.00      2.00\n\n\n";
    }
    return text;
}

inline std::string MakeMpstat(int interval, int asked, int samples)
{
    std::string text = MakeHead("/usr/bin/mpstat " + std::to_string(interval) + " " + std::to_string(asked)) +
                       "Linux 6.1.0 (host) \t11/13/26 \t_x86_64_\t(2 CPU)\n\n"
                       "02:10:28     CPU    %usr   %nice\n";
    for (int sample = 0; sample < samples; ++sample) {
        text += "02:10:29     all    1.00    0.00\n";
    }
    return samples < asked ? text : text + "Average:     all    1.00    0.00\n";
}

/** Writes a whole set of statistics, two samples each, all with one stamp: "13-11_02.10.28". */
inline void WriteStatistics(const EvidenceFolder& folder, const std::string& process, int pid, int number,
                            const std::string& stamp, const std::string& label = "CPU")
{
    const std::string stem = process + "/" + std::to_string(pid) + "/Evidence" + std::to_string(number) +
                             "/" + std::to_string(pid) + "_" + stamp + "_" + label + ".";
    folder.Write(stem + "MemoryPerf", MakeMemoryPerf(2));
    folder.Write(stem + "Netstat", MakeNetstat(pid));
    folder.Write(stem + "DiskPerf_iostat", MakeIostat(1, 2, 2));
    folder.Write(stem + "DiskPerf_mpstat", MakeMpstat(1, 2, 2));
    folder.Write(stem + "ProcessData", MakeProcessData(pid));
}

/** An open file in a folder of its own; with a size beyond its text the rest is a hole. */
class EvidenceBytes
{
public:
    explicit EvidenceBytes(const std::string& text, std::uint64_t size = 0)
        : mSize(size == 0 ? text.size() : size)
    {
        const std::string path = mFolder.Write("file", text);
        std::filesystem::resize_file(path, mSize);
        mFile = open(path.c_str(), O_RDWR | O_CLOEXEC);
        EXPECT_GE(mFile, 0);
    }
    ~EvidenceBytes() { close(mFile); }
    EvidenceBytes(const EvidenceBytes&) = delete;
    EvidenceBytes& operator=(const EvidenceBytes&) = delete;

    int Get() const { return mFile; }
    std::uint64_t GetSize() const { return mSize; }

private:
    const EvidenceFolder mFolder;
    const std::uint64_t mSize;
    int mFile = -1;
};

/** The evidence below a folder, and its sets with their files as they were when it was looked at. */
struct FoundEvidence
{
    ctl::EvidenceTree tree;
    std::vector<ctl::EvidenceSet> sets;
};

inline FoundEvidence FindSets(const std::string& directory, std::time_t now = std::time(nullptr))
{
    FoundEvidence found = {ctl::FindEvidence(directory, nullptr, now), {}};
    ctl::SetLoader loader(found.tree);
    for (std::size_t place = 0; place < found.tree.sets.size(); ++place) {
        found.sets.push_back(loader.Load(place));
    }
    return found;
}

/** The names of the files of a set, in its order. */
inline std::vector<std::string> GetFileNames(const ctl::EvidenceSet& set)
{
    std::vector<std::string> names;
    for (const ctl::EvidenceFile& file : set.files) {
        names.push_back(file.name);
    }
    return names;
}
