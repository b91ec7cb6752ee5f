#include <feed.h>

#include <vantrel/handlers/GenericValueHandler.h>

#include <QtCore/QDataStream>
#include <QtCore/QIODevice>

#include <algorithm>
#include <atomic>
#include <thread>
#include <type_traits>
#include <vector>

namespace
{

template <typename Case>
class SignalUnderStress : public testing::Test
{
protected:
    using N = typename Case::N;
    using T = typename Case::T;

    static constexpr int readerCount = 3;
    static constexpr int leastPasses = 200;
    static constexpr auto datatype = dataType(std::is_same_v<N, int> ? 4 : 17);

    void SetUp() override { signal.setDatatype(datatype); }

    /// Runs \a writer round by round in this thread while other threads call \a reader in a loop:
    /// for \a rounds rounds, and longer until every reader has made its passes.
    template <typename Writer, typename Reader>
    void writeWhileReading(int rounds, Writer writer, Reader reader)
    {
        std::atomic<bool> done{false};
        std::atomic<int> readersToGo{readerCount};
        std::vector<std::thread> readers;
        readers.reserve(readerCount);
        for (int i = 0; i < readerCount; ++i) {
            readers.emplace_back([&] {
                for (int pass = 1; !done; ++pass) {
                    reader();
                    readersToGo -= pass == leastPasses;
                }
            });
        }
        for (int round = 0; round < rounds || readersToGo > 0; ++round)
            writer(round);
        done = true;
        for (std::thread& thread : readers)
            thread.join();
    }

    /// Runs every operation that adds or removes values. Between two clears there are eight rounds,
    /// each of which stores at most six records with raw values from 0 to 7 and feeds values from 1
    /// to 22. The first value fed after a clear is 1.
    void ingest(int round)
    {
        const int step = round % 8;
        signal.setNewValue(rawRecord<T>(step));
        signal.setNewValue(rawRecord<T>(0.5 * step), 2, 1);
        signal.appendValues(rawRecords<T>({step, 2.5, 3U}), 2, step);
        signal.setNewValue(rawRecord<T>(qlonglong(step)), 3, 1);
        signal.updateScaledValues(3, step);
        if (step == 7)
            signal.clearValues();
    }

    static bool between(double low, double value, double high)
    {
        return low <= value && value <= high;
    }

    /// Runs operations that are allowed while ingest() runs and records are being scaled.
    void readDuringScaling()
    {
        wrong += signal.getDatatype() != datatype;
        const auto handling = signal.getValueHandling();
        wrong += handling != append && handling != replaceNewest;
        wrong += !between(0, signal.getValueCount(), 48);
        const QVector<T> snapshot = signal.getValues();
        wrong += snapshot.size() > 48;
        for (const T& record : snapshot)
            wrong += !between(0, record.rawValue.toDouble(), 7);
        checkStatistics(signal.calcAverage(), signal.calcDeviation());
        checkStatistics(signal.getAverage(), signal.getDeviation());
        wrong += !between(0, signal.getMax(), 22);
        wrong += !between(0, signal.getMin(), 1);
        // Average and deviation may come from different passes.
        wrong += !between(-10.5, signal.getLowerThreshold(1), 22);
        wrong += !between(0, signal.getUpperThreshold(1), 32.5);
        signal.updateAverageAndDeviation();
        signal.averageChanged = false;
        signal.deviationChanged.exchange(false);
        signal.valuesChanged.exchange(false);
        auto own = rawRecord<T>(5);
        signal.scaleAndAppendValue(own, 2, 1);
        wrong += own.scaledValue.toInt() != 11;
    }

    /// Checks that these are possible for values that ingest() feeds, or for an empty series.
    void checkStatistics(double average, double deviation)
    {
        wrong += average != 0 && !between(1, average, 22);
        wrong += !between(0, deviation, 10.5);
    }

    /// Runs operations that copy records, which are allowed only while no record is being scaled.
    /// All records have the scaled value 50, which lies below the inner half of the limits.
    void readRecords()
    {
        T record;
        if (signal.getValue(0, record))
            wrong += record.scaledValue.toInt() != 50;
        for (const T& deviator : signal.getDeviators(1))
            wrong += deviator.scaledValue.toInt() != 50;
        const int rating = signal.getRating(1, true, 40, 100);
        wrong += rating != 67 && rating != 100; // 100 without an element type or a second record
        readWholeSnapshot();
    }

    /// Uses a snapshot as a host may while no record is being scaled.
    void readWholeSnapshot()
    {
        const QVector<T> snapshot = signal.getValues();
        const double average = GenericValueHandler<N, T>::calcTypeBasedAverage(snapshot);
        wrong += average != (snapshot.isEmpty() ? 0 : 50);
        QByteArray bytes;
        QDataStream writing(&bytes, QIODevice::WriteOnly);
        writing << snapshot;
        QVector<T> restored;
        QDataStream reading(bytes);
        reading >> restored;
        wrong += restored.size() != snapshot.size();
        if constexpr (std::is_same_v<T, CANopenObjectValue>)
            wrong += !(restored == snapshot);
        for (const T& record : restored)
            wrong += record.scaledValue != QVariant(50);
    }

    GenericSignalImpl<T> signal;
    std::atomic<int> wrong{0};
};
using StressCases =
    testing::Types<HandlerCase<int, CANopenObjectValue>, HandlerCase<int, J1939Value>,
                   HandlerCase<double, CANopenObjectValue>, HandlerCase<double, J1939Value>>;
TYPED_TEST_SUITE(SignalUnderStress, StressCases);

/// Updating is switched so often here that one data type must be enough.
template <typename T>
class SignalUnderSwitching : public SignalUnderStress<HandlerCase<int, T>>
{
};
TYPED_TEST_SUITE(SignalUnderSwitching, RecordTypes);

} // namespace

TYPED_TEST(SignalUnderStress, ReadsAreConsistentWhileEveryOperationRunsWithHandlingAppend)
{
    this->signal.setValueHandling(append);
    this->writeWhileReading(
        2000, [this](int round) { this->ingest(round); }, [this] { this->readDuringScaling(); });
    EXPECT_EQ(this->wrong, 0);
}

TYPED_TEST(SignalUnderStress, ReadsAreConsistentWhileEveryOperationRunsWithHandlingReplace)
{
    this->signal.setUpdatingEnabled(true);
    std::thread secondWorker([this] { this->signal.updateCalculations(); });
    this->writeWhileReading(
        2000, [this](int round) { this->ingest(round); },
        [this] {
            this->readDuringScaling();
            const Statistics all = statisticsOf(this->signal);
            this->wrong += all.median != 0 || all.count > 48;
            this->checkStatistics(all.average, all.deviation);
            this->wrong += all.maximum.toDouble() > 22 || all.minimum.toDouble() > 1;
        });
    this->signal.setUpdatingEnabled(false);
    secondWorker.join();
    EXPECT_EQ(this->wrong, 0);
}

TYPED_TEST(SignalUnderStress, UnscaledRecordsCanBeCopiedWhileTheyComeAndGo)
{
    using Record = typename TypeParam::T;
    this->signal.setValueHandling(append);
    this->writeWhileReading(
        10000,
        [this](int round) {
            auto record = scaledRecord<Record>(50);
            record.rawValue = round % 8;
            this->signal.setNewValue(record);
            if (round % 8 == 7)
                this->signal.clearValues();
        },
        [this] {
            this->readDuringScaling();
            this->readRecords();
        });
    EXPECT_EQ(this->wrong, 0);
    this->signal.setNewValue(scaledRecord<Record>(50));
    this->signal.setNewValue(scaledRecord<Record>(50));
    EXPECT_EQ(this->signal.getRating(1, true, 40, 100), 67);
}

TYPED_TEST(SignalUnderStress, OlderRecordsCanBeReadWhileTheNewestIsBeingScaled)
{
    using Record = typename TypeParam::T;
    this->signal.setValueHandling(append);
    const auto storeNext = [this](int raw) {
        this->signal.setNewValue(rawRecord<Record>(raw), 2, 1);
    };
    storeNext(-1000);
    storeNext(1000);
    ASSERT_TRUE(waitForCaches(this->signal));
    this->signal.setUpdatingEnabled(false); // the band stays at 1 +- 2000
    const auto check = [this](int index, const Record& record) {
        const int raw = index < 2 ? 2000 * index - 1000 : index % 100;
        this->wrong += record.rawValue.toInt() != raw;
        this->wrong += record.scaledValue.toInt() != 2 * raw + 1;
    };
    this->writeWhileReading(
        1000, [&](int round) { storeNext((round + 2) % 100); },
        [&] {
            const int newest = this->signal.getValueCount() - 1;
            Record record;
            for (int index = std::max(0, newest - 10); index < newest; ++index) {
                this->wrong += !this->signal.getValue(index, record);
                check(index, record);
            }
            const QVector<Record> snapshot = this->signal.getValues();
            for (int index = std::max(0, static_cast<int>(snapshot.size()) - 50);
                 index < snapshot.size() - 1; ++index)
                check(index, snapshot.at(index));
            const QVector<Record> deviators = this->signal.getDeviators(0.4);
            this->wrong += deviators.size() != 2;
            for (int index = 0; index < deviators.size(); ++index)
                check(index, deviators.at(index));
        });
    EXPECT_EQ(this->wrong, 0);
}

TYPED_TEST(SignalUnderStress, HandlingAndUpdatingCanChangeWhileTheSignalIsRead)
{
    this->writeWhileReading(
        10,
        [this](int round) {
            this->signal.setValueHandling(round % 2 == 0 ? append : replaceNewest);
            this->ingest(2 * round);
            this->signal.setUpdatingEnabled(true);
            this->ingest(2 * round + 1);
        },
        [this] { this->readDuringScaling(); });
    EXPECT_EQ(this->wrong, 0);
}

TYPED_TEST(SignalUnderSwitching, AThousandWorkersCanBeStartedAndStoppedWhileTheSignalIsRead)
{
    // Every fiftieth worker refreshes the average before and after new values; the others hardly
    // start.
    this->writeWhileReading(
        1000,
        [this](int round) {
            this->signal.setUpdatingEnabled(true);
            if (round % 50 == 0 && this->wrong == 0) {
                this->wrong += !waitForCaches(this->signal);
                const double before = this->signal.getAverage();
                this->ingest(round);
                this->wrong += !waitForCaches(this->signal);
                this->wrong += this->signal.getAverage() == before;
                this->signal.setUpdatingEnabled(false);
            } else {
                this->signal.setUpdatingEnabled(false);
                this->ingest(round);
            }
        },
        [this] { this->readDuringScaling(); });
    EXPECT_EQ(this->wrong, 0);
}

TYPED_TEST(SignalUnderStress, TheDatatypeCanChangeWhileRecordsAreRead)
{
    using Record = typename TypeParam::T;
    this->signal.setValueHandling(append);
    this->signal.setUpdatingEnabled(false);
    auto record = scaledRecord<Record>(50);
    record.rawValue = 1; // outside the band of a signal that was not fed
    this->signal.setNewValue(record);
    this->signal.setNewValue(record);
    this->writeWhileReading(
        2000,
        [this](int round) { this->signal.setDatatype(dataType(static_cast<quint32>(round % 28))); },
        [this] {
            this->readRecords();
            this->wrong += this->signal.getDatatype() > dataType(27);
            this->wrong += this->signal.getValueCount() != 2;
            this->wrong += this->signal.getDeviators(1).size() != 2;
            this->wrong += this->signal.getValues().constFirst().scaledValue.toInt() != 50;
        });
    EXPECT_EQ(this->wrong, 0);
    this->signal.setDatatype(this->datatype);
    EXPECT_EQ(this->signal.getRating(1, true, 40, 100), 67);
}

TYPED_TEST(SignalUnderStress, SeveralThreadsCanComputeTheMedianWhileNoThreadWrites)
{
    this->signal.setValueHandling(append);
    feed(this->signal, {1, 2, 30});
    std::vector<std::thread> readers;
    readers.reserve(3);
    for (int i = 0; i < 3; ++i) {
        readers.emplace_back([this] {
            for (int pass = 0; pass < 500; ++pass) {
                this->wrong += this->signal.calcMedian() != 2;
                this->wrong += statisticsOf(this->signal).median != 2;
            }
        });
    }
    for (std::thread& reader : readers)
        reader.join();
    EXPECT_EQ(this->wrong, 0);
}
