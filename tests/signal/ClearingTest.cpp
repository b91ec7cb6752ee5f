#include "../threads/hiddenFunction.h"
#include <feed.h>

#include <QtCore/QFile>
#include <QtCore/QReadWriteLock>

#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <functional>
#include <thread>
#include <utility>
#include <vector>

namespace
{

/// A raw value that makes a call when it is destroyed.
struct DestructionCall {
    ~DestructionCall()
    {
        if (const auto call = std::exchange(atDestruction, nullptr))
            call();
    }

    static inline std::function<void()> atDestruction;
};

/// Hooks that are called once: before this thread next takes a lock for writing, and after it next
/// releases a lock.
thread_local const std::function<void()>*beforeWriteLock = nullptr, *afterUnlock = nullptr;

void callOnce(const std::function<void()>*& hook)
{
    if (const auto* call = std::exchange(hook, nullptr))
        (*call)();
}

/// Whether the thread of this process with the number \a id is sleeping.
bool isAsleep(long id)
{
    QFile file(QStringLiteral("/proc/self/task/%1/stat").arg(id));
    if (!file.open(QIODevice::ReadOnly))
        return false;
    const QByteArray status = file.readAll();
    return status.mid(status.lastIndexOf(')')).startsWith(") S");
}

template <typename T>
class SignalClearing : public testing::Test
{
protected:
    /// The number of records, as reported for the series and with the statistics, and the
    /// statistics.
    std::vector<double> state() const
    {
        const Statistics all = statisticsOf(signal);
        return {double(signal.getValueCount()), double(all.count),     all.average, all.deviation,
                all.maximum.toDouble(),         all.minimum.toDouble()};
    }

    GenericSignalImpl<T> signal;
};
TYPED_TEST_SUITE(SignalClearing, RecordTypes);

} // namespace

Q_DECLARE_METATYPE(DestructionCall)

// These override QtCore's functions.

void QReadWriteLock::lockForWrite()
{
    static const auto hidden =
        hiddenFunction<void(QReadWriteLock*)>("_ZN14QReadWriteLock12lockForWriteEv");
    callOnce(beforeWriteLock);
    hidden(this);
}

void QReadWriteLock::unlock()
{
    static const auto hidden =
        hiddenFunction<void(QReadWriteLock*)>("_ZN14QReadWriteLock6unlockEv");
    hidden(this);
    callOnce(afterUnlock);
}

TYPED_TEST(SignalClearing, ChangesTheSignalOnlyWhileItHoldsTheWriteLock)
{
    this->signal.setDatatype(dataType(4));
    this->signal.appendValues(rawRecords<TypeParam>({1, 2, 3}), 1, 0);
    feed(this->signal, {4, 10}); // replaces the 3, then the 4
    std::vector<double> before, after;
    const std::function<void()> lookAfterwards = [&] { after = this->state(); };
    const std::function<void()> lookBefore = [&] {
        before = this->state();
        afterUnlock = &lookAfterwards;
    };
    beforeWriteLock = &lookBefore;
    this->signal.clearValues();
    EXPECT_EQ(before, (std::vector<double>{3, 3, 7, 3, 10, 4}));
    EXPECT_EQ(after, (std::vector<double>{0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(std::exchange(beforeWriteLock, nullptr), nullptr) << "no write lock was taken";
}

TYPED_TEST(SignalClearing, ARatingThatWaitsForItSeesAnEmptySeries)
{
    this->signal.setDatatype(dataType(4));
    this->signal.setValueHandling(append);
    for (int i = 0; i < 2; ++i)
        this->signal.setNewValue(rawRecord<TypeParam>(QVariant::fromValue(DestructionCall())));
    EXPECT_EQ(this->signal.getRating(1, true, 50, 60), 0);
    std::thread reader;
    std::atomic<long> readerId{0};
    int rating = -1;
    // At this point the records are still counted, and the write lock is held.
    DestructionCall::atDestruction = [&] {
        reader = std::thread([&] {
            readerId = syscall(SYS_gettid);
            rating = this->signal.getRating(1, true, 50, 60);
        });
        EXPECT_TRUE(waitUntil([&] { return isAsleep(readerId); }));
    };
    this->signal.clearValues();
    reader.join();
    EXPECT_EQ(rating, 100);
}

template <typename T>
class SignalStoring : public SignalClearing<T>
{
};
TYPED_TEST_SUITE(SignalStoring, RecordTypes);

TYPED_TEST(SignalStoring, ASnapshotTakenBeforeTheNewestRecordIsScaledNeverHoldsItsScaledValue)
{
    this->signal.setDatatype(dataType(4));
    QVector<TypeParam> snapshot;
    const std::function<void()> takeSnapshot = [&] { snapshot = this->signal.getValues(); };
    afterUnlock = &takeSnapshot;
    EXPECT_TRUE(this->signal.setNewValue(rawRecord<TypeParam>(5), 2, 1));
    ASSERT_EQ(snapshot.size(), 1);
    EXPECT_EQ(snapshot.constLast().rawValue, QVariant(5));
    EXPECT_FALSE(snapshot.constLast().scaledValue.isValid());
    EXPECT_EQ(this->signal.getValues().constLast().scaledValue, QVariant(11));
}
