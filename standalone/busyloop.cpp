// Keeps processors busy until it is ended: `busyloop [THREADS [SECONDS]]`. Each thread has a name of its own
// and the process holds a marker text, so that a core image differs from any other.
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include <pthread.h>

namespace
{

constexpr int DEFAULT_THREADS = 2;
constexpr int DEFAULT_SECONDS = 120;

// Volatile, so that the text is in the memory of the process and not only in its file.
char volatile gMarker[] = "marker of the busy process";
std::atomic<bool> gEnough{false};

void Spin(int number)
{
    const std::string name = "busy" + std::to_string(number);
    pthread_setname_np(pthread_self(), name.c_str());
    volatile unsigned long turns = 0;
    while (!gEnough.load(std::memory_order_relaxed)) {
        turns = turns + 1;
    }
}

int NumberAt(int argc, char** argv, int index, int missing)
{
    return index < argc ? std::atoi(argv[index]) : missing;
}

} // namespace

int main(int argc, char** argv)
{
    gMarker[0] = 'M';
    std::vector<std::thread> threads;
    for (int number = 1; number <= NumberAt(argc, argv, 1, DEFAULT_THREADS); ++number) {
        threads.emplace_back(Spin, number);
    }
    // Bounded, so that a forgotten one doesn't run forever.
    std::this_thread::sleep_for(std::chrono::seconds(NumberAt(argc, argv, 2, DEFAULT_SECONDS)));
    gEnough = true;
    for (std::thread& thread : threads) {
        thread.join();
    }
}
