#pragma once

#include "Rhythm.h"
#include "Snapshot.h"
#include "catalogue/Catalogue.h"
#include "decoding/RawValue.h"

#include <QtCore/QVariant>

#include <cstddef>
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
        if (microseconds != SignalSeries::noTime)
            valueRhythm.add(microseconds);
        newest = bits;
        ++recorded;
        add(bits);
        if (keeper != nullptr)
            keeper->keep(bits, microseconds);
    }

    /// Passes each value to \a valueKeeper, which must outlive this object.
    void setKeeper(ValueKeeper* valueKeeper) { keeper = valueKeeper; }

    /// Excludes a recorded value from the median and the deviators from now on.
    virtual void drop(quint64 bits) = 0;

    /// Deletes all values and counts, but keeps the rhythm.
    void clear();

    /// The number of values.
    qint64 count() const { return recorded; }

    /// The newest value. There must be one.
    quint64 newestBits() const { return newest; }

    /// How often the sender had no value, and how often it reported an error instead.
    qint64 notAvailableCount() const { return notAvailable; }
    qint64 errorCount() const { return errors; }
    void setCounts(qint64 ofNotAvailable, qint64 ofErrors);

    /// The timing of the values.
    const Rhythm& rhythm() const { return valueRhythm; }

    /// Whether anything was recorded or deleted since the last call.
    bool takeChange() { return std::exchange(isChanged, false); }

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

    /// Sets the statistics of the values. The band reaches \a k deviations to either side of the
    /// average. There must be values.
    virtual void getStatistics(double k, SignalStatistics& statistics) const = 0;

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
    explicit SignalValues(const CatalogueSignal& signal);

    virtual void add(quint64 bits) = 0;
    virtual void clearStatistics() = 0;

    // Members used for each value come first, in as few cache lines as possible.
    double factor;
    double offset;
    bool isSigned;
    bool isFloat;
    quint8 length; // in bits

private:
    bool isChanged = true;
    quint64 newest = 0;
    qint64 recorded = 0;
    Rhythm valueRhythm;
    ValueKeeper* keeper = nullptr;
    qint64 notAvailable = 0;
    qint64 errors = 0;
};

} // namespace monitor
