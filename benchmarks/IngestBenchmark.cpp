#include "RatioTable.h"
#include "floors.h"

#include <vantrel/signal/GenericSignalImpl.h>

#include <memory>
#include <string>

namespace
{

constexpr auto replaceNewest = GenericSignal::NewValueHandlingType::ReplaceNewest;
constexpr auto append = GenericSignal::NewValueHandlingType::Append;

enum class Worker { On, Off };

template <typename T>
std::unique_ptr<GenericSignalImpl<T>> makeSignal(CAN::CANopenDataType datatype,
                                                 GenericSignal::NewValueHandlingType handling,
                                                 Worker worker = Worker::Off)
{
    auto signal = std::make_unique<GenericSignalImpl<T>>();
    signal->setDatatype(datatype);
    signal->setValueHandling(handling);
    signal->setUpdatingEnabled(worker == Worker::On);
    return signal;
}

template <typename T>
T rawRecord(const QVariant& raw)
{
    T record;
    record.rawValue = raw;
    return record;
}

/// The same for both contenders, so that both series grow equally often.
constexpr int valueCount = 1 << 19;

/// Single values, including the growth of the series.
template <typename N, typename T>
void registerOneValue(const std::string& row, CAN::CANopenDataType datatype,
                      GenericSignal::NewValueHandlingType handling, Worker worker = Worker::Off)
{
    benchmark::RegisterBenchmark((row + "/own").c_str(), [=](benchmark::State& state) {
        const auto signal = makeSignal<T>(datatype, handling, worker);
        const auto record = rawRecord<T>(QVariant(N(100)));
        for (auto _ : state)
            signal->setNewValue(record, 1, 0);
    })->Iterations(valueCount);
    benchmark::RegisterBenchmark((row + "/floor").c_str(), [=](benchmark::State& state) {
        FloorSignal<N, T> signal(handling == replaceNewest);
        const auto record = rawRecord<T>(QVariant(N(100)));
        for (auto _ : state)
            signal.add(record, 1, 0);
    })->Iterations(valueCount);
}

template <typename T>
void registerTypes(const std::string& recordName)
{
    using Type = CAN::CANopenDataType;
    for (const auto handling : {append, replaceNewest}) {
        const std::string start = (handling == append ? "append one " : "replace by one ");
        const std::string end = ", " + recordName;
        registerOneValue<int, T>(start + "INTEGER32" + end, Type::INTEGER32, handling);
        registerOneValue<unsigned char, T>(start + "UNSIGNED8" + end, Type::UNSIGNED8, handling);
        registerOneValue<unsigned short, T>(start + "UNSIGNED16" + end, Type::UNSIGNED16, handling);
        registerOneValue<float, T>(start + "REAL32" + end, Type::REAL32, handling);
        registerOneValue<double, T>(start + "REAL64" + end, Type::REAL64, handling);
        registerOneValue<unsigned long long, T>(start + "UNSIGNED64" + end, Type::UNSIGNED64,
                                                handling);
        registerOneValue<int, T>(start + "VISIBLE_STRING" + end, Type::VISIBLE_STRING, handling);
    }
    registerOneValue<int, T>("append one INTEGER32, worker on, " + recordName, Type::INTEGER32,
                             append, Worker::On);
}

/// Fills an empty signal with \a count records; the time is that of one value.
void registerFill(int count)
{
    const std::string row = "fill with " + std::to_string(count) + " values";
    benchmark::RegisterBenchmark((row + "/own").c_str(), [=](benchmark::State& state) {
        const auto record = rawRecord<J1939Value>(100);
        const auto signal = makeSignal<J1939Value>(CAN::CANopenDataType::INTEGER32, append);
        while (state.KeepRunningBatch(count)) {
            for (int i = 0; i < count; ++i)
                signal->setNewValue(record, 1, 0);
            signal->clearValues();
        }
    });
    benchmark::RegisterBenchmark((row + "/floor").c_str(), [=](benchmark::State& state) {
        const auto record = rawRecord<J1939Value>(100);
        while (state.KeepRunningBatch(count)) {
            FloorSignal<int, J1939Value> signal(false);
            for (int i = 0; i < count; ++i)
                signal.add(record, 1, 0);
        }
    });
}

/// Appends a batch to an empty signal, and rescales it in place; the time is that of one record.
void registerBatch(int count)
{
    const QVector<J1939Value> batch(count, rawRecord<J1939Value>(100));
    const std::string size = std::to_string(count) + " records";
    benchmark::RegisterBenchmark(
        ("append batch of " + size + "/own").c_str(), [=](benchmark::State& state) {
            const auto signal =
                makeSignal<J1939Value>(CAN::CANopenDataType::INTEGER32, replaceNewest);
            while (state.KeepRunningBatch(count)) {
                signal->appendValues(batch, 2, 1);
                signal->clearValues();
            }
        });
    benchmark::RegisterBenchmark(("append batch of " + size + "/floor").c_str(),
                                 [=](benchmark::State& state) {
                                     while (state.KeepRunningBatch(count)) {
                                         QVector<J1939Value> records = batch;
                                         for (J1939Value& record : records)
                                             scaleByHand<int>(record, 2, 1);
                                         benchmark::DoNotOptimize(records.data());
                                     }
                                 });
    benchmark::RegisterBenchmark(
        ("rescale " + size + "/own").c_str(), [=](benchmark::State& state) {
            const auto signal =
                makeSignal<J1939Value>(CAN::CANopenDataType::INTEGER32, replaceNewest);
            signal->appendValues(batch, 1, 0);
            while (state.KeepRunningBatch(count))
                signal->updateScaledValues(2, 1);
        });
    benchmark::RegisterBenchmark(("rescale " + size + "/floor").c_str(),
                                 [=](benchmark::State& state) {
                                     QVector<J1939Value> records = batch;
                                     for (J1939Value& record : records)
                                         scaleByHand<int>(record, 1, 0);
                                     while (state.KeepRunningBatch(count)) {
                                         for (J1939Value& record : records)
                                             scaleByHand<int>(record, 2, 1);
                                     }
                                 });
}

/// The cost of a value after a snapshot of a long series, compared with one that is polled by
/// getValue().
void registerSnapshot(int count)
{
    const QVector<J1939Value> batch(count, rawRecord<J1939Value>(100));
    const std::string row = "value after a snapshot of " + std::to_string(count) + " records";
    const auto measure = [batch](benchmark::State& state, bool snapshots) {
        const auto signal = makeSignal<J1939Value>(CAN::CANopenDataType::INTEGER32, replaceNewest);
        signal->appendValues(batch, 1, 0);
        QVector<J1939Value> held;
        J1939Value newest;
        for (auto _ : state) {
            if (snapshots)
                held = signal->getValues();
            else
                benchmark::DoNotOptimize(
                    signal->getValue(static_cast<int>(batch.size()) - 1, newest));
            signal->setNewValue(batch.constFirst(), 1, 0);
        }
    };
    benchmark::RegisterBenchmark((row + "/own").c_str(),
                                 [=](benchmark::State& state) { measure(state, true); });
    benchmark::RegisterBenchmark((row + "/floor").c_str(),
                                 [=](benchmark::State& state) { measure(state, false); });
}

} // namespace

void registerIngestBenchmarks()
{
    registerTypes<J1939Value>("J1939");
    registerTypes<CANopenObjectValue>("CANopen");
    for (const int count : {1000, 10000000})
        registerFill(count);
    for (int count = 1000; count <= 10000000; count *= 100)
        registerBatch(count);
    for (const int count : {1000, 100000})
        registerSnapshot(count);
}
