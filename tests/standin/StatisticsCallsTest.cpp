#include <recording/calls.h>

#include <feed.h>

#include <vantrel/handlers/GenericValueHandler.h>

#include <algorithm>
#include <chrono>
#include <set>

using Calls = std::vector<std::string>;

namespace
{

template <typename T>
class StatisticsCalls : public testing::Test
{
protected:
    StatisticsCalls() { takeOwnCalls(); }
    ~StatisticsCalls() override
    {
        failOperations() = false;
        failingConstruction() = 0;
    }
};
TYPED_TEST_SUITE(StatisticsCalls, RecordTypes);

} // namespace

/// Overrides QtCore's function.
void QThread::msleep(unsigned long milliseconds)
{
    record("pause " + std::to_string(milliseconds));
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

TYPED_TEST(StatisticsCalls, TheConstructorCreatesADoubleThenAnIntCalculatorWithoutALog)
{
    const GenericSignalImpl<TypeParam> signal;
    EXPECT_EQ(takeOwnCalls(), (Calls{"double construct", "double destroy", "int construct"}));
}

TYPED_TEST(StatisticsCalls, DestroyingASignalDestroysItsCalculator)
{
    {
        const GenericSignalImpl<TypeParam> signal;
        takeOwnCalls();
    }
    EXPECT_EQ(takeOwnCalls(), Calls{"int destroy"});
}

TYPED_TEST(StatisticsCalls, EveryMappedDataTypeCreatesANewCalculator)
{
    const std::pair<quint32, std::string> mapped[] = {{0, "double"},
                                                      {2, "signed char"},
                                                      {3, "short"},
                                                      {4, "int"},
                                                      {5, "unsigned char"},
                                                      {6, "unsigned short"},
                                                      {7, "unsigned int"},
                                                      {8, "float"},
                                                      {16, "int"},
                                                      {17, "double"},
                                                      {18, "signed char"},
                                                      {21, "long long"},
                                                      {22, "unsigned int"},
                                                      {24, "unsigned long long"},
                                                      {25, "unsigned long long"},
                                                      {27, "unsigned long long"}};
    GenericSignalImpl<TypeParam> signal;
    std::string before = "int";
    takeOwnCalls();
    for (const auto& [code, type] : mapped) {
        for (int again = 0; again < 2; ++again) {
            signal.setDatatype(dataType(code));
            EXPECT_EQ(takeOwnCalls(), (Calls{before + " destroy", type + " construct"})) << code;
            before = type;
        }
    }
}

TYPED_TEST(StatisticsCalls, UnmappedDataTypesKeepTheCalculator)
{
    GenericSignalImpl<TypeParam> signal;
    takeOwnCalls();
    for (const quint32 code : {1U, 9U, 14U, 15U, 19U, 20U, 23U, 26U, 28U, 100U, 0xffffffffU})
        signal.setDatatype(dataType(code));
    EXPECT_EQ(takeOwnCalls(), Calls{});
}

TYPED_TEST(StatisticsCalls, AfterAddingAScaledValueAverageAndDeviationAreRequested)
{
    GenericSignalImpl<TypeParam> signal;
    signal.setDatatype(dataType(4));
    takeOwnCalls();
    signal.setNewValue(rawRecord<TypeParam>(3), 2, 1);
    EXPECT_EQ(takeOwnCalls(), (Calls{"int addValue 7", "int getAverage", "int getDeviation"}));
}

TYPED_TEST(StatisticsCalls, RejectedValuesUnscaledValuesAndBatchesDoNotReachTheCalculator)
{
    GenericSignalImpl<TypeParam> signal;
    signal.setDatatype(dataType(4));
    signal.setValueHandling(reject);
    takeOwnCalls();
    signal.setNewValue(rawRecord<TypeParam>(3), 2, 1);
    signal.setNewValue(rawRecord<TypeParam>(3));
    signal.appendValues(rawRecords<TypeParam>({1, 2}), 1, 0);
    signal.updateScaledValues(1, 0);
    EXPECT_EQ(takeOwnCalls(), Calls{});
}

TYPED_TEST(StatisticsCalls, EverySwitchOfUpdatingAlsoSwitchesTheLog)
{
    GenericSignalImpl<TypeParam> signal;
    takeOwnCalls();
    signal.setUpdatingEnabled(false);
    EXPECT_EQ(takeOwnCalls(), Calls{"int log off"});
    signal.setUpdatingEnabled(true);
    signal.setUpdatingEnabled(true);
    EXPECT_EQ(takeOwnCalls(), (Calls{"int log on", "int log on"}));
    signal.setUpdatingEnabled(false);
    signal.setUpdatingEnabled(false);
    EXPECT_EQ(takeOwnCalls(), (Calls{"int log off", "int log off"}));
    signal.setValueHandling(append);
    signal.setValueHandling(append);
    signal.setValueHandling(replaceNewest);
    signal.setValueHandling(reject);
    signal.setValueHandling(handlingType(3));
    EXPECT_EQ(takeOwnCalls(),
              (Calls{"int log on", "int log on", "int log off", "int log off", "int log off"}));
}

TYPED_TEST(StatisticsCalls, ClearingClearsTheCalculator)
{
    GenericSignalImpl<TypeParam> signal;
    takeOwnCalls();
    signal.clearValues();
    EXPECT_EQ(takeOwnCalls(), Calls{"int clear"});
}

TYPED_TEST(StatisticsCalls, EachStatisticIsOneCallAndAllAreRequestedInAFixedOrder)
{
    GenericSignalImpl<TypeParam> signal;
    takeOwnCalls();
    EXPECT_EQ(signal.getMax(), 3.0);
    EXPECT_EQ(signal.getMin(), 1.0);
    EXPECT_EQ(signal.calcAverage(), 10.0);
    EXPECT_EQ(signal.calcDeviation(), 2.0);
    EXPECT_EQ(takeOwnCalls(),
              (Calls{"int getMaximum", "int getMinimum", "int getAverage", "int getDeviation"}));
    signal.updateAverageAndDeviation();
    EXPECT_EQ(takeOwnCalls(), (Calls{"int getAverage", "int getDeviation"}));
    const Statistics statistics = statisticsOf(signal);
    EXPECT_EQ(takeOwnCalls(),
              (Calls{"int getAverage", "int getDeviation", "int getMaximum", "int getMinimum"}));
    EXPECT_EQ(statistics.maximum, QVariant(3.0));
    EXPECT_EQ(statistics.minimum, QVariant(1.0));
}

TYPED_TEST(StatisticsCalls, CachedStatisticsRatingsAndDeviatorsCallNothing)
{
    GenericSignalImpl<TypeParam> signal;
    signal.setDatatype(dataType(4));
    signal.appendValues(rawRecords<TypeParam>({1, 2}), 1, 0);
    takeOwnCalls();
    signal.getAverage();
    signal.getDeviation();
    signal.getLowerThreshold(1);
    signal.getUpperThreshold(1);
    signal.getDeviators(1);
    signal.getRating(1, false, 0, 1);
    EXPECT_EQ(takeOwnCalls(), Calls{});
}

TYPED_TEST(StatisticsCalls, TheMedianIsRequestedForTheWholeSeriesIncludingInvalidRecords)
{
    GenericSignalImpl<TypeParam> signal;
    signal.setDatatype(dataType(4));
    auto batch = scaledRecords<TypeParam>({3, QStringLiteral("x"), 1.6, 9});
    batch[3].isInvalid = true;
    signal.setValueHandling(append);
    for (const TypeParam& record : qAsConst(batch))
        signal.setNewValue(record);
    takeOwnCalls();
    EXPECT_EQ(signal.calcMedian(), 5.0);
    EXPECT_EQ(takeOwnCalls(), Calls{"int getMedian [3 0 2 9]"});
    signal.clearValues();
    takeOwnCalls();
    EXPECT_EQ(signal.calcMedian(), 5.0);
    EXPECT_EQ(takeOwnCalls(), Calls{"int getMedian []"});
    signal.setValueHandling(replaceNewest);
    takeOwnCalls();
    EXPECT_EQ(signal.calcMedian(), 0.0);
    EXPECT_EQ(takeOwnCalls(), Calls{});
}

TYPED_TEST(StatisticsCalls, OneWorkerRequestsAverageThenDeviationAndPausesUntilSwitchedOff)
{
    GenericSignalImpl<TypeParam> signal;
    const std::size_t before = callsOfOtherThreads().size();
    signal.setUpdatingEnabled(true);
    signal.setUpdatingEnabled(true);
    ASSERT_TRUE(waitUntil([&] { return callsOfOtherThreads().size() >= before + 9; }));
    signal.setUpdatingEnabled(false);
    const std::vector<Call> calls = callsOfOtherThreads();
    std::set<std::thread::id> workers;
    const Calls pass{"int getAverage", "int getDeviation", "pause 100"};
    for (std::size_t i = before; i < calls.size(); ++i) {
        EXPECT_EQ(calls[i].what, pass[(i - before) % pass.size()]);
        workers.insert(calls[i].thread);
    }
    EXPECT_EQ(workers.size(), 1U);
    EXPECT_EQ((calls.size() - before) % pass.size(), 0U);
    EXPECT_EQ(signal.getAverage(), 10.0);
    EXPECT_EQ(signal.getDeviation(), 2.0);
}

TYPED_TEST(StatisticsCalls, TheBandIsComputedFromTheCachedStatistics)
{
    GenericSignalImpl<TypeParam> signal;
    signal.setUpdatingEnabled(true);
    ASSERT_TRUE(waitUntil([&] { return signal.getDeviation() == 2.0; }));
    signal.setUpdatingEnabled(false);
    EXPECT_EQ(signal.getLowerThreshold(1.5), 7.0);
    EXPECT_EQ(signal.getUpperThreshold(1.5), 13.0);
}

TYPED_TEST(StatisticsCalls, SeriesStatisticsPassTheValidElementsOnce)
{
    using Handler = GenericValueHandler<short, TypeParam>;
    auto values = scaledRecords<TypeParam>({3, QStringLiteral("x"), 8, 4});
    values[2].isInvalid = true;
    takeOwnCalls();
    EXPECT_EQ(Handler::calcTypeBasedAverage(values), 61.0);
    EXPECT_EQ(Handler::calcTypeBasedDeviation(values), 62.0);
    EXPECT_EQ(Handler::getMax(values), 63.0);
    EXPECT_EQ(Handler::getMin(values), 64.0);
    EXPECT_EQ(takeOwnCalls(), (Calls{"short getAverage [3 0 4]", "short getDeviation [3 0 4]",
                                     "short calcMaximum [3 0 4]", "short calcMinimum [3 0 4]"}));
}

TYPED_TEST(StatisticsCalls, CalcTypeBasedStatsIsOneCallThatFillsEveryOutput)
{
    double average = 0;
    double median = 0;
    double deviation = 0;
    QVariant maximum;
    QVariant minimum;
    takeOwnCalls();
    GenericValueHandler<short, TypeParam>::calcTypeBasedStats(
        average, maximum, minimum, median, deviation, scaledRecords<TypeParam>({3, 4}));
    EXPECT_EQ(takeOwnCalls(), Calls{"short calcStatistics [3 4]"});
    EXPECT_EQ(maximum, QVariant(71));
    EXPECT_EQ(minimum, QVariant(72));
    EXPECT_EQ(median, 73.0);
    EXPECT_EQ(average, 74.0);
    EXPECT_EQ(deviation, 75.0);
}

TYPED_TEST(StatisticsCalls, AnEmptySeriesIsPassedAsAnEmptyList)
{
    takeOwnCalls();
    EXPECT_EQ((GenericValueHandler<double, TypeParam>::calcTypeBasedAverage({})), 61.0);
    EXPECT_EQ(takeOwnCalls(), Calls{"double getAverage []"});
}

TYPED_TEST(StatisticsCalls, ExceptionsOfTheSeriesStatisticsArePropagated)
{
    using Handler = GenericValueHandler<int, TypeParam>;
    const auto values = scaledRecords<TypeParam>({1});
    failOperations() = true;
    EXPECT_THROW(Handler::calcTypeBasedAverage(values), StandinFailure);
    EXPECT_THROW(Handler::calcTypeBasedDeviation(values), StandinFailure);
    EXPECT_THROW(Handler::getMax(values), StandinFailure);
    EXPECT_THROW(Handler::getMin(values), StandinFailure);
    double number = 0;
    QVariant variant;
    EXPECT_THROW(Handler::calcTypeBasedStats(number, variant, variant, number, number, values),
                 StandinFailure);
}

TYPED_TEST(StatisticsCalls, TheMedianReadsFloatsByConversionNotByCallingTheRecord)
{
    GenericSignalImpl<TypeParam> signal;
    signal.setDatatype(dataType(8));
    signal.setValueHandling(append);
    signal.setNewValue(scaledRecord<TypeParam>(QStringLiteral("1.5")));
    takeOwnCalls();
    signal.calcMedian();
    EXPECT_EQ(takeOwnCalls(), Calls{"float getMedian [1.5]"});
}

TYPED_TEST(StatisticsCalls, SwitchingOffReturnsOnlyAfterTheWorkerHasFinishedItsPause)
{
    using Clock = std::chrono::steady_clock;
    auto longest = Clock::duration::zero();
    for (int round = 0; round < 5; ++round) {
        GenericSignalImpl<TypeParam> signal;
        const std::size_t before = callsOfOtherThreads().size();
        signal.setValueHandling(append);
        ASSERT_TRUE(waitUntil([&] { return callsOfOtherThreads().size() >= before + 3; }));
        // The worker has just begun its pause of 100 ms.
        const auto start = Clock::now();
        signal.setValueHandling(replaceNewest);
        longest = std::max(longest, Clock::now() - start);
    }
    EXPECT_GE(longest, std::chrono::milliseconds(50));
    EXPECT_LE(longest, std::chrono::seconds(10));
}
