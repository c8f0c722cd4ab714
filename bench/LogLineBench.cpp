#include "Figures.h"

#include "base/LogFileMtx.h"
#include "base/LogLine.h"
#include "platform/THUEnv.h"

#include <cstdio>
#include <filesystem>

/** What a line of the diagnostic log costs, beside a bare open, write and close of the same text. */

namespace
{
constexpr int ROUNDS = 21;
constexpr int LINES = 2000;
constexpr double MICROSECONDS_PER_MILLISECOND = 1000.0;

void WriteLines()
{
    for (int line = 0; line < LINES; ++line) {
        WriteLogLine(logFileMtx, "%s Service is monitoring the resources. %d\n", "Tarnhaven Health Sentinel",
                     line);
    }
}

void WriteBareLines()
{
    for (int line = 0; line < LINES; ++line) {
        FILE* const file = fopen("/tmp/bare.log", "a");
        if (file != nullptr) {
            (void)fprintf(file, "%s%s Service is monitoring the resources. %d\n",
                          "2026-11-20 09:37:25:778 - ", "Tarnhaven Health Sentinel", line);
            (void)fclose(file);
        }
    }
}
} // namespace

int main()
{
    std::filesystem::create_directories(GetTHLogPath());
    std::vector<double> lines;
    std::vector<double> bareLines;
    std::vector<double> ratios;
    for (int round = 0; round < ROUNDS; ++round) {
        lines.push_back(TimeMilliseconds(WriteLines) * MICROSECONDS_PER_MILLISECOND / LINES);
        bareLines.push_back(TimeMilliseconds(WriteBareLines) * MICROSECONDS_PER_MILLISECOND / LINES);
        ratios.push_back(lines.back() / bareLines.back());
    }
    std::printf("log line: %.2f us, bare line: %.2f us, ratio %.3f (medians of %d rounds of %d lines)\n",
                GetMedian(lines), GetMedian(bareLines), GetMedian(ratios), ROUNDS, LINES);
    return 0;
}
