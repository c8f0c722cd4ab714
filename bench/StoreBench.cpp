#include "Figures.h"

#include "ConfigurationStore.h"
#include "StoreFile.h"

#include <cstdio>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>

/**
 * What a load of the largest store, 16 MiB, costs beside a bare reading of the same file. A load reads twice,
 * with 30 ms between the readings, during which it uses no processor.
 */

namespace
{
constexpr int ROUNDS = 5;
constexpr const char* PATH = "/tmp/store_bench.conf";

struct StoreShape
{
    const char* name;
    std::function<std::string(int number)> makeLine;
};

const StoreShape SHAPES[] = {
    {"keys with long values",
     [](int n) { return "KEY_" + std::to_string(n) + " = " + std::string(200, 'v') + "\n"; }},
    {"keys as they are usual", [](int n) { return "THHS_KEY_" + std::to_string(n) + " = 600\n"; }},
    {"keys as short as can be", [](int n) { return std::to_string(n) + "=\n"; }},
    {"one key again and again", [](int) { return std::string("A=1\n"); }},
    {"lines without an equals sign", [](int) { return std::string("x\n"); }},
    {"empty lines", [](int) { return std::string("\n"); }},
};

/** Writes the file: as many lines as fit. Gives their number. */
int WriteStore(const StoreShape& shape)
{
    std::string text;
    int number = 0;
    for (std::string line = shape.makeLine(0); text.size() + line.size() <= STORE_FILE_LIMIT;) {
        text += line;
        line = shape.makeLine(++number);
    }
    std::ofstream(PATH, std::ios::binary) << text;
    return number;
}

void Load()
{
    ConfigurationStore store(PATH, [](const char*) {});
    (void)store.ReadAgain();
}

void ReadBare()
{
    std::string text(STORE_FILE_LIMIT, '\0');
    std::ifstream(PATH, std::ios::binary).read(text.data(), static_cast<std::streamsize>(text.size()));
}

struct Cost
{
    double wall;
    double processor;
};

/** The middle of some runs, in milliseconds. The processor time is that of this process alone. */
Cost Measure(void (*work)())
{
    std::vector<double> wall;
    std::vector<double> processor;
    for (int round = 0; round < ROUNDS; ++round) {
        const std::clock_t begin = std::clock();
        wall.push_back(TimeMilliseconds(work));
        processor.push_back(1000.0 * static_cast<double>(std::clock() - begin) / CLOCKS_PER_SEC);
    }
    return {GetMedian(wall), GetMedian(processor)};
}
} // namespace

int main()
{
    for (const StoreShape& shape : SHAPES) {
        const int lines = WriteStore(shape);
        const Cost load = Measure(Load);
        const Cost bare = Measure(ReadBare);
        (void)std::printf(
            "%-30s %9d lines: load %7.1f ms (processor %6.1f ms), bare reading %5.1f ms (%4.1f ms)\n",
            shape.name, lines, load.wall, load.processor, bare.wall, bare.processor);
    }
    std::filesystem::remove(PATH);
    return 0;
}
