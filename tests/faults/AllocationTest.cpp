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

/// The raw values of \a records as numbers; -1 for one that is none of those fed.
template <typename T>
QVector<int> rawNumbers(const QVector<T>& records)
{
    QVector<int> numbers;
    for (const T& record : records) {
        bool isNumber = false;
        const int number = record.rawValue.toInt(&isNumber);
        numbers.append(isNumber ? number : -1);
    }
    return numbers;
}

template <typename T>
class AllocationFailure : public testing::Test
{
protected:
    using Operation = std::function<void(GenericSignalImpl<T>&)>;
    using Series = QVector<int>;

    /// Runs \a operation on fresh signals, with its first allocation failing, then its second and
    /// so on, until none fails any more, over series of several lengths: storage grows at some.
    /// After every failure the series is as it was or as \a change makes it.
    void failEveryAllocation(const Operation& operation, const std::function<void(Series&)>& change,
                             GenericSignal::NewValueHandlingType handling = append)
    {
        int failures = 0;
        for (int length = 1; length <= 8; ++length) {
            for (const bool held : {false, true}) {
                int number = 1;
                while (failOne(operation, change, Recorded<T>(handling, length, held), number))
                    ++number;
                failures += number - 1;
            }
        }
        EXPECT_GE(failures, 8); // at least the copy of what is held
        this->RecordProperty("failures", failures);
    }

private:
    /// Lets the allocation of \a operation with the number \a number fail: false if there is none.
    static bool failOne(const Operation& operation, const std::function<void(Series&)>& change,
                        Recorded<T>&& recorded, int number)
    {
        SCOPED_TRACE("allocation " + std::to_string(number));
        const Series before = rawNumbers(recorded.signal.getValues());
        const bool failed = runFailing(operation, recorded.signal, number);
        requireToFinish([&] { recorded.signal.getValues(); });
        Series after = before;
        change(after);
        checkSeries(recorded, before, after);
        requireToFinish([&] { checkAnswers(recorded.signal); });
        return failed;
    }

    static bool runFailing(const Operation& operation, GenericSignalImpl<T>& signal, int number)
    {
        const FailingAllocation failing(number);
        try {
            operation(signal);
        } catch (const std::bad_alloc&) {
        }
        return failing.hasFailed();
    }

    static void checkSeries(const Recorded<T>& recorded, const Series& before, const Series& after)
    {
        const QVector<T> stored = recorded.signal.getValues();
        const Series numbers = rawNumbers(stored);
        EXPECT_TRUE(numbers == before || numbers == after) << numbers.size();
        EXPECT_EQ(recorded.signal.getValueCount(), stored.size());
        for (const T& record : stored) {
            const QVariant& scaled = record.scaledValue;
            EXPECT_TRUE(!scaled.isValid() || scaled.userType() == QMetaType::Int);
        }
        if (!recorded.snapshot.isEmpty()) {
            EXPECT_EQ(rawNumbers(recorded.snapshot), before);
        }
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
                              [](auto& series) { series.append(77); });
}

TYPED_TEST(AllocationFailure, AReplacingRecordIsStoredOrTheOldOneStays)
{
    const auto record = rawRecord<TypeParam>(textOf(77));
    this->failEveryAllocation([&](auto& signal) { signal.setNewValue(record); },
                              [](auto& series) { series.last() = 77; }, replaceNewest);
}

TYPED_TEST(AllocationFailure, AnAppendedRecordToScaleIsStoredOrNot)
{
    const auto record = rawRecord<TypeParam>(textOf(77));
    this->failEveryAllocation([&](auto& signal) { signal.setNewValue(record, 2, 1); },
                              [](auto& series) { series.append(77); });
}

TYPED_TEST(AllocationFailure, AReplacingRecordToScaleIsStoredOrTheOldOneStays)
{
    const auto record = rawRecord<TypeParam>(textOf(77));
    this->failEveryAllocation([&](auto& signal) { signal.setNewValue(record, 2, 1); },
                              [](auto& series) { series.last() = 77; }, replaceNewest);
}

TYPED_TEST(AllocationFailure, ABatchIsStoredAsAWholeOrNot)
{
    const auto batch = rawRecords<TypeParam>({77, textOf(78)});
    this->failEveryAllocation([&](auto& signal) { signal.appendValues(batch, 2, 1); },
                              [](auto& series) { series << 77 << 78; });
}

TYPED_TEST(AllocationFailure, ARescaleKeepsEveryRecord)
{
    this->failEveryAllocation([](auto& signal) { signal.updateScaledValues(2, 1); }, [](auto&) {});
}

TYPED_TEST(AllocationFailure, AClearRemovesEveryRecordWithoutAnAllocation)
{
    Recorded<TypeParam> recorded(append, 8, true);
    const FailingAllocation failing(1);
    recorded.signal.clearValues();
    EXPECT_FALSE(failing.hasFailed());
    EXPECT_EQ(recorded.signal.getValueCount(), 0);
}
