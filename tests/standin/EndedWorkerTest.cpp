#include <recording/calls.h>

#include <feed.h>
#include <workers.h>

namespace
{

/// A signal whose worker thread has ended in its first pass while updating is still switched on.
template <typename T>
class EndedWorker : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(settlesAt(0));
        endNextThread() = true;
        signal.setUpdatingEnabled(true);
        ASSERT_TRUE(waitUntil([] { return !endNextThread(); }));
        ASSERT_TRUE(settlesAt(0));
    }

    ~EndedWorker() override
    {
        endNextThread() = false;
        failLogSwitches() = false;
    }

    GenericSignalImpl<T> signal;
};
TYPED_TEST_SUITE(EndedWorker, RecordTypes);

} // namespace

TYPED_TEST(EndedWorker, LeavesTheSignalUsableAndTheCachesUnchanged)
{
    feed(this->signal, {7});
    EXPECT_EQ(this->signal.getValueCount(), 1);
    EXPECT_EQ(this->signal.getValues().constFirst().scaledValue, QVariant(7));
    EXPECT_EQ(this->signal.getAverage(), 0.0);
}

TYPED_TEST(EndedWorker, IsNotReplacedBySwitchingOnAgain)
{
    const int threads = threadCount();
    this->signal.setUpdatingEnabled(true);
    this->signal.setValueHandling(append);
    EXPECT_EQ(threadCount(), threads);
    feed(this->signal, {7});
    EXPECT_EQ(this->signal.getValueCount(), 1);
}

TYPED_TEST(EndedWorker, IsReplacedBySwitchingOffAndOn)
{
    this->signal.setUpdatingEnabled(false);
    EXPECT_EQ(this->signal.getAverage(), 0.0);
    this->signal.setUpdatingEnabled(true);
    EXPECT_TRUE(settlesAt(1));
    EXPECT_TRUE(waitForCaches(this->signal));
    EXPECT_EQ(this->signal.getAverage(), 10.0);
    this->signal.setUpdatingEnabled(false);
    EXPECT_TRUE(settlesAt(0));
}

TYPED_TEST(EndedWorker, DoesNotPreventTheSignalFromBeingDestroyed)
{
    // The fixture's destructor would wait forever.
}

/// The worker then ends with its cycle, although setUpdatingEnabled() has not waited for it.
TYPED_TEST(EndedWorker, IsReplacedEvenIfTheCalculatorThrewWhileSwitchingOff)
{
    this->signal.setUpdatingEnabled(false);
    this->signal.setUpdatingEnabled(true);
    ASSERT_TRUE(settlesAt(1));
    failLogSwitches() = true;
    EXPECT_THROW(this->signal.setUpdatingEnabled(false), StandinFailure);
    failLogSwitches() = false;
    ASSERT_TRUE(settlesAt(0));
    this->signal.setUpdatingEnabled(false);
    this->signal.setUpdatingEnabled(true);
    EXPECT_TRUE(settlesAt(1));
}
