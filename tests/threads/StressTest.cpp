#include <feed.h>

#include <atomic>
#include <thread>
#include <vector>

namespace
{

template <typename T>
class SignalUnderStress : public testing::Test
{
protected:
    static constexpr int readerCount = 3;
    static constexpr int leastPasses = 200;

    void SetUp() override { signal.setDatatype(dataType(4)); }

    /// Runs \a reader over and over in threads of its own while \a writer runs round by round in
    /// this one: \a rounds, and more until every reader has made its passes.
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

    /// Every operation that brings values in or takes them out.
    void ingest(int round)
    {
        signal.setNewValue(rawRecord<T>(round));
        signal.setNewValue(rawRecord<T>(0.5 * round), 2, 1);
        signal.appendValues(rawRecords<T>({round, 2.5, 3U}), 2, round);
        signal.setNewValue(rawRecord<T>(qlonglong(round)), 3, 1);
        signal.updateScaledValues(3, round);
        if (round % 8 == 7)
            signal.clearValues();
    }

    /// What may be asked while records are being scaled.
    void readBesideScaling()
    {
        signal.getDatatype();
        signal.getValueHandling();
        wrong += signal.getValueCount() < 0;
        const QVector<T> snapshot = signal.getValues();
        for (const T& record : snapshot)
            wrong += QVariant(record.rawValue).toDouble() < 0;
        wrong += signal.getLowerThreshold(1) > signal.getUpperThreshold(1);
        wrong += signal.calcDeviation() < 0 || signal.getDeviation() < 0;
        wrong += signal.calcAverage() < 0 || signal.getAverage() < 0;
        wrong += signal.getMax() < 0 || signal.getMin() < 0;
        signal.updateAverageAndDeviation();
        signal.averageChanged = false;
        signal.deviationChanged.exchange(false);
        signal.valuesChanged.exchange(false);
    }

    /// What copies records, and so may be asked while none is being scaled.
    void readRecords()
    {
        T record;
        if (signal.getValue(0, record))
            wrong += record.scaledValue.toInt() != 50;
        for (const T& deviator : signal.getDeviators(1))
            wrong += deviator.scaledValue.toInt() != 50;
        const int rating = signal.getRating(1, true, 0, 100);
        wrong += rating != 100;
    }

    GenericSignalImpl<T> signal;
    std::atomic<int> wrong{0};
};
TYPED_TEST_SUITE(SignalUnderStress, RecordTypes);

} // namespace

TYPED_TEST(SignalUnderStress, ValuesAppendedByEveryOperationAreReadMeanwhile)
{
    this->signal.setValueHandling(append);
    this->writeWhileReading(
        2000, [this](int round) { this->ingest(round); }, [this] { this->readBesideScaling(); });
    EXPECT_EQ(this->wrong, 0);
}

TYPED_TEST(SignalUnderStress, ValuesReplacedByEveryOperationAreReadMeanwhile)
{
    this->signal.setUpdatingEnabled(true);
    this->writeWhileReading(
        2000, [this](int round) { this->ingest(round); },
        [this] {
            this->readBesideScaling();
            const Statistics all = statisticsOf(this->signal);
            this->wrong += all.median != 0;
        });
    EXPECT_EQ(this->wrong, 0);
}

TYPED_TEST(SignalUnderStress, UnscaledRecordsAreCopiedWhileTheyComeAndGo)
{
    this->signal.setValueHandling(append);
    this->writeWhileReading(
        10000,
        [this](int round) {
            auto record = scaledRecord<TypeParam>(50);
            record.rawValue = round;
            this->signal.setNewValue(record);
            if (round % 8 == 7)
                this->signal.clearValues();
        },
        [this] {
            this->readBesideScaling();
            this->readRecords();
        });
    EXPECT_EQ(this->wrong, 0);
}

TYPED_TEST(SignalUnderStress, HandlingAndUpdatingChangeWhileTheSignalIsRead)
{
    this->writeWhileReading(
        10,
        [this](int round) {
            this->signal.setValueHandling(round % 2 == 0 ? append : replaceNewest);
            this->ingest(round);
            this->signal.setUpdatingEnabled(true);
            this->ingest(round);
        },
        [this] { this->readBesideScaling(); });
    EXPECT_EQ(this->wrong, 0);
}

TYPED_TEST(SignalUnderStress, TheDatatypeChangesWhileRecordsAreRead)
{
    this->signal.setNewValue(scaledRecord<TypeParam>(50));
    this->writeWhileReading(
        2000,
        [this](int round) { this->signal.setDatatype(dataType(static_cast<quint32>(round % 28))); },
        [this] {
            this->readRecords();
            this->wrong += this->signal.getDatatype() > dataType(27);
            this->wrong += this->signal.getValueCount() != 1;
            this->wrong += this->signal.getValues().constFirst().scaledValue.toInt() != 50;
        });
    EXPECT_EQ(this->wrong, 0);
}

TYPED_TEST(SignalUnderStress, TheMedianIsAskedFromSeveralThreadsWhileNobodyWrites)
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
