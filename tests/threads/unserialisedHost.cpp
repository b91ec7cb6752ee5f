// Hosts that do not serialise what the headers leave to them. ThreadSanitizer has to report each:
// this shows that it sees what happens inside the library, and that the headers are right. The
// argument names the host.

#include <feed.h>

#include <vantrel/handlers/GenericValueHandler.h>

#include <QtCore/QBuffer>

#include <atomic>
#include <chrono>
#include <iostream>
#include <map>
#include <string>
#include <thread>

namespace
{

using Signal = GenericSignalImpl<J1939Value>;
using Clock = std::chrono::steady_clock;

constexpr int length = 2000;

void rescale(Signal& signal)
{
    signal.updateScaledValues(1, 0);
}

/// Under the write lock, all of it: only a reader without any lock is reported.
void storeAndClear(Signal& signal)
{
    for (int i = 0; i < 100; ++i)
        signal.setNewValue(scaledRecord<J1939Value>(1));
    signal.clearValues();
}

void scaleNewest(Signal& signal)
{
    signal.setNewValue(rawRecord<J1939Value>(1), 1, 0);
}

void setDatatype(Signal& signal)
{
    signal.setDatatype(dataType(4));
}

void switchOn(Signal& signal)
{
    signal.setUpdatingEnabled(true);
}

void copyNewest(Signal& signal)
{
    J1939Value record;
    signal.getValue(length - 1, record);
}

template <typename N>
void readSnapshot(Signal& signal)
{
    GenericValueHandler<N, J1939Value>::calcTypeBasedAverage(signal.getValues());
}

void compareSnapshot(Signal& signal)
{
    const QVector<J1939Value> snapshot = signal.getValues();
    if (snapshot.first().scaledValue != snapshot.last().scaledValue)
        std::cout << "not all of them are 1\n";
}

void writeSnapshot(Signal& signal)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    QDataStream stream(&buffer);
    stream << signal.getValues();
}

/// What two threads do over and over, with a data type, by its code, and a handling.
struct Host {
    void (*writer)(Signal&);
    void (*other)(Signal&);
    quint32 datatype = 4;
    GenericSignal::NewValueHandlingType handling = replaceNewest;
};

const std::map<std::string, Host> hosts{
    {"median", {storeAndClear, [](Signal& signal) { signal.calcMedian(); }, 4, append}},
    {"statistics", {storeAndClear, [](Signal& signal) { statisticsOf(signal); }, 4, append}},
    {"snapshot", {rescale, readSnapshot<int>}},
    {"float_snapshot", {rescale, readSnapshot<float>, 8}},
    {"comparison", {rescale, compareSnapshot}},
    {"stream", {rescale, writeSnapshot}},
    {"copy", {rescale, copyNewest}},
    {"deviators", {rescale, [](Signal& signal) { signal.getDeviators(0); }}},
    {"rating", {rescale, [](Signal& signal) { signal.getRating(1, true, 0, 100); }}},
    {"newest", {scaleNewest, copyNewest}},
    {"ingestions", {scaleNewest, scaleNewest}},
    {"rescales", {rescale, rescale}},
    {"switches", {switchOn, switchOn}},
    {"datatype", {setDatatype, [](Signal& signal) { signal.calcAverage(); }}},
    {"worker", {setDatatype, [](Signal&) { std::this_thread::yield(); }, 4, append}},
};

} // namespace

int main(int argc, char* argv[])
{
    const auto named = hosts.find(argc == 2 ? argv[1] : "");
    if (named == hosts.end())
        return std::cerr << "name one of the hosts\n", 2;
    const Host& host = named->second;

    Signal signal;
    signal.setDatatype(dataType(host.datatype));
    signal.appendValues(QVector<J1939Value>(length, rawRecord<J1939Value>(1)), 1, 0);
    signal.setValueHandling(host.handling);

    // The sanitizer ends the process at its first report.
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
    std::cout << "nothing was reported\n";
}
