#include <engine/SavedRun.h>

#include <gtest/gtest.h>

using monitor::Moment;
using monitor::SavedRun;
using monitor::SavedSignal;
using monitor::SignalSeries;

namespace
{

constexpr qint64 noTime = SignalSeries::noTime;
constexpr qint64 october = 1635188455000000; // 2021-10-25 19:00:55 UTC, in microseconds

/// A signal with the values 0, 1, 2, ... at \a microseconds.
template <typename T>
SavedSignal signalAt(const QVector<qint64>& microseconds)
{
    SavedSignal signal;
    QVector<T> values;
    for (int i = 0; i < microseconds.size(); ++i) {
        T value;
        value.rawValue = value.scaledValue = i;
        values.append(value);
    }
    signal.records.values = values;
    signal.records.microseconds = microseconds;
    return signal;
}

SavedRun runAt(const QVector<qint64>& microseconds, std::optional<qint64> firstTime)
{
    SavedRun run;
    run.firstTime = firstTime;
    run.recordedSignals = {signalAt<J1939Value>(microseconds)};
    return run;
}

QVector<int> valuesOf(const SavedSignal& signal)
{
    QVector<int> numbers;
    std::visit(
        [&numbers](const auto& values) {
            for (const auto& value : values)
                numbers.append(value.rawValue.toInt());
        },
        signal.records.values);
    EXPECT_EQ(numbers.size(), signal.records.microseconds.size());
    return numbers;
}

/// The values of a run at \a microseconds that remain.
QVector<int> kept(const QVector<qint64>& microseconds, std::optional<Moment> from,
                  std::optional<Moment> to)
{
    SavedRun run = runAt(microseconds, microseconds.value(0));
    const bool isWhole = monitor::keepBetween(run, from, to);
    const QVector<int> numbers = valuesOf(run.recordedSignals.at(0));
    EXPECT_EQ(isWhole, numbers.size() == microseconds.size());
    return numbers;
}

std::optional<Moment> absolute(qint64 nanoseconds)
{
    return Moment{nanoseconds, true};
}

std::optional<Moment> relative(qint64 nanoseconds)
{
    return Moment{nanoseconds, false};
}

using Numbers = QVector<int>;

} // namespace

TEST(KeepBetween, WithoutMomentsEverythingIsKept)
{
    EXPECT_EQ(kept({5, noTime, 3}, {}, {}), (Numbers{0, 1, 2}));
}

TEST(KeepBetween, AbsoluteMomentsIncludeBothEnds)
{
    const QVector<qint64> times{october, october + 1, october + 2, october + 3};
    const auto from = absolute((october + 1) * 1000);
    const auto to = absolute((october + 2) * 1000);
    EXPECT_EQ(kept(times, from, to), (Numbers{1, 2}));
    EXPECT_EQ(kept(times, from, {}), (Numbers{1, 2, 3}));
    EXPECT_EQ(kept(times, {}, to), (Numbers{0, 1, 2}));
}

TEST(KeepBetween, RelativeMomentsCountFromTheFirstTimeAndIncludeBothEnds)
{
    for (const qint64 first : {qint64{0}, qint64{7000000}, october}) {
        const QVector<qint64> times{first, first + 9, first + 10, first + 20, first + 21};
        EXPECT_EQ(kept(times, relative(10000), relative(20000)), (Numbers{2, 3})) << first;
    }
}

TEST(KeepBetween, ValueInTheMicrosecondOfAMomentIsKept)
{
    EXPECT_EQ(kept({october, october + 1, october + 2}, absolute(october * 1000 + 1999), {}),
              (Numbers{1, 2}));
    EXPECT_EQ(kept({october, october + 1, october + 2}, {}, absolute(october * 1000 + 1001)),
              (Numbers{0, 1}));
}

TEST(KeepBetween, ValuesWithoutATimeAreRemovedIfAMomentIsGiven)
{
    EXPECT_EQ(kept({october, noTime, october + 1}, relative(0), {}), (Numbers{0, 2}));
    EXPECT_EQ(kept({october, noTime, october + 1}, {}, relative(1000)), (Numbers{0, 2}));
}

TEST(KeepBetween, ValuesKeepTheirOrderAndTimes)
{
    SavedRun run = runAt({10, 30, 20, 5, 25}, 10);
    EXPECT_FALSE(monitor::keepBetween(run, relative(10000), relative(15000)));
    EXPECT_EQ(valuesOf(run.recordedSignals.at(0)), (Numbers{2, 4}));
    EXPECT_EQ(run.recordedSignals.at(0).records.microseconds, (QVector<qint64>{20, 25}));
}

TEST(KeepBetween, AllSignalsOfBothProtocolsAreCut)
{
    SavedRun run = runAt({10, 20}, 10);
    run.recordedSignals += signalAt<CANopenObjectValue>({20, 30, 10});
    run.recordedSignals += signalAt<CANopenObjectValue>({});
    run.counts.total = 6;
    run.recordedSignals[0].records.notAvailable = 4;
    EXPECT_FALSE(monitor::keepBetween(run, relative(10000), relative(10000)));
    EXPECT_EQ(valuesOf(run.recordedSignals.at(0)), Numbers{1});
    EXPECT_EQ(valuesOf(run.recordedSignals.at(1)), Numbers{0});
    EXPECT_EQ(valuesOf(run.recordedSignals.at(2)), Numbers());
    EXPECT_EQ(run.counts.total, 6);
    EXPECT_EQ(run.recordedSignals.at(0).records.notAvailable, 4);
}

TEST(KeepBetween, IsWholeIfTheMomentsIncludeEverything)
{
    SavedRun run = runAt({10, 20}, 10);
    EXPECT_TRUE(monitor::keepBetween(run, relative(0), relative(10000)));
    EXPECT_EQ(valuesOf(run.recordedSignals.at(0)), (Numbers{0, 1}));
}

// A saved run may come from another program, and reading accepts any such time.
TEST(KeepBetween, TimesFarFromNowDoNotOverflow)
{
    constexpr qint64 farthest = 2000000000000000000;
    ASSERT_TRUE(monitor::isTime(farthest));
    for (const qint64 time : {farthest, -farthest}) {
        EXPECT_EQ(kept({time}, relative(0), {}), Numbers{0}) << time;
        EXPECT_EQ(kept({time}, {}, relative(1000)), Numbers{0}) << time;
    }
}
