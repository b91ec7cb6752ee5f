#include <feed.h>
#include <sanitizers.h>

#include <QtCore/QFile>
#include <QtCore/QThreadPool>

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace
{

constexpr int signalCount = 100;
constexpr int period = 50; ///< the raw values are 0 to 49 over and over

/// A data type for every element type.
constexpr quint32 codes[] = {2, 3, 4, 5, 6, 7, 8, 17, 21, 27};
constexpr int typeCount = std::size(codes);

/// How many values go through all signals together, SOAK_VALUES if that is more.
const int values = std::max(2000000, qEnvironmentVariableIntValue("SOAK_VALUES"));

/// Values of a series until it is cleared: every signal holds every one four times at least.
const int lifeLength = std::min(10000, values / (signalCount * typeCount * 4) / period * period);
const int lives = values / (signalCount * lifeLength);

/// Memory is compared from here on: every signal has held every element type.
constexpr int warmUp = typeCount;

#if ADDRESS_SANITIZER
constexpr bool freedMemoryReturns = false; ///< AddressSanitizer keeps it for a while
#else
constexpr bool freedMemoryReturns = true;
#endif

qint64 residentBytes()
{
    QFile file(QStringLiteral("/proc/self/statm"));
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    return file.readAll().split(' ').at(1).toLongLong() * sysconf(_SC_PAGESIZE);
}

template <typename T>
class Soak : public testing::Test
{
protected:
    /// Side by side: one after the other would wait a refresh period for each.
    static void stopUpdating(std::vector<GenericSignalImpl<T>>& all)
    {
        QThreadPool pool;
        pool.setMaxThreadCount(signalCount);
        for (auto& signal : all)
            pool.start([&signal] { signal.setUpdatingEnabled(false); });
    }

    /// A series from the first value to the last, with a snapshot in the middle. Updating must be
    /// off, and is on from the first value on.
    static void live(GenericSignalImpl<T>& signal, int number)
    {
        signal.clearValues();
        signal.setDatatype(dataType(codes[static_cast<std::size_t>(number % typeCount)]));
        signal.setUpdatingEnabled(true);
        QVector<T> snapshot;
        for (int i = 0; i < lifeLength; ++i) {
            ASSERT_TRUE(signal.setNewValue(rawRecord<T>(i % period), 2, 1));
            if (i == lifeLength / 2)
                snapshot = signal.getValues();
        }
        ASSERT_EQ(snapshot.size(), lifeLength / 2 + 1);
        ASSERT_EQ(snapshot.constLast().scaledValue.toInt(), lifeLength / 2 % period * 2 + 1);
    }

    static void expectExactFigures(const GenericSignalImpl<T>& signal)
    {
        const Statistics statistics = statisticsOf(signal);
        EXPECT_EQ(statistics.count, static_cast<unsigned int>(lifeLength));
        EXPECT_EQ(statistics.average, period);
        // Twice that of the whole numbers below the period, to one unit in the last place.
        const double deviation = 2 * std::sqrt((period * period - 1) / 12.0);
        EXPECT_GE(statistics.deviation, std::nextafter(deviation, 0));
        EXPECT_LE(statistics.deviation, std::nextafter(deviation, period));
        EXPECT_EQ(statistics.minimum, QVariant(1.0));
        EXPECT_EQ(statistics.maximum, QVariant(2.0 * period - 1));
        EXPECT_EQ(statistics.median, period);
    }
};
TYPED_TEST_SUITE(Soak, RecordTypes);

} // namespace

TYPED_TEST(Soak, ManySignalsClearedAndFilledAgainStayExactAndTakeNoMoreMemory)
{
    std::vector<GenericSignalImpl<TypeParam>> all(signalCount);
    for (auto& signal : all)
        signal.setValueHandling(append);
    qint64 warm = 0;
    for (int life = 0; life < lives; ++life) {
        SCOPED_TRACE(life);
        this->stopUpdating(all);
        for (int number = 0; number < signalCount; ++number)
            this->live(all[static_cast<std::size_t>(number)], life + number);
        for (const auto& signal : all)
            this->expectExactFigures(signal);
        if (life == warmUp)
            warm = residentBytes();
        if (this->HasFailure())
            return;
    }
    for (const auto& signal : all)
        EXPECT_TRUE(waitForCaches(signal));
    if (freedMemoryReturns) {
        const qint64 resident = residentBytes();
        std::cout << "resident: " << warm / 1024 << " KB warm, " << resident / 1024
                  << " KB at the end\n";
        constexpr qint64 slack = 2 << 20; // a fraction of what has been cleared
        EXPECT_LE(resident, warm + slack);
    }
}
