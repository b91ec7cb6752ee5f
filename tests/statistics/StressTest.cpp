#include "Reference.h"

#include "sequenceLock.h"
#include <sanitizers.h>
#include <statistics/StatisticCalculator.h>
#include <waitUntil.h>

#include <array>
#include <atomic>
#include <thread>

namespace
{

// Sanitizers slow down every access a lot, but need fewer values to find a fault.
#if defined(__SANITIZE_THREAD__) || ADDRESS_SANITIZER || !defined(NDEBUG)
constexpr int usualValueCount = 300000;
#else
constexpr int usualValueCount = 10000000;
#endif
/// STATISTICS_STRESS_VALUES sets another number, such as the full one under a sanitizer.
const int valueCount = qEnvironmentVariableIntValue("STATISTICS_STRESS_VALUES") > 0
                           ? qEnvironmentVariableIntValue("STATISTICS_STRESS_VALUES")
                           : usualValueCount;
constexpr int roundLength = 100;

/// Runs \a write once in this thread while two other threads call \a read in a loop.
template <typename Write, typename Read>
void readWhile(Write write, Read read)
{
    std::atomic<bool> done{false};
    std::atomic<int> ready{0};
    std::array<std::thread, 2> readers;
    for (std::thread& reader : readers) {
        reader = std::thread([&] {
            ++ready;
            while (!done.load())
                read();
        });
    }
    while (ready.load() < 2)
        std::this_thread::yield();
    write();
    done.store(true);
    for (std::thread& reader : readers)
        reader.join();
}

/// The writer adds a base plus 0, 1, 2, ... steps, and clears after each round; the base changes
/// with every round. So every mean is a base plus a multiple of half a step, and every deviation is
/// that of equidistant values.
template <typename N>
class Stress : public testing::Test
{
protected:
    /// Whether values are so large that the sums use all of their words.
    static constexpr bool large = sizeof(N) == 8 && std::is_integral_v<N>;
    static constexpr N step = static_cast<N>(large ? 1LL << 55 : 1);
    static constexpr N otherBase = static_cast<N>(sizeof(N) == 1 || large ? 27 * step
                                                  : sizeof(N) == 2        ? 20000
                                                                          : 3000000);
    StatisticCalculator<N> calculator{16};
    std::atomic<int> failures{0};
    std::atomic<int> differentAnswers{0};

    void write()
    {
        for (int i = 0; i < valueCount; ++i) {
            const int index = i % roundLength;
            if (index == 0)
                calculator.clear();
            const N base = i / roundLength % 2 == 0 ? N(0) : otherBase;
            calculator.addValue(static_cast<N>(base + static_cast<N>(index) * step));
        }
    }

    void require(bool condition)
    {
        if (!condition)
            ++failures;
    }

    void checkAverage()
    {
        const double mean = calculator.getAverage() / static_cast<double>(step);
        const double other = static_cast<double>(otherBase) / static_cast<double>(step);
        const double halves = 2 * (mean < other ? mean : mean - other);
        require(halves == std::floor(halves) && halves >= 0 && halves < roundLength + 2 * other);
        if (mean >= other)
            require(halves < roundLength);
        differentAnswers += halves > 0 ? 1 : 0;
    }

    void checkDeviation()
    {
        const double deviation = calculator.getDeviation() / static_cast<double>(step);
        const double count = std::round(std::sqrt(12 * deviation * deviation + 1));
        require(count <= roundLength &&
                ulpsBetween(deviation, std::sqrt((count * count - 1) / 12)) <= 2);
    }

    void checkExtremes()
    {
        const N maximum = calculator.getMaximum(), minimum = calculator.getMinimum();
        require(minimum == N(0) || minimum == otherBase);
        require(maximum <= otherBase + (roundLength - 1) * step);
    }

    void checkLog()
    {
        const QList<N> values = calculator.getLoggedValues();
        require(values.size() <= 16);
        for (int i = 1; i < values.size(); ++i)
            require(values[i] == values[i - 1] + step);
    }
};
TYPED_TEST_SUITE(Stress, ElementTypes, ElementTypeName);

} // namespace

TYPED_TEST(Stress, EveryResultBelongsToOneMomentWhileAWriterAddsAndClears)
{
    bool readersSawChanges = false;
    const auto write = [&] {
        readersSawChanges = waitUntil([this] { // they may not get to read at once
            this->write();
            return this->differentAnswers.load() > 0;
        });
    };
    readWhile(write, [this] {
        this->checkAverage();
        this->checkDeviation();
        this->checkExtremes();
    });
    EXPECT_EQ(this->failures.load(), 0);
    EXPECT_TRUE(readersSawChanges);
}

TYPED_TEST(Stress, ReadersSeeAClearAllAtOnce)
{
    const auto write = [this] {
        for (int i = 0; i < valueCount / 2; ++i) {
            this->calculator.addValue(TypeParam(0));
            this->calculator.addValue(TypeParam(2));
            this->calculator.clear();
        }
    };
    readWhile(write, [this] {
        const double deviation = this->calculator.getDeviation();
        this->require(deviation == 0 || deviation == 1);
    });
    EXPECT_EQ(this->failures.load(), 0);
}

TYPED_TEST(Stress, ALogIsConsistentWhileAWriterAddsAndClears)
{
    this->calculator.setLogValues(true);
    readWhile([this] { this->write(); }, [this] { this->checkLog(); });
    EXPECT_EQ(this->failures.load(), 0);
}

TEST(SequenceLock, AReaderSeesAllWordsOfOneChange)
{
    std::atomic<quint64> sequence{0};
    std::array<std::atomic<quint64>, 16> words{};
    std::atomic<int> mixtures{0};
    const auto write = [&] {
        for (quint64 i = 1; i <= static_cast<quint64>(valueCount); ++i) {
            const SequenceWriter writer(sequence);
            for (auto& word : words)
                SequenceWriter::store(word, i);
        }
    };
    const auto read = [&] {
        std::array<quint64, 16> copy{};
        readBetweenChanges(sequence, [&] {
            for (std::size_t i = 0; i < copy.size(); ++i)
                copy[i] = words[i].load(std::memory_order_acquire);
        });
        for (quint64 word : copy)
            mixtures += word == copy[0] ? 0 : 1;
    };
    readWhile(write, read);
    EXPECT_EQ(mixtures.load(), 0);
}
