#pragma once

#include <vantrel/values/CANopenObjectValue.h>
#include <vantrel/values/J1939Value.h>

#include <statistics/StatisticCalculator.h>

#include <QtCore/QReadWriteLock>
#include <QtCore/QVector>

#include <benchmark/benchmark.h>

#include <optional>
#include <type_traits>

/// The type in which a variant stores an N: the small types are stored as int.
template <typename N>
using Stored = std::conditional_t<(sizeof(N) < sizeof(int)), int, N>;

template <typename N>
N readNumber(const QVariant& field)
{
    if (field.userType() == qMetaTypeId<Stored<N>>())
        return static_cast<N>(*static_cast<const Stored<N>*>(field.constData()));
    return field.value<N>();
}

/// Scales one record without any of the checks.
template <typename N>
void scaleByHand(GenericValue& record, double factor, double offset)
{
    const auto product =
        static_cast<N>(static_cast<double>(readNumber<N>(record.rawValue)) * factor);
    record.scaledValue = QVariant(static_cast<N>(static_cast<double>(product) + offset));
}

/// The least work that storing, scaling and summing one value takes with the same Qt types: records
/// under a lock, and a calculator that other threads may read.
template <typename N, typename T>
class FloorSignal
{
public:
    explicit FloorSignal(bool keepsOnlyTheNewest) : keepsOne(keepsOnlyTheNewest) {}

    void add(const T& record, double factor, double offset)
    {
        lock.lockForWrite();
        if (keepsOne && !records.isEmpty())
            records.removeLast();
        records.append(record);
        lock.unlock();
        lock.lockForRead();
        T& stored = const_cast<T*>(records.constData())[records.size() - 1];
        lock.unlock();
        scaleByHand<N>(stored, factor, offset);
        calculator.addValue(readNumber<N>(stored.scaledValue));
        benchmark::DoNotOptimize(calculator.getAverage());
        benchmark::DoNotOptimize(calculator.getDeviation());
    }

private:
    const bool keepsOne;
    QReadWriteLock lock;
    QVector<T> records;
    StatisticCalculator<N> calculator{std::nullopt};
};
