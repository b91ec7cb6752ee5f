#include "RatioTable.h"
#include "floors.h"

#include <vantrel/handlers/GenericValueHandler.h>
#include <vantrel/signal/GenericSignalImpl.h>

#include <QtCore/QBuffer>

#include <algorithm>
#include <functional>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace
{

using Signal = GenericSignalImpl<J1939Value>;
using Series = QVector<J1939Value>;

template <typename N>
Series someSeries(int count)
{
    std::mt19937 random(3);
    Series series(count);
    for (J1939Value& value : series) {
        value.rawValue = QVariant(static_cast<N>(random() % 100));
        value.scaledValue = value.rawValue;
    }
    return series;
}

/// Reads the scaled values of a series into a vector.
template <typename N>
std::vector<N> walk(const Series& series)
{
    std::vector<N> numbers;
    numbers.reserve(static_cast<std::size_t>(series.size()));
    for (const J1939Value& value : series)
        numbers.push_back(readNumber<N>(value.scaledValue));
    return numbers;
}

template <typename N>
void walkAndSelect(const Series& series)
{
    std::vector<N> numbers = walk<N>(series);
    const auto middle = numbers.begin() + std::ptrdiff_t(numbers.size() / 2);
    std::nth_element(numbers.begin(), middle, numbers.end());
    benchmark::DoNotOptimize(*middle);
}

void registerPair(const std::string& row, int count, std::function<void()> own,
                  std::function<void()> floor)
{
    const auto measured = [count](std::function<void()> operation) {
        return [=](benchmark::State& state) {
            operation(); // the first call also creates the data
            while (state.KeepRunningBatch(count))
                operation();
        };
    };
    benchmark::RegisterBenchmark((row + "/own").c_str(), measured(std::move(own)));
    benchmark::RegisterBenchmark((row + "/floor").c_str(), measured(std::move(floor)));
}

void allStatistics(const Signal& signal)
{
    double average = 0, median = 0, deviation = 0;
    unsigned int count = 0;
    QVariant maximum, minimum;
    signal.getValueStatistics(average, maximum, minimum, median, deviation, count);
    benchmark::DoNotOptimize(median);
}

template <typename N>
void allOfSeries(const Series& series)
{
    double average = 0, median = 0, deviation = 0;
    QVariant maximum, minimum;
    GenericValueHandler<N, J1939Value>::calcTypeBasedStats(average, maximum, minimum, median,
                                                           deviation, series);
    benchmark::DoNotOptimize(median);
}

/// The series and the signal that the operations work on, created on first use.
template <typename N>
class LazySeries
{
public:
    LazySeries(CAN::CANopenDataType itsDatatype, int itsCount)
        : datatype(itsDatatype), count(itsCount)
    {
    }

    const Series& series()
    {
        if (records.isEmpty())
            records = someSeries<N>(count);
        return records;
    }

    Signal& signal()
    {
        if (filled.getValueCount() == 0) {
            filled.setDatatype(datatype);
            filled.setValueHandling(GenericSignal::NewValueHandlingType::Append);
            filled.setUpdatingEnabled(false);
            filled.appendValues(series(), 1, 0);
        }
        return filled;
    }

private:
    const CAN::CANopenDataType datatype;
    const int count;
    Series records;
    Signal filled;
};

template <typename N>
void registerElement(const std::string& type, CAN::CANopenDataType datatype, int count)
{
    using Handler = GenericValueHandler<N, J1939Value>;
    const auto data = std::make_shared<LazySeries<N>>(datatype, count);
    const std::string of = " of " + std::to_string(count) + ' ' + type;
    const auto select = [data] { walkAndSelect<N>(data->series()); };
    const auto justWalk = [data] { benchmark::DoNotOptimize(walk<N>(data->series()).data()); };
    const auto answer = [data](double (*operation)(const Series&)) {
        return [=] { benchmark::DoNotOptimize(operation(data->series())); };
    };
    registerPair(
        "median" + of, count, [data] { benchmark::DoNotOptimize(data->signal().calcMedian()); },
        select);
    registerPair(
        "value statistics" + of, count, [data] { allStatistics(data->signal()); }, select);
    registerPair("series average" + of, count, answer(Handler::calcTypeBasedAverage), justWalk);
    registerPair("series deviation" + of, count, answer(Handler::calcTypeBasedDeviation), justWalk);
    registerPair("series maximum" + of, count, answer(Handler::getMax), justWalk);
    registerPair("series minimum" + of, count, answer(Handler::getMin), justWalk);
    registerPair(
        "series statistics" + of, count, [data] { allOfSeries<N>(data->series()); }, select);
    const auto walkRaw = [data] {
        int outside = 0;
        for (const J1939Value& value : data->series()) {
            const double raw = static_cast<double>(readNumber<N>(value.rawValue));
            outside += raw > 1000 || raw < -1000;
        }
        benchmark::DoNotOptimize(outside);
    };
    // A NaN band has no deviators, so neither contender copies records.
    constexpr double noBand = std::numeric_limits<double>::quiet_NaN();
    registerPair(
        "deviators" + of, count,
        [data] { benchmark::DoNotOptimize(data->signal().getDeviators(noBand).size()); }, walkRaw);
}

void registerCached()
{
    const auto signal = std::make_shared<Signal>();
    const auto number = std::make_shared<double>(1);
    const auto read = [number] { benchmark::DoNotOptimize(*number); };
    registerPair(
        "cached average", 1, [signal] { benchmark::DoNotOptimize(signal->getAverage()); }, read);
    registerPair(
        "cached deviation", 1, [signal] { benchmark::DoNotOptimize(signal->getDeviation()); },
        read);
    registerPair(
        "lower threshold", 1, [signal] { benchmark::DoNotOptimize(signal->getLowerThreshold(3)); },
        read);
}

void writeByHand(QDataStream& stream, const Series& series)
{
    for (const J1939Value& value : series)
        stream << qint16(1) << value.rawValue << value.scaledValue << value.valueTag;
}

void readByHand(QDataStream& stream, J1939Value& value, int count)
{
    qint16 version = 0;
    for (int i = 0; i < count; ++i)
        stream >> version >> value.rawValue >> value.scaledValue >> value.valueTag;
}

void registerStreams(int count)
{
    const auto series = std::make_shared<const Series>(someSeries<int>(count));
    const auto bytes = std::make_shared<QByteArray>();
    const auto rewound = [bytes](auto operation) {
        return [=] {
            QDataStream stream(bytes.get(), QIODevice::ReadWrite);
            operation(stream);
        };
    };
    const auto write = [series](QDataStream& stream) {
        for (const J1939Value& value : *series)
            stream << value;
    };
    rewound(write)();
    const std::string records = std::to_string(count) + " records";
    registerPair("write " + records, count, rewound(write),
                 rewound([series](QDataStream& stream) { writeByHand(stream, *series); }));
    const auto read = [count](QDataStream& stream) {
        J1939Value value;
        for (int i = 0; i < count; ++i)
            stream >> value;
    };
    const auto readFloor = [count](QDataStream& stream) {
        J1939Value value;
        readByHand(stream, value, count);
    };
    registerPair("read " + records, count, rewound(read), rewound(readFloor));
}

} // namespace

void registerSeriesBenchmarks()
{
    for (int count = 1000; count <= 10000000; count *= 100) {
        registerElement<unsigned char>("UNSIGNED8", CAN::CANopenDataType::UNSIGNED8, count);
        registerElement<int>("INTEGER32", CAN::CANopenDataType::INTEGER32, count);
        registerElement<double>("REAL64", CAN::CANopenDataType::REAL64, count);
    }
    registerCached();
    registerStreams(1000000);
}
