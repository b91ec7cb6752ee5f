#include "failing.h"

#include <AddressSpaceLimit.h>
#include <feed.h>
#include <workers.h>

#include <system_error>
#include <thread>

namespace
{

template <typename T>
class ThreadStartFailure : public testing::Test
{
protected:
    void SetUp() override { signal.setDatatype(dataType(4)); }

    /// Switches updating off and on, and returns whether the caches then follow new values.
    bool updatesAgain()
    {
        signal.setUpdatingEnabled(false);
        signal.setValueHandling(append);
        feed(signal, {8, 12});
        return waitForCaches(signal) && signal.getAverage() == signal.calcAverage();
    }

    GenericSignalImpl<T> signal;
};
TYPED_TEST_SUITE(ThreadStartFailure, RecordTypes);

} // namespace

TYPED_TEST(ThreadStartFailure, ASignalWorksWithoutItsWorkerThread)
{
    const FailingThreadStart failing;
    this->signal.setValueHandling(append);
    EXPECT_EQ(failing.count(), 1);
    feed(this->signal, {8, 12});
    EXPECT_EQ(this->signal.calcAverage(), 10.0);
    EXPECT_EQ(this->signal.calcMedian(), 10.0);
    EXPECT_EQ(this->signal.getValueCount(), 2);
    EXPECT_EQ(this->signal.getAverage(), 0.0);
}

TYPED_TEST(ThreadStartFailure, SwitchingOffAndOnStartsTheWorkerOnceThreadsCanBeStarted)
{
    {
        const FailingThreadStart failing;
        this->signal.setUpdatingEnabled(true);
        this->signal.setUpdatingEnabled(true);
        EXPECT_EQ(failing.count(), 1); // the second call assumes that the worker runs
        this->signal.setUpdatingEnabled(false);
        this->signal.setUpdatingEnabled(true);
        EXPECT_EQ(failing.count(), 2);
    }
    EXPECT_TRUE(this->updatesAgain());
}

TYPED_TEST(ThreadStartFailure, ASignalWithoutItsWorkerThreadCanBeDestroyed)
{
    const FailingThreadStart failing;
    GenericSignalImpl<TypeParam> shortLived;
    shortLived.setUpdatingEnabled(true);
    EXPECT_EQ(failing.count(), 1);
}

TYPED_TEST(ThreadStartFailure, ASignalWorksWithoutRoomForAThreadStackAndUpdatesOnceThereIsRoom)
{
    {
        const AddressSpaceLimit limit;
        ASSERT_THROW(std::thread([] {}), std::system_error);
        const int threads = threadCount();
        this->signal.setValueHandling(append);
        feed(this->signal, {6, 14});
        EXPECT_EQ(this->signal.calcAverage(), 10.0);
        EXPECT_EQ(this->signal.calcMedian(), 10.0);
        this->signal.setUpdatingEnabled(false);
        this->signal.setUpdatingEnabled(true);
        EXPECT_EQ(threadCount(), threads);
        EXPECT_EQ(this->signal.getAverage(), 0.0);
    }
    EXPECT_TRUE(this->updatesAgain());
}
