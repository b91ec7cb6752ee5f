#include <recording/calls.h>

#include <feed.h>
#include <workers.h>

namespace
{

/// A signal whose worker has ended by itself: switching off has told it to, but was broken off by
/// the calculator before the worker was waited for.
template <typename T>
class EndedWorker : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(settlesAt(0));
        signal.setUpdatingEnabled(true);
        ASSERT_TRUE(settlesAt(1));
        failLogSwitches() = true;
        EXPECT_THROW(signal.setUpdatingEnabled(false), StandinFailure);
        failLogSwitches() = false;
        ASSERT_TRUE(settlesAt(0));
    }

    ~EndedWorker() override { failLogSwitches() = false; }

    GenericSignalImpl<T> signal;
};
TYPED_TEST_SUITE(EndedWorker, RecordTypes);

} // namespace

TYPED_TEST(EndedWorker, LeavesTheSignalTakingValues)
{
    feed(this->signal, {7});
    EXPECT_EQ(this->signal.getValueCount(), 1);
    EXPECT_EQ(this->signal.getValues().constFirst().scaledValue, QVariant(7));
}

TYPED_TEST(EndedWorker, IsFollowedByAFreshOneAfterSwitchingOff)
{
    this->signal.setUpdatingEnabled(true);
    EXPECT_EQ(workerCount(), 0);
    this->signal.setUpdatingEnabled(false);
    this->signal.setUpdatingEnabled(true);
    EXPECT_TRUE(settlesAt(1));
    this->signal.setUpdatingEnabled(false);
    EXPECT_TRUE(settlesAt(0));
}

TYPED_TEST(EndedWorker, DoesNotKeepTheSignalFromBeingDestroyed)
{
    // The fixture's destructor would wait for ever.
}
