#include "RatioTable.h"

#include <future>
#include <thread>

int main(int argc, char** argv)
{
    registerRunningBenchmarks();
    registerListBenchmarks();
    registerIngestBenchmarks();
    registerSeriesBenchmarks();
    benchmark::Initialize(&argc, argv);
    // A second, sleeping thread: with a single thread the C library leaves the atomic operations
    // out of a mutex, and a program with a single thread would not take one.
    std::promise<void> done;
    std::thread sleeper([finished = done.get_future()] { finished.wait(); });
    RatioTable table;
    benchmark::RunSpecifiedBenchmarks(&table);
    done.set_value();
    sleeper.join();
    return table.isComplete() ? 0 : 1;
}
