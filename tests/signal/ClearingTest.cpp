#include <feed.h>

#include <QtCore/QFile>

#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <functional>
#include <thread>
#include <utility>

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
    GenericSignalImpl<T> signal;
};
TYPED_TEST_SUITE(SignalClearing, RecordTypes);

} // namespace

Q_DECLARE_METATYPE(LastWords)

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
