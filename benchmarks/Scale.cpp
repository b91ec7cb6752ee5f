// Compares many signals that update in the background with as many bare threads that only sleep:
// start, stop, memory and processor time. The arguments are the numbers of signals, 1000 and 5000
// by default. The exit code is 1 if the signals take more than twice the processor time of the
// threads.

#include <vantrel/signal/GenericSignalImpl.h>

#include <QtCore/QElapsedTimer>
#include <QtCore/QFile>
#include <QtCore/QThreadPool>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <vector>

namespace
{

constexpr int observedMs = 10000;
constexpr int stoppedAtOnce = 256;
constexpr std::size_t stoppedOneByOne = 100; ///< the others are stopped in parallel

double processorMs()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const auto ms = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_usec) / 1e3;
    };
    return ms(usage.ru_utime) + ms(usage.ru_stime);
}

double residentKb()
{
    QFile file(QStringLiteral("/proc/self/statm"));
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    return file.readAll().split(' ').at(1).toDouble() * static_cast<double>(sysconf(_SC_PAGESIZE)) /
           1024;
}

/// A thread that wakes up as often as a worker and does nothing.
class BareThread
{
public:
    void start()
    {
        thread.reset(QThread::create([this] {
            while (running.load(std::memory_order_relaxed))
                QThread::msleep(100);
        }));
        thread->start();
    }
    void stop()
    {
        running.store(false, std::memory_order_relaxed);
        thread->wait();
    }

private:
    std::atomic<bool> running{true};
    std::unique_ptr<QThread> thread;
};

class UpdatingSignal
{
public:
    void start()
    {
        signal.setDatatype(CAN::CANopenDataType::REAL64);
        signal.setValueHandling(GenericSignal::NewValueHandlingType::Append);
        J1939Value value;
        value.rawValue = 1.5;
        signal.setNewValue(value, 1, 0);
    }
    void stop() { signal.setUpdatingEnabled(false); }

private:
    GenericSignalImpl<J1939Value> signal;
};

/// The time to stop one, in milliseconds.
template <typename Updating>
double stopOneByOne(std::vector<Updating>& all, std::size_t count)
{
    QElapsedTimer timer;
    timer.start();
    for (std::size_t i = 0; i < count; ++i)
        all[i].stop();
    return static_cast<double>(timer.nsecsElapsed()) / 1e6 / static_cast<double>(count);
}

/// The time to stop all from \a begin on, in milliseconds.
template <typename Updating>
double stopInParallel(std::vector<Updating>& all, std::size_t begin)
{
    QElapsedTimer timer;
    timer.start();
    QThreadPool pool;
    pool.setMaxThreadCount(stoppedAtOnce);
    for (std::size_t i = begin; i < all.size(); ++i)
        pool.start([&one = all[i]] { one.stop(); });
    pool.waitForDone();
    return static_cast<double>(timer.nsecsElapsed()) / 1e6;
}

/// Prints the row and returns the processor time as a share of one core.
template <typename Updating>
double measure(const char* name, std::size_t count)
{
    QElapsedTimer timer;
    const double residentBefore = residentKb();
    timer.start();
    std::vector<Updating> all(count);
    for (Updating& one : all)
        one.start();
    const double startMs = static_cast<double>(timer.nsecsElapsed()) / 1e6;
    QThread::msleep(1000); // until all have settled
    const double processorBefore = processorMs();
    timer.restart();
    QThread::msleep(observedMs);
    const double share =
        (processorMs() - processorBefore) / (static_cast<double>(timer.nsecsElapsed()) / 1e6);
    const double resident = residentKb() - residentBefore;
    const std::size_t first = std::min(stoppedOneByOne, count);
    const double stopOneMs = stopOneByOne(all, first);
    const double stopRestMs = stopInParallel(all, first);
    std::printf("| %zu %s | %.0f ms | %.0f ms | %.0f ms | %.1f KB | %.1f %% |", count, name,
                startMs, stopRestMs, stopOneMs, resident / static_cast<double>(count), share * 100);
    return share;
}

/// The same in a process of its own, which holds no stacks of earlier threads.
template <typename Updating>
double measureApart(const char* name, std::size_t count)
{
    int ends[2] = {};
    double share = 0;
    if (pipe(ends) != 0)
        return share;
    std::fflush(stdout);
    if (fork() == 0) {
        share = measure<Updating>(name, count);
        std::fflush(stdout);
        _exit(write(ends[1], &share, sizeof share) == sizeof share ? 0 : 1);
    }
    close(ends[1]);
    if (read(ends[0], &share, sizeof share) != sizeof share)
        std::printf("| %zu %s: failed", count, name);
    close(ends[0]);
    wait(nullptr);
    return share;
}

/// Whether the signals take at most twice the processor time of the threads.
bool compare(std::size_t count)
{
    const double bare = measureApart<BareThread>("bare threads", count);
    std::puts(" |");
    const double own = measureApart<UpdatingSignal>("signals", count);
    std::printf(" %.2f |\n", own / bare);
    return bare > 0 && own > 0 && own <= 2 * bare;
}

} // namespace

int main(int argc, char** argv)
{
    std::puts("| | start | stop in parallel | one by one, each | memory each | of one core "
              "| ratio |\n|---|---|---|---|---|---|---|");
    std::vector<std::size_t> counts;
    for (int i = 1; i < argc; ++i)
        counts.push_back(std::strtoul(argv[i], nullptr, 10));
    if (counts.empty())
        counts = {1000, 5000};
    bool asExpected = true;
    for (const std::size_t count : counts)
        asExpected = compare(count) && asExpected;
    return asExpected ? 0 : 1;
}
