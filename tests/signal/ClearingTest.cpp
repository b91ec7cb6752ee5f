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

/// A raw value that can do something when it is destroyed.
struct LastWords {
    ~LastWords()
    {
        if (const auto speak = std::exchange(atDestruction, nullptr))
            speak();
    }

    static inline std::function<void()> atDestruction;
};

/// What this thread does the next time it is about to take a lock for writing, and the next time it
/// has released a lock.
thread_local const std::function<void()>*beforeWriteLock = nullptr, *afterUnlock = nullptr;

void callOnce(const std::function<void()>*& hook)
{
    if (const auto* call = std::exchange(hook, nullptr))
        (*call)();
}

/// Whether the thread of this process with the number \a id waits for something.
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
    /// The number of records as readers of the series and of the statistics see it, and the
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

Q_DECLARE_METATYPE(LastWords)

// Found before QtCore's.

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

TYPED_TEST(SignalClearing, ChangesNothingBeforeItHasTheWriteLockAndNothingAfterReleasingIt)
{
    this->signal.setDatatype(dataType(4));
    this->signal.appendValues(rawRecords<TypeParam>({1, 2, 3}), 1, 0);
    feed(this->signal, {4, 10}); // in the place of the 3, then of the 4
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

TYPED_TEST(SignalClearing, ARatingThatWaitsForItFindsNothingToRate)
{
    this->signal.setDatatype(dataType(4));
    this->signal.setValueHandling(append);
    for (int i = 0; i < 2; ++i)
        this->signal.setNewValue(rawRecord<TypeParam>(QVariant::fromValue(LastWords())));
    EXPECT_EQ(this->signal.getRating(1, true, 50, 60), 0);
    std::thread reader;
    std::atomic<long> readerId{0};
    int rating = -1;
    // The records are counted still, and locked.
    LastWords::atDestruction = [&] {
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
