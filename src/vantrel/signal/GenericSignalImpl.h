#pragma once

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

/// Everything recorded for one CAN signal, and how it is doing: the series of its value records,
/// the running statistics of the values fed in, and a worker thread that keeps the cached average
/// and deviation fresh.
///
/// Available for T = CANopenObjectValue and T = J1939Value, which behave alike. The series and the
/// statistics are fed separately: single values passed to setNewValue() with factor and offset
/// reach both, all others the series only.
///
/// The data type selects the element type in which raw values are scaled, rated and summed:
///
///     0, 17         double                2, 18   signed char
///     5             unsigned char         3       short
///     6             unsigned short        4, 16   int
///     7, 22         unsigned int          21      long long
///     24, 25, 27    unsigned long long    8       float
///
/// Every other code has none: raw values are then copied instead of scaled, and the rating is 100.
/// So INTEGER40 (18) holds a single byte, and INTEGER48, INTEGER56 and UNSIGNED56 (19, 20, 26) are
/// not scaled at all: use INTEGER64 or UNSIGNED64 for such values.
///
/// What the statistics are is up to the statistics library. It is said here for the bundled one: a
/// float or double that is not finite is left out, an empty series answers 0, and the calculator
/// may be asked while it is fed.
///
/// **Threads.** One thread at a time may change a signal ("the writer": value handling, data type,
/// ingestion, rescaling, clearing) while any number of threads read it and the worker runs. A
/// reading operation without a remark is thread-safe against the writer. Where the class is built
/// to go without a lock, the operation says what the host serialises. A scaled value that is read
/// while it is written is one such case: of plain numbers the reader may get a wrong one, with
/// texts and other types that own storage the behaviour is undefined and may be a crash. Different
/// signals are independent: this class is reentrant.
///
/// **Exceptions.** The library throws nothing of its own. If the constructor of a calculator of the
/// statistics library throws in setDatatype(), the signal is left without one: until a later
/// setDatatype() succeeds, every operation that needs the calculator throws
/// std::bad_variant_access. The destructor never does. On the worker such an exception, or one of
/// the statistics library, ends the process: switch updating off before setDatatype(). If an
/// operation throws std::bad_alloc, its record or batch is stored as a whole or not at all; stored
/// records that scaling did not reach keep the scaled value that they had or came with, and a
/// record that was not scaled is not added to the running statistics.
template <typename T>
class GenericSignalImpl
{
    static_assert(std::is_same_v<T, CANopenObjectValue> || std::is_same_v<T, J1939Value>,
                  "GenericSignalImpl<T>: T must be CANopenObjectValue or J1939Value");

public:
    /// An empty signal with data type 0 and handling 1 (replace the newest). The calculator is an
    /// int one although data type 0 stands for double: call setDatatype() before feeding values.
    GenericSignalImpl();

    /// Stops the worker and waits for it, up to one refresh period. Must not run on the worker.
    ~GenericSignalImpl();

    GenericSignalImpl(const GenericSignalImpl&) = delete;
    GenericSignalImpl& operator=(const GenericSignalImpl&) = delete;

    /// Stores \a newDatatype, whatever its code. If it has an element type, the running statistics
    /// start anew in it, also when nothing changed; otherwise they stay as they are. Stored records
    /// are not rescaled; cached average and deviation stay.
    /// The host serialises: no other thread may use the signal meanwhile except for getDatatype(),
    /// getRating() and the operations on the stored records; background updating must be off.
    void setDatatype(CAN::CANopenDataType newDatatype);

    /// The data type last set. Takes no lock.
    CAN::CANopenDataType getDatatype() const;

    /// Sets what setNewValue() does with a value, and switches background updating: on for 2, off
    /// for everything else (see setUpdatingEnabled(), which may wait).
    ///
    ///     1 (at first)     the newest stored record is replaced
    ///     2                the value is appended
    ///     anything else    the value is rejected
    ///
    /// The host serialises: a change, so not beside another one.
    void setValueHandling(GenericSignal::NewValueHandlingType handling);

    /// The handling last set. Takes no lock.
    GenericSignal::NewValueHandlingType getValueHandling() const;

    /// The number of stored records, those with isInvalid included.
    int getValueCount() const;

    /// A snapshot of the stored records, oldest first; later changes of the series leave it alone.
    /// Taking it costs constant time, but the next change of the series then copies all records
    /// once, on the writer's side, and the readers of the stored records wait for that (about 4 ns
    /// a record). A host that polls takes the newest values by getValueCount() and getValue(),
    /// which cost the writer nothing.
    /// The host serialises: a snapshot taken while the writer scales shares the records that are
    /// being written (by setNewValue() with factor and offset the newest one, by appendValues() and
    /// updateScaledValues() all): their scaled values are not to be read until it has finished.
    QVector<T> getValues() const;

    /// Copies the record at \a index, counted from 0 for the oldest, into \a value and returns
    /// true. An index past the end returns false and leaves \a value as it is. A negative index
    /// is not detected: undefined.
    /// The host serialises: the record is not to be one that is being scaled meanwhile.
    bool getValue(int index, T& value) const;

    /// Removes all records, releases their storage and empties the running statistics. Data type,
    /// handling, flags, cached average and deviation stay. Without a calculator it throws when the
    /// records are gone.
    /// The host serialises: a change, so not beside another one.
    void clearValues();

    /// Stores \a record as it is, by the value handling, and sets the change flags. Returns false
    /// if the handling rejects it: then nothing has changed. Amortised constant time.
    /// The host serialises: a change, so not beside another one.
    bool setNewValue(T record);

    /// Stores \a record like the overload above and returns the same; a rejected one is neither
    /// scaled nor fed. Then scales the stored copy by \a factor and \a offset (see
    /// scaleAndAppendValue()) and adds its scaled value to the running statistics, read by
    /// QVariant::value() as the calculator's element type, 0 if it does not convert. A record with
    /// isInvalid set is fed too, with the scaled value that it came with. The cached average and
    /// deviation follow with the worker's next pass.
    /// The host serialises: a change, so not beside another one. The stored copy is scaled without
    /// a lock.
    bool setNewValue(T record, double factor, double offset);

    /// Appends the records of \a batch in their order, whatever the value handling, and rescales
    /// all stored records by \a factor and \a offset. The running statistics are not fed, and
    /// valuesChanged is not set; an empty batch still rescales. Linear in the number of all stored
    /// records.
    /// The host serialises like for updateScaledValues().
    void appendValues(const QVector<T>& batch, double factor, double offset);

    /// Rescales all stored records by \a factor and \a offset. The running statistics keep what
    /// they were fed.
    /// The host serialises: a change, so not beside another one. The records are written under the
    /// read lock, so other readers are held up by no more than the copy that a snapshot still held
    /// makes necessary, and see it happen.
    void updateScaledValues(double factor, double offset);

    /// Scales \a record in place: rawValue x factor + offset in the element type of the data type
    /// (see GenericValueHandler::setTypeBasedScaledValue()); without an element type scaledValue
    /// becomes a copy of rawValue. Nothing is appended, no member of the signal is touched.
    void scaleAndAppendValue(T& record, double factor, double offset);

    /// The cached average of the values fed in, up to one pass of the worker old; 0 before its
    /// first pass. Thread-safe; costs a field read, meant for frequent polling.
    double getAverage() const;

    /// The cached population deviation, otherwise like getAverage().
    double getDeviation() const;

    /// The greatest value fed in, as the nearest double; 0 if there is none. This and the following
    /// three answer for the values fed in since the last clearValues() and the last setDatatype()
    /// with an element type.
    double getMax() const;

    /// The smallest value fed in, as the nearest double; 0 if there is none.
    double getMin() const;

    /// The average of the values fed in, fresh; 0 if there is none.
    double calcAverage() const;

    /// Their population deviation (divisor n), fresh; 0 if there is none.
    double calcDeviation() const;

    /// The median of the scaled values of all stored records, those with isInvalid included, in
    /// the calculator's element type; what does not convert counts as 0. 0 for an empty series and
    /// under every handling but 2. Copies the series: linear time and memory.
    /// The host serialises: the series is walked without a lock, so no other thread may change it
    /// meanwhile.
    double calcMedian() const;

    /// Sets averageChanged and deviationChanged and asks the calculator for both figures. The
    /// cached ones stay: only the worker refreshes them. Thread-safe against the writer.
    void updateAverageAndDeviation();

    /// The body of the worker: refreshes the cached average and deviation every 100 ms until
    /// updating is switched off, at least once; returns at once if it is off already. The worker
    /// calls it; another thread that does stays in it until updating is switched off, and is not
    /// waited for.
    void updateCalculations();

    /// All statistics at once. \a valueCount is the number of stored records; average, deviation,
    /// maximum and minimum are those of the values fed in, fresh, the extremes as variants of
    /// double; \a medianValue is calcMedian(). If the signal has no calculator, \a valueCount
    /// alone is written.
    /// The host serialises like for calcMedian() while the handling is 2.
    void getValueStatistics(double& averageValue, QVariant& maxValue, QVariant& minValue,
                            double& medianValue, double& deviationValue,
                            unsigned int& valueCount) const;

    /// Rates the scaled value of the newest record from 0 to 100 (see
    /// GenericValueHandler::getRating()): against \a lowerLimit and \a upperLimit if
    /// \a useGivenLimits is true, else against the band of \a factor. 100 for fewer than two
    /// records and for a data type without an element type. isInvalid is not looked at.
    /// The host serialises: the newest record is not to be scaled meanwhile.
    int getRating(double factor, bool useGivenLimits, double lowerLimit, double upperLimit);

    /// The lower end of the band: cached average - cached deviation x \a factor. Thread-safe; the
    /// two may come from different passes of the worker.
    double getLowerThreshold(double factor);

    /// The upper end of the band: cached average + cached deviation x \a factor, otherwise like
    /// getLowerThreshold().
    double getUpperThreshold(double factor);

    /// Copies of the records whose raw value lies strictly outside the band of \a factor, oldest
    /// first, those with isInvalid included; a raw value that is no number counts as 0. It is the
    /// raw value that is compared, though the band is one of scaled values: meant for signals with
    /// factor 1 and offset 0. Linear in the number of records.
    /// The host serialises: no record that is listed is to be scaled meanwhile.
    QVector<T> getDeviators(double factor);

    /// Switches background updating and the calculator's log of values. On: starts a worker
    /// unless there is one, without waiting for it to begin. Off: waits until the worker has
    /// finished its cycle, up to 100 ms plus one computation, and destroys its thread. The value
    /// handling stays as it is, so a host may keep appending, and the median, without a worker.
    /// If the system cannot start a thread, or the worker has ended by itself, switching on again
    /// takes effect after switching off.
    /// The host serialises: a change, so not beside another one, and not from the worker.
    /// To stop many signals quickly, switch them off side by side from some hundred threads: one
    /// after the other takes up to 100 ms each.
    void setUpdatingEnabled(bool enabled);

private:
    /// A calculator that cannot be moved, whatever the statistics library allows: so the slot
    /// destroys the old one before it constructs the next, and is empty if that fails.
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
    // Set by the host's configuring thread, read by its readers: single words without further data
    // behind them, so relaxed order is enough for these as for the other atomics below.
    std::atomic<CAN::CANopenDataType> datatype{static_cast<CAN::CANopenDataType>(0)};
    QPointer<QThread> updateThread;
    std::atomic<bool> updatingEnabled{false};
    ElementTypesIn<CalculatorSlot> statisticCalculator;
    mutable QReadWriteLock valuesLock;
    QMutex mutex; // reserved; nothing locks it

public:
    /// Set by setNewValue(), appendValues() and updateAverageAndDeviation(); never read or reset
    /// by the library. This and the following two are the host's to read and reset from any thread.
    std::atomic<bool> averageChanged{false};
    /// Set on the same occasions as averageChanged.
    std::atomic<bool> deviationChanged{false};
    /// Set by setNewValue() only.
    std::atomic<bool> valuesChanged{false};

private:
    std::atomic<double> average{0.0};
    std::atomic<double> deviation{0.0};
    std::atomic<GenericSignal::NewValueHandlingType> valueHandling{
        static_cast<GenericSignal::NewValueHandlingType>(1)};
    // The length of values for those who read it without the lock: the vector itself may be
    // moving to other storage at that moment.
    std::atomic<int> storedCount{0};
};

extern template class VANTREL_TEMPLATE_DECLARATION GenericSignalImpl<CANopenObjectValue>;
extern template class VANTREL_TEMPLATE_DECLARATION GenericSignalImpl<J1939Value>;
