#pragma once

#include "Rhythm.h"
#include "Snapshot.h"
#include "catalogue/Catalogue.h"
#include "decoding/RawValue.h"

#include <QtCore/QVariant>

#include <algorithm>
#include <cstddef>
#include <functional>
#include <memory>
#include <utility>

namespace monitor
{

class SpillFile;

/// Takes each value of a signal after it was recorded.
class ValueKeeper
{
public:
    virtual ~ValueKeeper() = default;
    virtual void keep(quint64 bits, qint64 microseconds) = 0;
};

/// How average and deviation are computed.
enum class Moments {
    Running, ///< by the library with each value: fast, correct to at least 15.5 digits
    Exact    ///< from the counts of all values: correctly rounded, whatever the order of values
};

/// When values were seen, in microseconds, and the newest of them. Does not depend on the order in
/// which values are added: of several values at the last time, the newest is the one with the
/// greatest bits.
struct SeenTimes {
    qint64 first = std::numeric_limits<qint64>::max();
    qint64 last = SignalSeries::noTime;
    quint64 newestBits = 0;

    /// Whether the time of any value is known.
    bool areKnown() const { return last != SignalSeries::noTime; }

    /// Adds a value seen at a known time.
    void add(qint64 microseconds, quint64 bits)
    {
        first = std::min(first, microseconds);
        if (microseconds < last)
            return;
        newestBits = microseconds == last ? std::max(newestBits, bits) : bits;
        last = microseconds;
    }
};

/// The values of one signal: their running statistics, and how often each raw value was recorded.
/// Memory does not depend on their number. Values are given as bits, see extractBits(). Only one
/// thread may use an object at a time; different objects are independent.
class alignas(64) SignalValues
{
public:
    /// For the values of \a signal. If there are too many distinct raw values for memory, they are
    /// counted in \a spill, unless it is null.
    static std::unique_ptr<SignalValues> make(const CatalogueSignal& signal, SpillFile* spill);

    virtual ~SignalValues() = default;
    SignalValues(const SignalValues&) = delete;
    SignalValues& operator=(const SignalValues&) = delete;

    /// Records a value, or counts that it is not available or an error. It was seen at
    /// \a microseconds, SignalSeries::noTime if that is unknown.
    void record(quint64 bits, Availability availability, qint64 microseconds)
    {
        isChanged = true;
        if (availability != Availability::Measured) {
            ++(availability == Availability::Error ? errors : notAvailable);
            return;
        }
        if (microseconds != SignalSeries::noTime) {
            valueRhythm.add(microseconds);
            seenTimes.add(microseconds, bits);
        }
        newest = bits;
        ++recorded;
        add(bits);
        if (keeper != nullptr)
            keeper->keep(bits, microseconds);
    }

    /// Adds \a times values whose bits are the same, such as those of another run. They are not
    /// kept, and only exact moments are available from now on.
    void addCount(quint64 bits, quint64 times)
    {
        isChanged = true;
        recorded += static_cast<qint64>(times);
        hasCounted = true;
        addToCounts(bits, times);
    }

    /// Calls \a visit for the bits of each distinct value, in order of the raw numbers. A raw -0
    /// counts as 0. A pass-through signal has no counts.
    virtual void
    forEachCount(const std::function<void(quint64 bits, quint64 times)>& visit) const = 0;

    /// When values were recorded. Those of other runs are added with addTimes().
    const SeenTimes& times() const { return seenTimes; }

    /// Adds the times of values that were added with addCount(), and calls ignoreOrder().
    void addTimes(const SeenTimes& other);

    /// Makes the statistics independent of the order of values: the newest value is the one with
    /// the latest time, moments are exact, and the median and the deviators are those of all values
    /// even if only the newest are kept.
    void ignoreOrder();

    /// Whether the newest value is known: always, unless the order is ignored and no value has a
    /// known time.
    bool isNewestKnown() const { return !isOrderIgnored || seenTimes.areKnown(); }

    /// Passes each value to \a valueKeeper, which must outlive this object.
    void setKeeper(ValueKeeper* valueKeeper) { keeper = valueKeeper; }

    /// Excludes a recorded value from the median and the deviators from now on.
    virtual void drop(quint64 bits) = 0;

    /// Deletes all values and counts, but keeps the rhythm.
    void clear();

    /// The number of values.
    qint64 count() const { return recorded; }

    /// The newest value, if it is known. There must be one.
    quint64 newestBits() const { return newest; }

    /// How often the sender had no value, and how often it reported an error instead.
    qint64 notAvailableCount() const { return notAvailable; }
    qint64 errorCount() const { return errors; }
    void setCounts(qint64 ofNotAvailable, qint64 ofErrors);

    /// The timing of the values.
    const Rhythm& rhythm() const { return valueRhythm; }

    /// Whether anything was recorded or deleted since the last call.
    bool takeChange() { return std::exchange(isChanged, false); }

    // Raw values are counted by keys, whose order is that of the raw numbers.

    quint64 keyOf(quint64 bits) const
    {
        if (isFloat)
            return (bits & signBit()) == 0 ? bits | signBit() : (0 - bits) & mask(); // -0 equals 0
        return isSigned ? bits ^ signBit() : bits;
    }

    quint64 bitsOf(quint64 key) const
    {
        if (isFloat)
            return (key & signBit()) != 0 ? key ^ signBit() : (0 - key) & mask();
        return isSigned ? key ^ signBit() : key;
    }

    /// The greatest key.
    quint64 mask() const { return signBit() | (signBit() - 1); }

    // The library scales in the data type of the signal. This type is chosen so that the result is
    // the same as in double, see datatypeOf().

    /// The value in the unit of the signal.
    double scaled(quint64 bits) const
    {
        const double raw = isFloat    ? floatIn(bits, length)
                           : isSigned ? static_cast<double>(signExtended(bits, length))
                                      : static_cast<double>(bits);
        return raw * factor + offset;
    }

    /// The same in the data type in which the library computes its statistics.
    virtual QVariant scaledElement(quint64 bits) const = 0;

    /// Whether some raw values are counted in the temporary file.
    virtual bool isSpilled() const { return false; }

    /// Sets the statistics of the values. Exact \a moments visit all distinct values. The band
    /// reaches \a k deviations to either side of the average. There must be values.
    virtual void getStatistics(double k, Moments moments, SignalStatistics& statistics) const = 0;

    /// Fetches the object into the cache.
    void prefetch() const
    {
#if defined(__GNUC__)
        constexpr std::ptrdiff_t lines = 5;
        constexpr std::ptrdiff_t lineSize = 64;
        for (std::ptrdiff_t i = 0; i < lines; ++i)
            __builtin_prefetch(reinterpret_cast<const char*>(this) + i * lineSize, 1);
#endif
    }

protected:
    quint64 signBit() const
    {
        return quint64{1} << (length - 1);
    }

    explicit SignalValues(const CatalogueSignal& signal);

    virtual void add(quint64 bits) = 0;
    virtual void addToCounts(quint64 bits, quint64 times) = 0;
    virtual void clearStatistics() = 0;

    // Members used for each value come first, in as few cache lines as possible.
    double factor;
    double offset;
    bool isSigned;
    bool isFloat;
    quint8 length;           // in bits
    bool hasCounted = false; // whether addCount() was called
    bool isOrderIgnored = false;

private:
    bool isChanged = true;
    quint64 newest = 0;
    qint64 recorded = 0;
    Rhythm valueRhythm;
    SeenTimes seenTimes;
    ValueKeeper* keeper = nullptr;
    qint64 notAvailable = 0;
    qint64 errors = 0;
};

} // namespace monitor
