#pragma once

#include <records.h>
#include <waitUntil.h>

#include <vantrel/signal/GenericSignalImpl.h>

#include <initializer_list>

/// The data type with the numeric code \a code.
constexpr CAN::CANopenDataType dataType(quint32 code)
{
    return static_cast<CAN::CANopenDataType>(code);
}

/// The value handling with the number \a number.
constexpr GenericSignal::NewValueHandlingType handlingType(quint8 number)
{
    return static_cast<GenericSignal::NewValueHandlingType>(number);
}

constexpr auto reject = handlingType(0);
constexpr auto replaceNewest = handlingType(1);
constexpr auto append = handlingType(2);

/// Feeds \a raws to \a signal one by one, with factor 1 and offset 0.
template <typename T>
void feed(GenericSignalImpl<T>& signal, std::initializer_list<QVariant> raws)
{
    for (const QVariant& raw : raws)
        signal.setNewValue(rawRecord<T>(raw), 1, 0);
}

/// Waits until the worker has cached the present average and deviation of the calculator.
template <typename T>
bool waitForCaches(const GenericSignalImpl<T>& signal)
{
    return waitUntil([&] {
        return signal.getAverage() == signal.calcAverage() &&
               signal.getDeviation() == signal.calcDeviation();
    });
}

/// Sets the three change flags of \a signal to \a changed.
template <typename T>
void setFlags(GenericSignalImpl<T>& signal, bool changed)
{
    signal.averageChanged = changed;
    signal.deviationChanged = changed;
    signal.valuesChanged = changed;
}

/// Checks the three change flags of \a signal.
template <typename T>
void expectFlags(const GenericSignalImpl<T>& signal, bool average, bool deviation, bool values)
{
    EXPECT_EQ(signal.averageChanged, average);
    EXPECT_EQ(signal.deviationChanged, deviation);
    EXPECT_EQ(signal.valuesChanged, values);
}

/// All statistics of a signal, and the number of its records.
struct Statistics {
    double average = -1;
    QVariant maximum = QStringLiteral("old");
    QVariant minimum = QStringLiteral("old");
    double median = -1;
    double deviation = -1;
    unsigned int count = 99;
};

template <typename T>
Statistics statisticsOf(const GenericSignalImpl<T>& signal)
{
    Statistics result;
    signal.getValueStatistics(result.average, result.maximum, result.minimum, result.median,
                              result.deviation, result.count);
    return result;
}
