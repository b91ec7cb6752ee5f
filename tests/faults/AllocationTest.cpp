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

/// Longer than what Qt converts without an allocation.
QVariant textOf(int number)
{
    return QString(QString(300, '0') + QString::number(number));
}

/// A signal that stores the raw values 1, 2 and so on up to \a length, every other one as a text;
/// if \a held, with a snapshot of them, which makes every change copy them.
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

/// Runs \a operation in another thread and ends the process if it does not finish, because the
/// lock that it needs is still held: no test could end any more.
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
constexpr int unknown = -2; ///< none of those that are fed or come of scaling

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

/// The states of a series while an operation goes on, from the one before to the one after it.
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

/// The records are scaled by 2 and 1, one after the other from the one at \a first on.
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
    addScaled(states, states.last().size() - 1);
}

template <typename T>
class AllocationFailure : public testing::Test
{
protected:
    using Operation = std::function<void(GenericSignalImpl<T>&)>;

    /// Runs \a operation on fresh signals, with its first allocation failing, then its second and
    /// so on, until none fails any more, over series of several lengths: storage grows at some.
    /// After every failure the series is in one of the states that \a addStates adds to the one
    /// before, and has been fed \a fedValue if that is the last one and 0 is not meant.
    void failEveryAllocation(const Operation& operation,
                             const std::function<void(States&)>& addStates, double fedValue = 0,
                             GenericSignal::NewValueHandlingType handling = append)
    {
        Recorded<T> first(handling, 8, true); // QtCore sets up at its first use what it needs once
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
        EXPECT_GE(failures, 8); // at least the copy of what is held
        this->RecordProperty("failures", failures);
    }

private:
    /// Lets the allocation of \a operation with the number \a number fail: false if there is none.
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
        checkStatistics(recorded.signal, complete ? fedValue : 0, after.size());
        requireToFinish([&] { checkAnswers(recorded.signal); });
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

    /// Those of a signal that has been fed \a fedValue alone, or nothing, which leaves 0.
    static void checkStatistics(const GenericSignalImpl<T>& signal, double fedValue, int count)
    {
        const Statistics statistics = statisticsOf(signal);
        EXPECT_EQ(statistics.count, static_cast<unsigned int>(count));
        EXPECT_EQ(statistics.average, fedValue);
        EXPECT_EQ(statistics.maximum, QVariant(fedValue));
        EXPECT_EQ(statistics.minimum, QVariant(fedValue));
        EXPECT_EQ(statistics.deviation, 0.0);
    }

    static void checkAnswers(GenericSignalImpl<T>& signal)
    {
        signal.clearValues();
        feed(signal, {8, 12});
        EXPECT_EQ(signal.calcAverage(), 10.0);
        EXPECT_EQ(signal.getValues().constLast().scaledValue, QVariant(12));
    }
};
TYPED_TEST_SUITE(AllocationFailure, RecordTypes);

} // namespace

TYPED_TEST(AllocationFailure, AnAppendedRecordIsStoredOrNot)
{
    const auto record = rawRecord<TypeParam>(textOf(77));
    this->failEveryAllocation([&](auto& signal) { signal.setNewValue(record); },
                              [](States& states) { addAppended(states, {77}); });
}

TYPED_TEST(AllocationFailure, AReplacingRecordIsStoredOrTheOldOneStays)
{
    const auto record = rawRecord<TypeParam>(textOf(77));
    this->failEveryAllocation([&](auto& signal) { signal.setNewValue(record); },
                              [](States& states) { addReplaced(states, 77); }, 0, replaceNewest);
}

TYPED_TEST(AllocationFailure, AnAppendedRecordToScaleIsStoredOrNotAndFedOnlyOnceScaled)
{
    const auto record = rawRecord<TypeParam>(textOf(77));
    const auto addStates = [](States& states) {
        addAppended(states, {77});
        addNewestScaled(states);
    };
    this->failEveryAllocation([&](auto& signal) { signal.setNewValue(record, 2, 1); }, addStates,
                              155);
}

TYPED_TEST(AllocationFailure, AReplacingRecordToScaleIsStoredOrTheOldOneStays)
{
    const auto record = rawRecord<TypeParam>(textOf(77));
    const auto addStates = [](States& states) {
        addReplaced(states, 77);
        addNewestScaled(states);
    };
    this->failEveryAllocation([&](auto& signal) { signal.setNewValue(record, 2, 1); }, addStates,
                              155, replaceNewest);
}

TYPED_TEST(AllocationFailure, ABatchIsStoredAsAWholeOrNotAndAllScaledInTheirOrder)
{
    const auto batch = rawRecords<TypeParam>({77, textOf(78)});
    const auto addStates = [](States& states) {
        addAppended(states, {77, 78});
        addScaled(states, 0);
    };
    this->failEveryAllocation([&](auto& signal) { signal.appendValues(batch, 2, 1); }, addStates);
}

TYPED_TEST(AllocationFailure, ARescaleThatBreaksOffLeavesTheLaterRecordsWithTheirOldScale)
{
    this->failEveryAllocation([](auto& signal) { signal.updateScaledValues(2, 1); },
                              [](States& states) { addScaled(states, 0); });
}

TYPED_TEST(AllocationFailure, AClearRemovesEveryRecordWithoutAnAllocation)
{
    Recorded<TypeParam> recorded(append, 8, true);
    const FailingAllocation failing(1);
    recorded.signal.clearValues();
    EXPECT_FALSE(failing.hasFailed());
    EXPECT_EQ(recorded.signal.getValueCount(), 0);
}
