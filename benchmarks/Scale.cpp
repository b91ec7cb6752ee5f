// Compares many signals that update in the background with as many bare threads that only sleep:
// start, stop, memory and processor time. The arguments are the numbers of signals, 1000 and 5000
// by default. With --check, the exit code is 1 if the signals take more than twice the processor
// time of the threads.

#include "measuring.h"

#include <vantrel/signal/GenericSignalImpl.h>

#include <QtCore/QElapsedTimer>
#include <QtCore/QFile>
#include <QtCore/QThreadPool>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

namespace
{

constexpr int observedMs = 10000;
constexpr double targetRatio = 2;
constexpr int stoppedAtOnce = 256;
constexpr std::size_t stoppedOneByOne = 100; ///< the others are stopped in parallel

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

struct Measured {
    double startMs;
    double stopRestMs;
    double stopOneMs;
    double kbEach;
    double share; ///< processor time as a share of one core
};

template <typename Updating>
Measured measure(std::size_t count)
{
    QElapsedTimer timer;
    const double residentBefore = residentKb();
    timer.start();
    std::vector<Updating> all(count);
    for (Updating& one : all)
        one.start();
    Measured measured{};
    measured.startMs = static_cast<double>(timer.nsecsElapsed()) / 1e6;
    QThread::msleep(1000); // until all have settled
    const double processorBefore = processorSeconds();
    timer.restart();
    QThread::msleep(observedMs);
    measured.share =
        (processorSeconds() - processorBefore) / (static_cast<double>(timer.nsecsElapsed()) / 1e9);
    measured.kbEach = (residentKb() - residentBefore) / static_cast<double>(count);
    const std::size_t first = std::min(stoppedOneByOne, count);
    measured.stopOneMs = stopOneByOne(all, first);
    measured.stopRestMs = stopInParallel(all, first);
    return measured;
}

/// Whether the signals meet the target.
bool compare(std::size_t count)
{
    const Measured bare = runApart([=] { return measure<BareThread>(count); });
    const Measured own = runApart([=] { return measure<UpdatingSignal>(count); });
    const double ratio = own.share / bare.share;
    std::vector<std::pair<QString, double>> raw;
    for (const auto& [kind, measured] : {std::pair("signals", own), std::pair("threads", bare)})
        for (const auto& [name, value] :
             {std::pair("start, ms", measured.startMs),
              std::pair("stop one by one, each, ms", measured.stopOneMs),
              std::pair("stop in parallel, ms", measured.stopRestMs),
              std::pair("memory each, KB", measured.kbEach),
              std::pair("of one core, %", measured.share * 100)})
            raw.emplace_back(QStringLiteral("%1: %2").arg(kind, name), value);
    report({"processor time of updating signals", QString::number(count), ratio,
            "x sleeping threads", targetRatio, raw});
    return ratio <= targetRatio;
}

} // namespace

int main(int argc, char** argv)
{
    std::vector<std::size_t> counts;
    bool isCheck = false;
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--check") == 0)
            isCheck = true;
        else
            counts.push_back(std::strtoul(argv[i], nullptr, 10));
    }
    if (counts.empty())
        counts = {1000, 5000};
    try {
        bool isMet = true;
        for (const std::size_t count : counts)
            isMet = compare(count) && isMet;
        return isMet || !isCheck ? 0 : 1;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
