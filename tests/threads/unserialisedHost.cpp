// Hosts that do not serialise calls as the headers require. ThreadSanitizer must report each of
// them, which shows that it sees accesses inside the library and that the headers are right. The
// arguments select the host and its record type. With --serialised, the same calls are made under a
// mutex for a number of rounds, and nothing may be reported.

#include <feed.h>

#include <vantrel/handlers/GenericValueHandler.h>

#include <QtCore/QBuffer>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <iostream>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace
{

using Clock = std::chrono::steady_clock;

constexpr int length = 2000;
constexpr int serialisedRounds = 30;

template <typename T>
using Signal = GenericSignalImpl<T>;

template <typename T>
void rescale(Signal<T>& signal)
{
    signal.updateScaledValues(1, 0);
}

/// All of this happens under the write lock, so only a reader without any lock is reported.
template <typename T>
void storeAndClear(Signal<T>& signal)
{
    for (int i = 0; i < 100; ++i)
        signal.setNewValue(scaledRecord<T>(1));
    signal.clearValues();
}

template <typename T>
void scaleNewest(Signal<T>& signal)
{
    signal.setNewValue(rawRecord<T>(1), 1, 0);
}

/// With an empty batch, this would only be a rescale.
template <typename T>
void appendOne(Signal<T>& signal)
{
    if (signal.getValueCount() >= 2 * length)
        signal.clearValues();
    signal.appendValues(rawRecords<T>({1}), 1, 0);
}

/// Replaces the newest record by one with storage of its own.
template <typename T>
void storeUnscaled(Signal<T>& signal)
{
    signal.setNewValue(scaledRecord<T>(1));
}

template <typename T>
void setDatatype(Signal<T>& signal)
{
    signal.setDatatype(dataType(4));
}

/// The calls of a host that follows the header.
template <typename T>
void setDatatypeWithoutWorker(Signal<T>& signal)
{
    signal.setUpdatingEnabled(false);
    signal.setDatatype(dataType(4));
    signal.setUpdatingEnabled(true);
}

template <typename T>
void handle(Signal<T>& signal)
{
    signal.setValueHandling(append);
}

template <typename T>
void switchOn(Signal<T>& signal)
{
    signal.setUpdatingEnabled(true);
}

template <typename T>
void copyNewest(Signal<T>& signal)
{
    T record;
    signal.getValue(length - 1, record);
}

template <typename N, typename T>
void readSnapshot(Signal<T>& signal)
{
    GenericValueHandler<N, T>::calcTypeBasedAverage(signal.getValues());
}

template <typename T>
void compareSnapshot(Signal<T>& signal)
{
    const QVector<T> snapshot = signal.getValues();
    if (snapshot.first().scaledValue != snapshot.last().scaledValue)
        std::cout << "not all of them are 1\n";
}

template <typename T>
void writeSnapshot(Signal<T>& signal)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    QDataStream stream(&buffer);
    stream << signal.getValues();
}

/// Two functions that two threads call in a loop, the code of a data type and a value handling. The
/// serialised writer replaces the writer where a mutex is not enough.
template <typename T>
struct Host {
    void (*writer)(Signal<T>&);
    void (*other)(Signal<T>&);
    quint32 datatype = 4;
    GenericSignal::NewValueHandlingType handling = replaceNewest;
    void (*serialisedWriter)(Signal<T>&) = writer;
};

template <typename T>
const std::map<std::string, Host<T>> hosts{
    {"median", {storeAndClear, [](Signal<T>& signal) { signal.calcMedian(); }, 4, append}},
    {"statistics", {storeAndClear, [](Signal<T>& signal) { statisticsOf(signal); }, 4, append}},
    {"snapshot", {rescale, readSnapshot<int>}},
    {"float_snapshot", {rescale, readSnapshot<float>, 8}},
    {"batches", {appendOne, readSnapshot<int>}},
    {"comparison", {rescale, compareSnapshot}},
    {"stream", {rescale, writeSnapshot}},
    {"copy", {rescale, copyNewest}},
    {"deviators", {rescale, [](Signal<T>& signal) { signal.getDeviators(0); }}},
    {"rating", {rescale, [](Signal<T>& signal) { signal.getRating(1, true, 0, 100); }}},
    {"newest", {scaleNewest, copyNewest}},
    {"ingestions", {scaleNewest, scaleNewest}},
    {"replacements", {scaleNewest, storeUnscaled}},
    {"growth", {scaleNewest, appendOne}},
    {"rescales", {rescale, rescale}},
    {"handlings", {handle, handle}},
    {"switches", {switchOn, switchOn}},
    {"datatype", {setDatatype, [](Signal<T>& signal) { signal.calcAverage(); }}},
    {"worker",
     {setDatatype, [](Signal<T>&) { std::this_thread::yield(); }, 4, append,
      setDatatypeWithoutWorker}},
};

/// The sanitizer ends the process at its first report.
template <typename T>
void runUntilReported(const Host<T>& host, Signal<T>& signal)
{
    std::atomic<bool> done{false};
    std::thread other([&] {
        while (!done)
            host.other(signal);
    });
    const auto deadline = Clock::now() + std::chrono::seconds(30);
    while (Clock::now() < deadline)
        host.writer(signal);
    done = true;
    other.join();
}

/// The threads take turns: otherwise one that keeps getting the mutex would hold up the other. The
/// turn itself orders no other accesses.
template <typename T>
void runSerialised(const Host<T>& host, Signal<T>& signal)
{
    std::mutex mutex;
    std::atomic<int> turn{0};
    const auto rounds = [&](void (*call)(Signal<T>&), int first) {
        for (int round = first; round < 2 * serialisedRounds; round += 2) {
            while (turn.load(std::memory_order_relaxed) != round)
                std::this_thread::yield();
            {
                const std::lock_guard<std::mutex> lock(mutex);
                call(signal);
            }
            turn.store(round + 1, std::memory_order_relaxed);
        }
    };
    std::thread other([&] { rounds(host.other, 1); });
    rounds(host.serialisedWriter, 0);
    other.join();
}

template <typename T>
int runHost(const std::string& name, bool serialised)
{
    const auto named = hosts<T>.find(name);
    if (named == hosts<T>.end())
        return std::cerr << "unknown host: " << name << "\n", 2;
    const Host<T>& host = named->second;

    Signal<T> signal;
    signal.setDatatype(dataType(host.datatype));
    signal.appendValues(QVector<T>(length, rawRecord<T>(1)), 1, 0);
    signal.setValueHandling(host.handling);
    serialised ? runSerialised(host, signal) : runUntilReported(host, signal);
    std::cout << "nothing was reported\n";
    return 0;
}

} // namespace

int main(int argc, char* argv[])
{
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    const auto given = [&](const char* argument) {
        return std::find(arguments.begin(), arguments.end(), argument) != arguments.end();
    };
    if (arguments.empty())
        return std::cerr << "usage: unserialised_host HOST [--j1939 | --canopen] [--serialised]\n",
               2;
    const bool serialised = given("--serialised");
    return given("--canopen") ? runHost<CANopenObjectValue>(arguments.front(), serialised)
                              : runHost<J1939Value>(arguments.front(), serialised);
}
