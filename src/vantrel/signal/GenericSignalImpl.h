#pragma once

/// \file
/// The signal: recorded values, running statistics and a worker.

#include <vantrel/export.h>
#include <vantrel/handlers/elementTypes.h>
#include <vantrel/values/CANopenObjectValue.h>
#include <vantrel/values/J1939Value.h>

#include <cansupport/CANopenDataType.h>
#include <cansupport/GenericSignal.h>
#include <statistics/StatisticCalculator.h>

#include <QtCore/QMutex>
#include <QtCore/QPointer>
#include <QtCore/QReadWriteLock>
#include <QtCore/QThread>
#include <QtCore/QVariant>
#include <QtCore/QVector>

#include <atomic>
#include <optional>
#include <type_traits>
#include <variant>

/// The recorded values of one CAN signal: a series of value records, running statistics of the
/// values fed in, and a worker thread that keeps the cached average and deviation up to date.
///
/// Series and running statistics are separate: setNewValue() with factor and offset stores a record
/// and feeds its scaled value to the running statistics; no other operation feeds them.
///
/// The data type, an index of CiA 301, selects the element type in which raw values are scaled,
/// rated and fed to the running statistics:
///
///     0, 17         double                2, 18   signed char
///     5             unsigned char         3       short
///     6             unsigned short        4, 16   int
///     7, 22         unsigned int          21      long long
///     24, 25, 27    unsigned long long    8       float
///
/// All other codes have no element type: raw values are copied instead of scaled, and every rating
/// is 100. Note that INTEGER40 (18) has the element type of a single byte, and that INTEGER48,
/// INTEGER56 and UNSIGNED56 (19, 20, 26) have none: use INTEGER64 or UNSIGNED64 for such values.
/// Scaling is computed in double, which rounds integers beyond 2^53; see GenericValueHandler.
///
/// Statistics are computed by the statistics library. This documentation describes the bundled one:
/// NaN and infinities are ignored, statistics of an empty series are 0, and the calculator may be
/// read while values are fed to it.
///
/// **Threads.** This class is reentrant: different signals are independent. One thread at a time
/// may modify a signal by setDatatype(), setValueHandling(), setUpdatingEnabled(), clearValues(),
/// setNewValue(), appendValues() or updateScaledValues(). Meanwhile, any number of threads may call
/// the other operations, and the worker may run. Some operations take no lock where one might be
/// expected; their documentation says what must not run concurrently. Above all, reading a scaled
/// value while it is being written is undefined behaviour: a number may be wrong, and a string, or
/// any other type that owns memory, may crash the program. docs/threads.md lists all operations.
///
/// After fork(), the child has no worker threads. It must not destroy a signal that had one, or
/// switch off its updating: both would wait forever.
///
/// **Size.** With Qt 5 the records of a signal take at most 2 GiB: 53,687,090 of J1939Value or
/// 38,347,921 of CANopenObjectValue on 64-bit platforms. Adding more throws std::bad_alloc.
///
/// **Exceptions.** The library throws no exceptions of its own. If an operation throws
/// std::bad_alloc, its record or batch is stored completely or not at all. Stored records that
/// scaling did not reach keep their previous scaled value, and a record that was not scaled is not
/// fed to the running statistics. The signal remains usable; clearValues() frees its memory.
///
/// If the statistics library throws while setDatatype() constructs a calculator, the signal has no
/// calculator until a later setDatatype() succeeds: every operation that needs one throws
/// std::bad_variant_access. The destructor never throws. An exception in the worker thread ends the
/// process, so switch updating off before setDatatype().
///
/// \tparam T the type of the records: CANopenObjectValue or J1939Value, which behave alike
/// \ingroup signal
template <typename T>
class GenericSignalImpl
{
    static_assert(std::is_same_v<T, CANopenObjectValue> || std::is_same_v<T, J1939Value>,
                  "GenericSignalImpl<T>: T must be CANopenObjectValue or J1939Value");

public:
    /// Constructs an empty signal with data type 0, handling 1 (replace the newest record) and
    /// updating off. Its calculator has the element type int although data type 0 selects double:
    /// call setDatatype() before feeding values.
    GenericSignalImpl();

    /// Switches updating off, which may wait up to one period of 100 ms, and destroys the signal.
    /// Must not run on the worker.
    ~GenericSignalImpl();

    /// A signal cannot be copied.
    GenericSignalImpl(const GenericSignalImpl&) = delete;
    /// A signal cannot be assigned.
    GenericSignalImpl& operator=(const GenericSignalImpl&) = delete;

    /// Sets the data type to \a newDatatype, which may be any code. If it has an element type, the
    /// running statistics start again from nothing, even if the data type is the same as before;
    /// otherwise they continue with the previous element type. Stored records are not rescaled. The
    /// cached average and deviation are kept, so thresholds and ratings use the previous band until
    /// the next pass of the worker, or permanently if updating stays off.
    ///
    /// Updating must be off. Must not run concurrently with another modifying operation, nor with
    /// one that uses the calculator: getMax(), getMin(), calcAverage(), calcDeviation(),
    /// calcMedian(), getValueStatistics() and updateAverageAndDeviation().
    void setDatatype(CAN::CANopenDataType newDatatype);

    /// Returns the data type last set. Takes no lock.
    CAN::CANopenDataType getDatatype() const;

    /// Sets how setNewValue() handles a value. Switches updating on for 2 and off for all other
    /// numbers (see setUpdatingEnabled(), which may wait).
    ///
    ///     1 (default)      the value replaces the newest stored record
    ///     2                the value is appended
    ///     anything else    the value is rejected
    ///
    /// Must not run concurrently with another modifying operation.
    ///
    /// \param handling the value handling; a number without an enumerator is treated like Reject
    void setValueHandling(GenericSignal::NewValueHandlingType handling);

    /// Returns the value handling last set. Takes no lock.
    GenericSignal::NewValueHandlingType getValueHandling() const;

    /// Returns the number of stored records, including those with isInvalid set. Thread-safe.
    int getValueCount() const;

    /// Returns a snapshot of the stored records, oldest first; empty for an empty series. Later
    /// changes to the series do not affect it, with the exception below.
    ///
    /// Takes constant time. However, while a snapshot exists, the next change to the series (other
    /// than clearValues()) copies all records, at about 5 to 30 ns each, and readers of the stored
    /// records have to wait until the copy is complete: do not take a snapshot for every value of a
    /// long series.
    ///
    /// May be called at any time. While setNewValue() with factor and offset runs, the newest
    /// record of the snapshot might not be scaled yet. Do not read its scaled value until
    /// setNewValue() has returned; even then, it might never be set in the snapshot. While
    /// appendValues() or updateScaledValues() runs, the same applies to all records.
    QVector<T> getValues() const;

    /// Copies a stored record.
    ///
    /// Must not run concurrently with an operation that is scaling this record: setNewValue() with
    /// factor and offset if it is the newest one, appendValues() and updateScaledValues() for all
    /// records. docs/threads.md shows how to read the newest value while others arrive.
    ///
    /// \param index the index of the record, counted from 0 for the oldest; a negative index is
    ///     undefined behaviour
    /// \param[out] value the copy; unchanged if there is no such record
    /// \return true if the record exists, false if \a index is past the end
    bool getValue(int index, T& value) const;

    /// Removes all records, frees their memory and clears the running statistics. Data type, value
    /// handling, change flags, and cached average and deviation are kept. If the signal has no
    /// calculator, throws after removing the records.
    ///
    /// Must not run concurrently with another modifying operation.
    void clearValues();

    /// Stores \a record unchanged, according to the value handling, and sets the three change
    /// flags. The running statistics are not fed.
    ///
    /// Takes amortised constant time. When a series outgrows its memory, all of its records are
    /// moved, which takes 0.1 to 3 s for tens of millions of them; readers of the stored records
    /// have to wait until the move is complete.
    ///
    /// Must not run concurrently with another modifying operation. Every operation that reads
    /// stored records under the lock may run concurrently, because this operation does not change
    /// the record once it is stored: see docs/threads.md.
    ///
    /// \return true if the record was stored; false, with nothing changed, if the value handling
    ///     rejects it
    bool setNewValue(T record);

    /// Stores a record like the overload above, scales the stored copy (see scaleAndAppendValue()),
    /// and feeds its scaled value to the running statistics. The scaled value is read by
    /// QVariant::value() as the element type of the calculator, and counts as 0 if it cannot be
    /// converted. A record with isInvalid set is not scaled, but the scaled value that it already
    /// has is fed. The cached average and deviation are updated by the next pass of the worker.
    ///
    /// Must not run concurrently with another modifying operation. Scales without a lock, so other
    /// threads can see the newest record before it is scaled, and must not read its scaled value.
    ///
    /// \param record the record to store. A raw value that Qt does not convert is scaled as if it
    ///     were 0: see GenericValue::rawValue for the types to use.
    /// \param factor the value of one raw unit, in the unit of the signal
    /// \param offset the scaled value for a raw value of 0
    /// \return true if the record was stored; false, with nothing changed, if the value handling
    ///     rejects it
    bool setNewValue(T record, double factor, double offset);

    /// Appends the records of \a batch in order, regardless of the value handling, then rescales
    /// all stored records by \a factor and \a offset as updateScaledValues() does, even if the
    /// batch is empty. Sets averageChanged and deviationChanged only. The running statistics are
    /// not fed. Takes time linear in the number of all stored records.
    ///
    /// Must not run concurrently with another modifying operation, nor with reading a scaled value.
    void appendValues(const QVector<T>& batch, double factor, double offset);

    /// Rescales all stored records by \a factor and \a offset (see scaleAndAppendValue()). The
    /// running statistics do not change. Takes time linear in the number of stored records.
    ///
    /// Must not run concurrently with another modifying operation, nor with reading a scaled value.
    /// Scales under the read lock, so getValueCount() and getValues() do not have to wait, except
    /// while the series is copied because a snapshot shares it.
    void updateScaledValues(double factor, double offset);

    /// Scales \a record in place: its scaled value becomes rawValue x \a factor + \a offset in the
    /// element type of the data type (see GenericValueHandler::setTypeBasedScaledValue()), or a
    /// copy of rawValue if there is no element type. Despite its name, this function appends
    /// nothing and does not change the signal.
    void scaleAndAppendValue(T& record, double factor, double offset);

    /// Returns the cached average: that of the values fed in up to the last pass of the worker; 0
    /// before the first pass. Takes no lock. Meant for frequent polling.
    double getAverage() const;

    /// Returns the cached population standard deviation, otherwise like getAverage().
    double getDeviation() const;

    /// Returns the greatest value fed in, as the nearest double; 0 before the first one. This
    /// function and the following three cover the values fed in since the running statistics were
    /// last reset by clearValues() or setDatatype(). They take no lock and run in constant time.
    double getMax() const;

    /// Returns the smallest value fed in, as the nearest double; 0 before the first one.
    double getMin() const;

    /// Returns the average of the values fed in, up to date; 0 before the first one.
    double calcAverage() const;

    /// Returns the population standard deviation of the values fed in (divisor n), up to date; 0
    /// before the first one.
    double calcDeviation() const;

    /// Returns the median of the scaled values of all stored records, including those with
    /// isInvalid set, read as the element type of the calculator; a value that cannot be converted
    /// counts as 0. Returns 0 for an empty series, and under any handling other than 2. Copies the
    /// scaled values: takes linear time and memory.
    ///
    /// Reads the series without a lock: must not run concurrently with any operation that changes
    /// it.
    double calcMedian() const;

    /// Sets averageChanged and deviationChanged. Also computes average and deviation, but discards
    /// the results: only the worker updates the cached values.
    void updateAverageAndDeviation();

    /// Runs the loop of the worker: updates the cached average and deviation every 100 ms until
    /// updating is switched off. Returns at once if updating is off. Meant for the worker only:
    /// any other thread that calls it stays in the loop, and nothing waits for that thread.
    void updateCalculations();

    /// Returns all statistics at once. If the signal has no calculator, only \a valueCount is
    /// written before the exception is thrown.
    ///
    /// Under handling 2, reads the series without a lock, as calcMedian() does: must not run
    /// concurrently with any operation that changes it.
    ///
    /// \param[out] averageValue the average of the values fed in, up to date: calcAverage()
    /// \param[out] maxValue the greatest value fed in, as a variant of double: getMax()
    /// \param[out] minValue the smallest value fed in, as a variant of double: getMin()
    /// \param[out] medianValue the median of the stored records: calcMedian()
    /// \param[out] deviationValue the deviation of the values fed in, up to date: calcDeviation()
    /// \param[out] valueCount the number of stored records: getValueCount()
    void getValueStatistics(double& averageValue, QVariant& maxValue, QVariant& minValue,
                            double& medianValue, double& deviationValue,
                            unsigned int& valueCount) const;

    /// Rates the scaled value of the newest record by given limits or by the band (see
    /// GenericValueHandler::getRating()). If one limit is infinite, every finite value rates 0.
    /// isInvalid is ignored.
    ///
    /// A signal that only ever replaces its newest record (handling 1) holds a single one, so it
    /// always gets 100: use GenericValueHandler::getRating() to rate its value.
    ///
    /// Must not run concurrently with an operation that is scaling the newest record.
    ///
    /// \param k half the width of the band, in deviations. The band reaches from
    ///     getLowerThreshold(\a k) to getUpperThreshold(\a k).
    /// \param useGivenLimits true to rate by the limits and ignore \a k, false to rate by the band
    ///     and ignore the limits
    /// \param lowerLimit the lower limit, in the unit of the signal
    /// \param upperLimit the upper limit, in the unit of the signal
    /// \return the rating, from 0 (worst) to 100 (best); 100 for a data type without an element
    ///     type, and for fewer than two records
    int getRating(double k, bool useGivenLimits, double lowerLimit, double upperLimit);

    /// Returns the lower end of the band: cached average - cached deviation x \a k. Before the
    /// first pass of the worker, the band is 0 to 0 for every \a k. Takes no lock; average and
    /// deviation may come from different passes of the worker.
    double getLowerThreshold(double k);

    /// Returns the upper end of the band: cached average + cached deviation x \a k, otherwise like
    /// getLowerThreshold().
    double getUpperThreshold(double k);

    /// Returns copies of the records whose raw value lies outside the band of \a k, oldest first,
    /// including those with isInvalid set. A value exactly at an end of the band is inside; a raw
    /// value that is not a number counts as 0. Takes time linear in the number of records.
    ///
    /// Raw values are compared although the band is computed from scaled values, so the result is
    /// only meaningful for factor 1 and offset 0.
    ///
    /// Must not run concurrently with an operation that is scaling a record that is returned.
    QVector<T> getDeviators(double k);

    /// Switches updating, and the value log of the calculator, on or off. On: starts a worker
    /// unless there is one, and does not wait for it. Off: waits until the worker has finished its
    /// pass, which takes up to 100 ms and one computation, and destroys its thread. The value
    /// handling does not change, so a signal can append values and compute the median without a
    /// worker.
    ///
    /// If the system cannot start a thread, or if the worker has ended by itself, switch updating
    /// off and on again. To stop many signals quickly, switch them off in parallel, from up to a
    /// few hundred threads.
    ///
    /// Must not run concurrently with another modifying operation, nor on the worker.
    ///
    /// \param enabled true to switch updating on, false to switch it off
    void setUpdatingEnabled(bool enabled);

private:
    /// A calculator that cannot be moved, even if StatisticCalculator can. The variant therefore
    /// destroys the old one before it constructs the next, and is valueless if that throws.
    template <typename N>
    struct Calculator {
        explicit Calculator(std::optional<int> logCapacity) : calculator(logCapacity) {}
        Calculator(const Calculator&) = delete;
        Calculator& operator=(const Calculator&) = delete;

        StatisticCalculator<N> calculator;
    };

    Q_DECL_HIDDEN bool store(T&& record);

    template <typename... N>
    using CalculatorSlot = std::variant<Calculator<N>...>;

    QVector<T> values;
    // Written by the thread that configures the signal and read by others. No other data depends on
    // them, so relaxed order is enough, here and for the other atomics below.
    std::atomic<CAN::CANopenDataType> datatype{static_cast<CAN::CANopenDataType>(0)};
    QPointer<QThread> updateThread;
    std::atomic<bool> updatingEnabled{false};
    ElementTypesIn<CalculatorSlot> statisticCalculator;
    mutable QReadWriteLock valuesLock;
    QMutex mutex; // reserved; never locked

public:
    /// Set by setNewValue(), appendValues() and updateAverageAndDeviation(). The library neither
    /// reads nor resets it. The host may read and reset this flag and the following two from any
    /// thread.
    std::atomic<bool> averageChanged{false};
    /// Set together with averageChanged.
    std::atomic<bool> deviationChanged{false};
    /// Set by setNewValue() only.
    std::atomic<bool> valuesChanged{false};

private:
    std::atomic<double> average{0.0};
    std::atomic<double> deviation{0.0};
    std::atomic<GenericSignal::NewValueHandlingType> valueHandling{
        static_cast<GenericSignal::NewValueHandlingType>(1)};
    // The length of values, for operations that take no lock. They cannot ask the vector itself,
    // which may be moving its records to new memory.
    std::atomic<int> storedCount{0};
};

extern template class VANTREL_TEMPLATE_DECLARATION GenericSignalImpl<CANopenObjectValue>;
extern template class VANTREL_TEMPLATE_DECLARATION GenericSignalImpl<J1939Value>;
