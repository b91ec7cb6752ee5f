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
constexpr int period = 50; ///< the raw values repeat 0 to 49

/// One data type for each element type.
constexpr quint32 codes[] = {2, 3, 4, 5, 6, 7, 8, 17, 21, 27};
constexpr int typeCount = std::size(codes);

/// The number of values fed to all signals together. SOAK_VALUES can raise it.
const int values = std::max(2000000, qEnvironmentVariableIntValue("SOAK_VALUES"));

/// The number of values in a series before it is cleared. Every signal holds each element type at
/// least four times.
const int lifeLength = std::min(10000, values / (signalCount * typeCount * 4) / period * period);
const int lives = values / (signalCount * lifeLength);

/// Memory is first measured at the end of this life, counted from 0: by then, every signal has held
/// every element type.
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
    /// In parallel: one after another, each could take a refresh period.
    static void stopUpdating(std::vector<GenericSignalImpl<T>>& all)
    {
        QThreadPool pool;
        pool.setMaxThreadCount(signalCount);
        for (auto& signal : all)
            pool.start([&signal] { signal.setUpdatingEnabled(false); });
    }

    /// Records one series from the first value to the last, and takes a snapshot halfway. Updating
    /// must be off; it is switched on before the first value.
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

    static void expectExactStatistics(const GenericSignalImpl<T>& signal)
    {
        const Statistics statistics = statisticsOf(signal);
        EXPECT_EQ(statistics.count, static_cast<unsigned int>(lifeLength));
        EXPECT_EQ(statistics.average, period);
        // Twice the deviation of the whole numbers below the period, to one unit in the last place.
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

TYPED_TEST(Soak, ManySignalsStayExactAndUseNoMoreMemoryWhenClearedAndRefilled)
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
            this->expectExactStatistics(signal);
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
        constexpr qint64 slack = 4 << 20; // a fraction of the memory that was cleared
        EXPECT_LE(resident, warm + slack);
    }
}
