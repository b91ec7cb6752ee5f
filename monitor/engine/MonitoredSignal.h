#pragma once

#include "SignalRecords.h"
#include "SignalValues.h"
#include "decoding/Decoder.h"
#include "outline/SeriesOutline.h"

namespace monitor
{

/// How the values of a signal are kept in addition to their statistics.
struct Keeping {
    SpillFile* spill = nullptr;                     ///< see SignalValues; must outlive the signal
    std::optional<SeriesOutline::Detail> outline{}; ///< of all values, for charts; empty: not kept
};

/// One signal from one source: records its values and computes their statistics. Only one thread
/// may use an object at a time; different objects are independent.
class MonitoredSignal : private ValueKeeper
{
public:
    /// Starts recording a signal of \a message.
    MonitoredSignal(const MessageHeader& message, const CatalogueSignal& signalDescription,
                    std::optional<quint8> source, const Keeping& keeping = {});

    const CatalogueSignal& description() const { return signal; }

    /// The message of the signal; only its protocol is known in a saved run.
    const MessageHeader& message() const { return header; }

    /// The name, source, unit and so on, without statistics.
    const SignalStatistics& identity() const { return empty; }

    /// Adds the comment and value texts that the signal has in another run. Of two different
    /// comments, or texts of one value, the non-empty one that comes first in the order of QString
    /// remains.
    void addTexts(const QString& comment, const QHash<quint64, QString>& texts);

    /// Names the bus of the signal in its statistics.
    void setBus(const QString& name);

    /// The recorded values. If values are to be kept, those added to the result are kept here.
    SignalValues& values() const { return *recorded; }

    /// Deletes all values and counts, but keeps the rhythm.
    void clear();

    /// Computes the statistics of all values, with a band of \a k deviations. The median and the
    /// deviators are those of the kept values if only the newest are kept. Without new values the
    /// last result is returned, so \a k must be the same in all calls. The cost hardly depends on
    /// the number of values; that of exact moments depends on the number of distinct values.
    std::shared_ptr<const SignalStatistics> getStatistics(double k,
                                                          Moments moments = Moments::Running);

    /// The kept values; empty for a pass-through signal.
    SignalSeries getSeries() const;

    /// Appends the values that \a series lacks. It must be empty or come from an earlier call since
    /// the last clear(). The cost depends on the number of new values, unless only the newest are
    /// kept.
    void appendNewValues(SignalSeries& series) const;

    /// The outline of all values; null if it is not kept, or only the newest values are.
    const SeriesOutline* outline() const { return keptOutline ? &*keptOutline : nullptr; }

    /// The kept values and the counts.
    SignalRecords getRecords() const;

private:
    void keep(quint64 bits, qint64 microseconds) override;
    int surplus() const;
    void scaleTexts();

    CatalogueSignal signal;
    MessageHeader header;
    SignalStatistics empty;
    std::unique_ptr<SignalValues> recorded;
    std::shared_ptr<const SignalStatistics> newestStatistics; // null: out of date
    Moments newestMoments = Moments::Running;                 // of these statistics
    int limit;                 // how many of the newest values are kept; 0: no values
    QVector<quint64> keptBits; // up to twice as many as the limit; empty without one
    QVector<qint64> keptTimes;
    std::optional<SeriesOutline> keptOutline;
};

} // namespace monitor
