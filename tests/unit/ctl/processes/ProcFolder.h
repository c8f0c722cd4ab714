#pragma once

#include <cstdint>
#include <string>

#include "ctl/evidence/EvidenceFolder.h"

/** A folder that stands for the root of a host, with processes in its /proc. */
class ProcFolder
{
public:
    std::string GetRoot() const { return mFolder.GetRoot().string(); }
    std::string GetProc() const { return GetRoot() + "/proc"; }

    /** Writes a file below the root; the name has no slash at its begin. Returns its path. */
    std::string Write(const std::string& name, const std::string& text) const
    {
        return mFolder.Write(name, text);
    }

    /** Writes a program below the root. */
    std::string WriteProgram(const std::string& name, const std::string& script) const
    {
        const std::string path = Write(name, "#!/bin/sh\n" + script + "\n");
        EXPECT_EQ(chmod(path.c_str(), 0755), 0);
        return path;
    }

    /** Adds a process: its words with NUL bytes between, ticks used and started at, resident kilobytes. */
    void AddProcess(int pid, const std::string& command, std::uint64_t ticks = 0, std::uint64_t start = 0,
                    std::uint64_t residentKb = 1024, const std::string& status = "") const
    {
        const std::string folder = "proc/" + std::to_string(pid) + "/";
        Write(folder + "cmdline", command);
        Write(folder + "stat", std::to_string(pid) + " (a ) b) S 1 1 1 0 -1 0 0 0 0 0 " +
                                   std::to_string(ticks) + " 0 0 0 20 0 3 0 " + std::to_string(start) +
                                   " 0 0\n");
        Write(folder + "status",
              "Name:\ta ) b\nUid:\t1000\t1000\t1000\t1000\nVmSize:\t    4096 kB\nVmRSS:\t" +
                  std::to_string(residentKb) + " kB\n" + status);
    }

private:
    EvidenceFolder mFolder;
};
