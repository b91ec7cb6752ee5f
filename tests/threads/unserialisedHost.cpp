// A host that does not serialise what the headers leave to it. ThreadSanitizer has to report each
// way of doing so: this shows that it sees what happens inside the library, and that the headers
// are right. The argument names the operation that runs beside a rescale.

#include <records.h>

#include <vantrel/handlers/GenericValueHandler.h>
#include <vantrel/signal/GenericSignalImpl.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <iostream>
#include <map>
#include <string>
#include <thread>

namespace
{

using Signal = GenericSignalImpl<J1939Value>;
using Clock = std::chrono::steady_clock;

constexpr int length = 2000;

const std::map<std::string, std::function<void(Signal&)>> readings{
    {"median", [](Signal& signal) { signal.calcMedian(); }},
    {"statistics",
     [](Signal& signal) {
         double number = 0;
         QVariant extreme;
         unsigned int count = 0;
         signal.getValueStatistics(number, extreme, extreme, number, number, count);
     }},
    {"snapshot",
     [](Signal& signal) {
         const QVector<J1939Value> snapshot = signal.getValues();
         GenericValueHandler<int, J1939Value>::calcTypeBasedAverage(snapshot);
     }},
    {"copy",
     [](Signal& signal) {
         J1939Value record;
         signal.getValue(length - 1, record);
     }},
    {"deviators", [](Signal& signal) { signal.getDeviators(0); }},
    {"rating", [](Signal& signal) { signal.getRating(1, true, 0, 100); }},
};

} // namespace

int main(int argc, char* argv[])
{
    const auto reading = readings.find(argc == 2 ? argv[1] : "");
    if (reading == readings.end())
        return std::cerr << "name one of the readings\n", 2;

    Signal signal;
    signal.setDatatype(CAN::CANopenDataType::INTEGER32);
    signal.setValueHandling(GenericSignal::NewValueHandlingType::Append);
    signal.appendValues(QVector<J1939Value>(length, rawRecord<J1939Value>(1)), 1, 0);

    // The sanitizer ends the process at its first report.
    std::atomic<bool> done{false};
    std::thread reader([&] {
        while (!done)
            reading->second(signal);
    });
    const auto deadline = Clock::now() + std::chrono::seconds(30);
    while (Clock::now() < deadline)
        signal.updateScaledValues(1, 0);
    done = true;
    reader.join();
    std::cout << "nothing was reported\n";
}
