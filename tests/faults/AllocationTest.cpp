#include "failing.h"

#include <feed.h>

#include <chrono>
#include <cstdlib>
#include <functional>
#include <future>
#include <iostream>
#include <memory>
#include <new>
#include <string>

namespace
{

/// A string too long for Qt to convert without allocating.
QVariant textOf(int number)
{
    return QString(QString(300, '0') + QString::number(number));
}

/// A signal that stores the raw values 1, 2 and so on up to \a length, every other one as a string.
/// If \a held is true, a snapshot shares the records, so that every change copies them.
template <typename T>
struct Recorded {
    Recorded(GenericSignal::NewValueHandlingType handling, int length, bool held)
    {
        signal.setDatatype(dataType(4));
        signal.setValueHandling(handling);
        signal.setUpdatingEnabled(false);
        for (int number = 1; number <= length; ++number)
            signal.appendValues(rawRecords<T>({number % 2 == 0 ? textOf(number) : number}), 1, 0);
        if (held)
            snapshot = signal.getValues();
    }

    GenericSignalImpl<T> signal;
    QVector<T> snapshot;
};

/// Runs \a operation in another thread. Aborts the process if the operation does not finish because
/// a lock that it needs is still held: the tests could not finish either.
template <typename Operation>
void requireToFinish(Operation operation)
{
    auto finished = std::async(std::launch::async, operation);
    if (finished.wait_for(std::chrono::seconds(30)) == std::future_status::timeout) {
        std::cerr << "the lock is still held\n";
        std::abort();
    }
}

/// A record by its raw and its scaled value.
using Entry = QPair<int, int>;
using Series = QVector<Entry>;

constexpr int unscaled = -1;
constexpr int unknown = -2; ///< neither fed nor a result of scaling

int numberIn(const QVariant& value)
{
    bool isNumber = false;
    const int number = value.toInt(&isNumber);
    return isNumber ? number : unknown;
}

template <typename T>
Series seriesOf(const QVector<T>& records)
{
    Series series;
    for (const T& record : records) {
        const QVariant& scaled = record.scaledValue;
        series.append({numberIn(record.rawValue), scaled.isValid() ? numberIn(scaled) : unscaled});
    }
    return series;
}

/// The states that a series passes through during an operation, including the first and the last.
using States = QVector<Series>;

void addAppended(States& states, std::initializer_list<int> raws)
{
    Series series = states.last();
    for (const int raw : raws)
        series.append({raw, unscaled});
    states.append(series);
}

void addReplaced(States& states, int raw)
{
    Series series = states.last();
    if (!series.isEmpty())
        series.removeLast();
    series.append({raw, unscaled});
    states.append(series);
}

/// Adds the states in which the records from \a first on are scaled one after another, with factor
/// 2 and offset 1.
void addScaled(States& states, int first)
{
    Series series = states.last();
    for (int i = first; i < series.size(); ++i) {
        series[i].second = 2 * series.at(i).first + 1;
        states.append(series);
    }
}

void addNewestScaled(States& states)
{
    addScaled(states, static_cast<int>(states.last().size()) - 1);
}

template <typename T>
class AllocationFailure : public testing::Test
{
protected:
    using Operation = std::function<void(GenericSignalImpl<T>&)>;

    /// Runs \a operation on new signals, with its first allocation failing, then its second and so
    /// on, until no allocation fails. The series have several lengths, at some of which storage
    /// grows. After each run the series must be in its initial state or in one that \a addStates
    /// adds; if it is in the last one, the running statistics must be those of \a fedValue alone,
    /// where 0 means that nothing was fed.
    void failEveryAllocation(const Operation& operation,
                             const std::function<void(States&)>& addStates, double fedValue = 0,
                             GenericSignal::NewValueHandlingType handling = append)
    {
        Recorded<T> first(handling, 8, true); // QtCore allocates some data once, at first use
        operation(first.signal);
        int failures = 0;
        for (int length = 0; length <= 8; ++length) {
            for (const bool held : {false, true}) {
                SCOPED_TRACE("length " + std::to_string(length) + (held ? ", held" : ""));
                Series before;
                for (int number = 1; number <= length; ++number)
                    before.append({number, number});
                States states{before};
                addStates(states);
                int number = 1;
                while (failOne(operation, Recorded<T>(handling, length, held), states, fedValue,
                               number))
                    ++number;
                failures += number - 1;
            }
        }
        EXPECT_GE(failures, 8); // at least the copy of the shared records
        this->RecordProperty("failures", failures);
    }

private:
    /// Makes the allocation with the number \a number in \a operation fail. Returns false if there
    /// is no such allocation.
    static bool failOne(const Operation& operation, Recorded<T>&& recorded, const States& states,
                        double fedValue, int number)
    {
        SCOPED_TRACE("allocation " + std::to_string(number));
        const bool failed = runFailing(operation, recorded.signal, number);
        requireToFinish([&] { recorded.signal.getValues(); });
        const Series after = seriesOf(recorded.signal.getValues());
        EXPECT_TRUE(states.contains(after)) << testing::PrintToString(after);
        const bool complete = after == states.last();
        EXPECT_TRUE(failed || complete);
        EXPECT_EQ(recorded.signal.getValueCount(), after.size());
        if (!recorded.snapshot.isEmpty()) {
            EXPECT_EQ(seriesOf(recorded.snapshot), states.first());
        }
        checkStatistics(recorded.signal, complete ? fedValue : 0, static_cast<int>(after.size()));
        requireToFinish([&] { checkStillWorks(recorded.signal); });
        return failed;
    }

    static bool runFailing(const Operation& operation, GenericSignalImpl<T>& signal, int number)
    {
        bool thrown = false;
        const FailingAllocation failing(number);
        try {
            operation(signal);
        } catch (const std::bad_alloc&) {
            thrown = true;
        }
        EXPECT_EQ(thrown, failing.hasFailed());
        return failing.hasFailed();
    }

    /// Checks the statistics of a signal that was fed \a fedValue alone, or nothing if \a fedValue
    /// is 0.
    static void checkStatistics(const GenericSignalImpl<T>& signal, double fedValue, int count)
    {
        const Statistics statistics = statisticsOf(signal);
        EXPECT_EQ(statistics.count, static_cast<unsigned int>(count));
        EXPECT_EQ(statistics.average, fedValue);
        EXPECT_EQ(statistics.maximum, QVariant(fedValue));
        EXPECT_EQ(statistics.minimum, QVariant(fedValue));
        EXPECT_EQ(statistics.deviation, 0.0);
    }

    static void checkStillWorks(GenericSignalImpl<T>& signal)
    {
        signal.clearValues();
        feed(signal, {8, 12});
        EXPECT_EQ(signal.calcAverage(), 10.0);
        EXPECT_EQ(signal.getValues().constLast().scaledValue, QVariant(12));
    }
};
TYPED_TEST_SUITE(AllocationFailure, RecordTypes);

} // namespace

TYPED_TEST(AllocationFailure, AppendingStoresTheWholeRecordOrNothing)
{
    const auto record = rawRecord<TypeParam>(textOf(77));
    this->failEveryAllocation([&](auto& signal) { signal.setNewValue(record); },
                              [](States& states) { addAppended(states, {77}); });
}

TYPED_TEST(AllocationFailure, ReplacingStoresTheNewRecordOrKeepsTheOldOne)
{
    const auto record = rawRecord<TypeParam>(textOf(77));
    this->failEveryAllocation([&](auto& signal) { signal.setNewValue(record); },
                              [](States& states) { addReplaced(states, 77); }, 0, replaceNewest);
}

TYPED_TEST(AllocationFailure, AppendingWithScalingFeedsTheRecordOnlyIfItWasScaled)
{
    const auto record = rawRecord<TypeParam>(textOf(77));
    const auto addStates = [](States& states) {
        addAppended(states, {77});
        addNewestScaled(states);
    };
    this->failEveryAllocation([&](auto& signal) { signal.setNewValue(record, 2, 1); }, addStates,
                              155);
}

TYPED_TEST(AllocationFailure, ReplacingWithScalingStoresTheNewRecordOrKeepsTheOldOne)
{
    const auto record = rawRecord<TypeParam>(textOf(77));
    const auto addStates = [](States& states) {
        addReplaced(states, 77);
        addNewestScaled(states);
    };
    this->failEveryAllocation([&](auto& signal) { signal.setNewValue(record, 2, 1); }, addStates,
                              155, replaceNewest);
}

TYPED_TEST(AllocationFailure, ABatchIsStoredWhollyOrNotAtAllAndScaledInOrder)
{
    const auto batch = rawRecords<TypeParam>({77, textOf(78)});
    const auto addStates = [](States& states) {
        addAppended(states, {77, 78});
        addScaled(states, 0);
    };
    this->failEveryAllocation([&](auto& signal) { signal.appendValues(batch, 2, 1); }, addStates);
}

TYPED_TEST(AllocationFailure, AnInterruptedRescaleLeavesLaterRecordsAtTheirOldScale)
{
    this->failEveryAllocation([](auto& signal) { signal.updateScaledValues(2, 1); },
                              [](States& states) { addScaled(states, 0); });
}

TYPED_TEST(AllocationFailure, ClearingRemovesEveryRecordWithoutAllocating)
{
    Recorded<TypeParam> recorded(append, 8, true);
    const FailingAllocation failing(1);
    recorded.signal.clearValues();
    EXPECT_FALSE(failing.hasFailed());
    EXPECT_EQ(recorded.signal.getValueCount(), 0);
}
