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
    // A second thread, asleep: with only one, the C library lets a mutex do without its atomic
    // operations, and nobody takes one for a single thread.
    std::promise<void> done;
    std::thread sleeper([finished = done.get_future()] { finished.wait(); });
    RatioTable table;
    benchmark::RunSpecifiedBenchmarks(&table);
    done.set_value();
    sleeper.join();
    return 0;
}
