#include <feed.h>
#include <workers.h>

#include <chrono>
#include <memory>
#include <vector>

namespace
{

template <typename T>
class SignalUpdating : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(settlesAt(0));
        signal.setDatatype(dataType(4));
    }

    GenericSignalImpl<T> signal;
};
TYPED_TEST_SUITE(SignalUpdating, RecordTypes);

} // namespace

TYPED_TEST(SignalUpdating, SwitchingOnTwiceStartsOneWorker)
{
    this->signal.setUpdatingEnabled(true);
    this->signal.setUpdatingEnabled(true);
    EXPECT_TRUE(settlesAt(1));
    feed(this->signal, {5});
    EXPECT_TRUE(waitForCaches(this->signal));
    EXPECT_EQ(workerCount(), 1);
    this->signal.setUpdatingEnabled(false);
    EXPECT_TRUE(settlesAt(0));
}

TYPED_TEST(SignalUpdating, SwitchingOffWithoutAWorkerStartsNothing)
{
    this->signal.setUpdatingEnabled(false);
    EXPECT_TRUE(settlesAt(0));
}

TYPED_TEST(SignalUpdating, AfterSwitchingOffANewWorkerCanBeStarted)
{
    for (int round = 0; round < 3; ++round) {
        this->signal.setUpdatingEnabled(true);
        EXPECT_TRUE(settlesAt(1));
        feed(this->signal, {round});
        EXPECT_TRUE(waitForCaches(this->signal));
        this->signal.setUpdatingEnabled(false);
        EXPECT_TRUE(settlesAt(0));
    }
}

TYPED_TEST(SignalUpdating, HandlingTwoStartsTheWorkerAndEveryOtherHandlingStopsIt)
{
    for (const int number : {0, 1, 3, 255}) {
        this->signal.setValueHandling(append);
        EXPECT_TRUE(settlesAt(1));
        this->signal.setValueHandling(append);
        EXPECT_TRUE(settlesAt(1));
        this->signal.setValueHandling(handlingType(static_cast<quint8>(number)));
        EXPECT_TRUE(settlesAt(0)) << number;
    }
}

TYPED_TEST(SignalUpdating, CachesFollowTheCalculatorWhileUpdating)
{
    this->signal.setValueHandling(append);
    feed(this->signal, {8, 12});
    EXPECT_TRUE(waitUntil(
        [&] { return this->signal.getAverage() == 10.0 && this->signal.getDeviation() == 2.0; }));
    feed(this->signal, {40});
    EXPECT_TRUE(waitUntil([&] { return this->signal.getAverage() == 20.0; }));
}

TYPED_TEST(SignalUpdating, CachesKeepTheirValuesWhenUpdatingStops)
{
    this->signal.setValueHandling(append);
    feed(this->signal, {8, 12});
    ASSERT_TRUE(waitForCaches(this->signal));
    this->signal.setValueHandling(replaceNewest);
    feed(this->signal, {100});
    EXPECT_EQ(this->signal.getAverage(), 10.0);
    EXPECT_EQ(this->signal.getDeviation(), 2.0);
    EXPECT_EQ(this->signal.calcAverage(), 40.0);
}

TYPED_TEST(SignalUpdating, APassOfTheWorkerSetsNoFlags)
{
    this->signal.setValueHandling(append);
    feed(this->signal, {8, 12});
    ASSERT_TRUE(waitForCaches(this->signal));
    setFlags(this->signal, false);
    this->signal.clearValues(); // sets no flag, and makes the next pass visible
    ASSERT_TRUE(waitUntil([&] { return this->signal.getDeviation() == 0.0; }));
    expectFlags(this->signal, false, false, false);
}

TYPED_TEST(SignalUpdating, UpdateCalculationsReturnsAtOnceWhileUpdatingIsOff)
{
    feed(this->signal, {8, 12});
    this->signal.updateCalculations();
    EXPECT_EQ(this->signal.getAverage(), 0.0);
    EXPECT_EQ(this->signal.getDeviation(), 0.0);
}

TYPED_TEST(SignalUpdating, PassesAreAHundredMillisecondsApart)
{
    using Clock = std::chrono::steady_clock;
    this->signal.setValueHandling(append);
    const auto start = Clock::now();
    for (int pass = 1; pass <= 11; ++pass) {
        const double before = this->signal.getAverage();
        feed(this->signal, {1000 * pass * pass});
        ASSERT_TRUE(waitUntil([&] { return this->signal.getAverage() != before; }));
    }
    // Eleven passes have been seen, so there were ten pauses between them. A loaded machine may
    // lengthen the pauses; nothing shortens them.
    const auto elapsed = Clock::now() - start;
    EXPECT_GE(elapsed, std::chrono::milliseconds(1000));
    EXPECT_LE(elapsed, std::chrono::seconds(15));
}

TYPED_TEST(SignalUpdating, DestroyingASignalStopsItsWorker)
{
    {
        GenericSignalImpl<TypeParam> shortLived;
        shortLived.setValueHandling(append);
        feed(shortLived, {1});
        EXPECT_TRUE(settlesAt(1));
    }
    EXPECT_TRUE(settlesAt(0));
}

TYPED_TEST(SignalUpdating, SignalsCanBeDestroyedAtAnyPointOfAPass)
{
    std::vector<std::unique_ptr<GenericSignalImpl<TypeParam>>> fleet;
    for (int i = 0; i < 50; ++i) {
        fleet.push_back(std::make_unique<GenericSignalImpl<TypeParam>>());
        fleet.back()->setValueHandling(append);
    }
    EXPECT_TRUE(settlesAt(50));
    while (!fleet.empty())
        fleet.pop_back();
    EXPECT_TRUE(settlesAt(0));
}
