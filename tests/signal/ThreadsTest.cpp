#include <Counted.h>
#include <feed.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <thread>
#include <utility>
#include <vector>

/// A raw value whose conversion makes a call, so that a test can act in the middle of scaling or
/// reading.
struct Interruption {
    static inline std::function<void()> during;
};
Q_DECLARE_METATYPE(Interruption)

namespace
{

template <typename T>
T interruptedRecord(std::function<void()> during)
{
    const auto convert = [](const Interruption&) {
        if (const auto call = std::exchange(Interruption::during, nullptr))
            call();
        return 1;
    };
    if (!QMetaType::hasRegisteredConverterFunction<Interruption, int>()) {
        QMetaType::registerConverter<Interruption, int>(convert);
        QMetaType::registerConverter<Interruption, double>(convert);
    }
    Interruption::during = std::move(during);
    return rawRecord<T>(QVariant::fromValue(Interruption()));
}

template <typename T>
class SignalThreads : public testing::Test
{
protected:
    void SetUp() override
    {
        signal.setDatatype(dataType(4));
        signal.setValueHandling(append);
    }

    /// Runs \a writer in this thread while two other threads call \a reader in a loop.
    template <typename Writer, typename Reader>
    void whileReading(Writer writer, Reader reader)
    {
        std::atomic<bool> done{false};
        std::atomic<int> reading{0};
        std::vector<std::thread> readers;
        for (int i = 0; i < 2; ++i) {
            readers.emplace_back([&, reader]() mutable {
                ++reading;
                while (!done)
                    reader();
            });
        }
        while (reading < 2)
            std::this_thread::yield();
        writer();
        done = true;
        for (std::thread& thread : readers)
            thread.join();
    }

    GenericSignalImpl<T> signal;
};
TYPED_TEST_SUITE(SignalThreads, RecordTypes);

constexpr int rounds = 3000;

} // namespace

// In debug builds, QVector's assertions and AddressSanitizer check that storage is not replaced
// while a reader copies it.

TYPED_TEST(SignalThreads, SnapshotsTakenWhileValuesArriveAreConsistent)
{
    std::atomic<int> broken{0};
    this->whileReading(
        [&] {
            for (int i = 0; i < rounds; ++i)
                feed(this->signal, {i});
        },
        [&] {
            const QVector<TypeParam> snapshot = this->signal.getValues();
            for (int i = 0; i < snapshot.size(); ++i)
                broken += snapshot.at(i).rawValue.toInt() != i;
        });
    EXPECT_EQ(broken, 0);
    EXPECT_EQ(this->signal.getValueCount(), rounds);
    EXPECT_EQ(this->signal.calcAverage(), (rounds - 1) / 2.0);
}

TYPED_TEST(SignalThreads, StorageIsNeverReplacedWhileAReaderCopiesIt)
{
    // With a short series, storage is unshared and replaced as often as possible.
    this->signal.setValueHandling(replaceNewest);
    feed(this->signal, {1});
    std::atomic<int> broken{0};
    this->whileReading(
        [&] {
            for (int i = 0; i < 200000; ++i) {
                this->signal.updateScaledValues(1, 0);
                this->signal.appendValues({}, 1, 0);
                feed(this->signal, {1});
            }
        },
        [&] { broken += this->signal.getValues().size() != 1; });
    EXPECT_EQ(broken, 0);
}

TYPED_TEST(SignalThreads, HeldSnapshotsMakeARescaleCopyEveryRecordOnlyOnce)
{
    constexpr int length = 4000;
    const auto record = rawRecord<TypeParam>(QVariant::fromValue(Counted()));
    this->signal.appendValues(QVector<TypeParam>(length, record), 1, 0);
    const auto copiesOfARescale = [this] {
        const int before = Counted::copies;
        this->signal.updateScaledValues(1, 0);
        return Counted::copies - before;
    };
    const int alone = copiesOfARescale(); // reading a raw value copies it too
    int most = 0;
    this->whileReading(
        [&] {
            for (int i = 0; i < 300 || most == alone; ++i)
                most = std::max(most, copiesOfARescale());
        },
        [held = QVector<TypeParam>(), this]() mutable { held = this->signal.getValues(); });
    EXPECT_GE(most, alone + length); // a snapshot was held at least once
    EXPECT_LE(most, alone + length);
}

TYPED_TEST(SignalThreads, SnapshotsHeldWhileTheSeriesIsRescaledAndExtendedAreConsistent)
{
    std::atomic<int> broken{0};
    this->whileReading(
        [&] {
            for (int i = 0; i < rounds / 10; ++i) {
                this->signal.appendValues(rawRecords<TypeParam>({2 * i, 2 * i + 1}), 1, i);
                this->signal.updateScaledValues(2, i);
            }
        },
        [&] {
            const QVector<TypeParam> snapshot = this->signal.getValues();
            broken += snapshot.size() % 2 != 0;
            for (int i = 0; i < snapshot.size(); ++i)
                broken += snapshot.at(i).rawValue.toInt() != i;
        });
    EXPECT_EQ(broken, 0);
}

TYPED_TEST(SignalThreads, ReadersSurviveClearingAndRefilling)
{
    std::atomic<int> broken{0};
    this->whileReading(
        [&] {
            for (int i = 0; i < rounds; ++i) {
                if (i % 7 == 6)
                    this->signal.clearValues();
                feed(this->signal, {5});
            }
        },
        [&] {
            const QVector<TypeParam> snapshot = this->signal.getValues();
            for (const TypeParam& record : snapshot)
                broken += record.rawValue.toInt() != 5;
            const int count = this->signal.getValueCount();
            broken += count < 0 || count > 7;
            const double average = this->signal.calcAverage();
            broken += average != 0.0 && average != 5.0;
            broken += this->signal.calcDeviation() != 0.0;
        });
    EXPECT_EQ(broken, 0);
}

TYPED_TEST(SignalThreads, RatingsAndThresholdsAreCorrectWhileUnscaledValuesComeAndGo)
{
    feed(this->signal, {40, 60});
    ASSERT_TRUE(waitForCaches(this->signal));
    this->signal.setUpdatingEnabled(false); // the band stays at 50 +- 10
    auto ordinary = scaledRecord<TypeParam>(50);
    ordinary.rawValue = 50;
    auto deviating = ordinary;
    deviating.rawValue = 80;
    this->signal.clearValues();
    std::atomic<int> broken{0};
    std::atomic<int> rated{0};
    std::atomic<int> listed{0};
    this->whileReading(
        [&] {
            const auto sawAll = [&] { return rated > 0 && listed > 0; };
            for (int i = 0; i < rounds || (!sawAll() && broken == 0); ++i) {
                if (i % 5 == 4)
                    this->signal.clearValues();
                this->signal.setNewValue(i % 2 == 0 ? ordinary : deviating);
            }
        },
        [&] {
            // 50 lies below the inner half of the limits; fewer than two records are rated 100.
            const int rating = this->signal.getRating(1, true, 40, 100);
            broken += rating != 67 && rating != 100;
            rated += rating == 67;
            const QVector<TypeParam> deviators = this->signal.getDeviators(1);
            broken += deviators.size() > 3; // of the five between two clears
            for (const TypeParam& deviator : deviators)
                broken += deviator.rawValue.toInt() != 80;
            listed += !deviators.isEmpty();
            TypeParam record;
            if (this->signal.getValue(0, record))
                broken += record.scaledValue.toInt() != 50;
            broken += this->signal.getLowerThreshold(2) != 30;
            broken += this->signal.getUpperThreshold(2) != 70;
        });
    EXPECT_EQ(broken, 0);
}

TYPED_TEST(SignalThreads, ARescaleBlocksWritersButNotReaders)
{
    using namespace std::chrono_literals;
    QVector<TypeParam> snapshot;
    for (const bool shared : {false, true}) {
        std::future<int> reader;
        std::future<bool> writer;
        this->signal.setValueHandling(append);
        this->signal.setNewValue(interruptedRecord<TypeParam>([&] {
            reader = std::async(std::launch::async, [&] { return this->signal.getValueCount(); });
            EXPECT_EQ(reader.wait_for(30s), std::future_status::ready);
            // Will be rejected, but only once it has the write lock.
            writer = std::async(std::launch::async,
                                [&] { return this->signal.setNewValue(TypeParam()); });
            EXPECT_EQ(writer.wait_for(100ms), std::future_status::timeout);
        }));
        this->signal.setValueHandling(reject);
        if (shared)
            snapshot = this->signal.getValues();
        this->signal.updateScaledValues(1, 0);
        ASSERT_TRUE(writer.valid());
        EXPECT_FALSE(writer.get());
    }
}

TYPED_TEST(SignalThreads, ARescaleDoesNotWaitForReadersUnlessASnapshotSharesTheSeries)
{
    std::promise<void> reading, rescaled;
    const auto interrupted = interruptedRecord<TypeParam>([&] {
        reading.set_value();
        EXPECT_EQ(rescaled.get_future().wait_for(std::chrono::seconds(30)),
                  std::future_status::ready);
    });
    EXPECT_TRUE(this->signal.setNewValue(interrupted));
    const auto reader =
        std::async(std::launch::async, [&] { return this->signal.getDeviators(1).size(); });
    // The reader is in the middle of the series and holds the read lock.
    ASSERT_EQ(reading.get_future().wait_for(std::chrono::seconds(30)), std::future_status::ready);
    this->signal.updateScaledValues(1, 0);
    rescaled.set_value();
}

TYPED_TEST(SignalThreads, ANewValueIsScaledWithoutALock)
{
    std::future<bool> writer;
    const auto interrupted = interruptedRecord<TypeParam>([&] {
        this->signal.setValueHandling(reject);
        writer =
            std::async(std::launch::async, [&] { return this->signal.setNewValue(TypeParam()); });
        EXPECT_EQ(writer.wait_for(std::chrono::seconds(30)), std::future_status::ready);
    });
    EXPECT_TRUE(this->signal.setNewValue(interrupted, 1, 0));
    ASSERT_TRUE(writer.valid());
    EXPECT_FALSE(writer.get());
}

TYPED_TEST(SignalThreads, FlagsResetWhileAValueIsScaledAreSetAgain)
{
    const auto interrupted =
        interruptedRecord<TypeParam>([this] { setFlags(this->signal, false); });
    EXPECT_TRUE(this->signal.setNewValue(interrupted, 1, 0));
    EXPECT_FALSE(Interruption::during); // the call was made
    expectFlags(this->signal, true, true, true);
}

TYPED_TEST(SignalThreads, FlagsCanBeReadAndResetFromAnyThread)
{
    std::atomic<int> seen{0};
    this->whileReading(
        [&] {
            for (int i = 0; i < rounds || seen == 0; ++i)
                this->signal.setNewValue(rawRecord<TypeParam>(i));
        },
        [&] { seen += this->signal.valuesChanged.exchange(false); });
    EXPECT_GT(seen, 0);
}

TYPED_TEST(SignalThreads, TheNewestRecordCanBeSeenBeforeItIsScaled)
{
    this->signal.setNewValue(rawRecord<TypeParam>(5), 2, 1);
    TypeParam older, newest;
    const auto interrupted = interruptedRecord<TypeParam>([&] {
        EXPECT_EQ(this->signal.getValueCount(), 2);
        EXPECT_TRUE(this->signal.getValue(0, older));
        EXPECT_TRUE(this->signal.getValue(1, newest));
        EXPECT_FALSE(this->signal.getValues().constLast().scaledValue.isValid());
    });
    EXPECT_TRUE(this->signal.setNewValue(interrupted, 2, 1));
    EXPECT_EQ(older.scaledValue, QVariant(11));
    EXPECT_FALSE(newest.scaledValue.isValid());
    EXPECT_TRUE(this->signal.getValue(1, newest));
    EXPECT_EQ(newest.scaledValue, QVariant(3));
}

TYPED_TEST(SignalThreads, RecordsThatAreScaledBeforeTheyAreStoredAreAlwaysSeenScaled)
{
    std::atomic<int> broken{0};
    std::atomic<int> seen{0};
    const auto isScaled = [](const TypeParam& record) {
        return record.scaledValue == QVariant(2 * record.rawValue.toInt() + 1);
    };
    this->whileReading(
        [&] {
            for (int i = 0; i < rounds || (seen == 0 && broken == 0); ++i) {
                if (i % 500 == 499)
                    this->signal.clearValues();
                auto record = rawRecord<TypeParam>(i);
                this->signal.scaleAndAppendValue(record, 2, 1);
                this->signal.setNewValue(record);
            }
        },
        [&] {
            TypeParam record;
            if (this->signal.getValue(std::max(0, this->signal.getValueCount() - 1), record)) {
                broken += !isScaled(record);
                ++seen;
            }
            const QVector<TypeParam> snapshot = this->signal.getValues();
            broken += !std::all_of(snapshot.begin(), snapshot.end(), isScaled);
        });
    EXPECT_EQ(broken, 0);
    EXPECT_GT(seen, 0);
}

TYPED_TEST(SignalThreads, OperationsThatNeedNoCalculatorCanRunWhileTheDatatypeChanges)
{
    feed(this->signal, {8, 12});
    ASSERT_TRUE(waitForCaches(this->signal));
    this->signal.setUpdatingEnabled(false);
    std::atomic<int> broken{0};
    this->whileReading(
        [&] {
            for (int i = 0; i < rounds; ++i)
                this->signal.setDatatype(dataType(static_cast<quint32>(i % 28)));
        },
        [&] {
            broken += this->signal.getAverage() != 10 || this->signal.getDeviation() != 2;
            broken += this->signal.getLowerThreshold(1) != 8;
            broken += this->signal.getUpperThreshold(1) != 12;
            broken += this->signal.getValueHandling() != append;
            auto own = rawRecord<TypeParam>(5);
            this->signal.scaleAndAppendValue(own, 1, 0);
            broken += own.scaledValue.toInt() != 5;
        });
    EXPECT_EQ(broken, 0);
}
