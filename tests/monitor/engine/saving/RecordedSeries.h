#pragma once

#include <engine/MonitoredSignal.h>
#include <engine/RecordedValue.h>

#include <QtCore/QMap>
#include <QtCore/QVector>

#include <algorithm>

/// Collects the values that a session records.
class RecordedSeries : public monitor::ValueSink
{
public:
    struct Series {
        QVector<quint64> bits;
        QVector<qint64> microseconds; ///< SignalSeries::noTime if unknown
    };

    void take(const monitor::RecordedValue& value) override
    {
        if (value.availability != monitor::Availability::Measured)
            return;
        Series& series = bySignal[value.number];
        series.bits.append(value.bits);
        series.microseconds.append(value.nanoseconds ? *value.nanoseconds / 1000
                                                     : monitor::SignalSeries::noTime);
    }

    void clear() override { bySignal.clear(); }

    /// The newest \a limit values of the signal with this number in its session; 0: all.
    Series newest(int signal, int limit = 0) const
    {
        const Series all = bySignal.value(signal);
        const int surplus = limit > 0 ? std::max(static_cast<int>(all.bits.size()) - limit, 0) : 0;
        return {all.bits.mid(surplus), all.microseconds.mid(surplus)};
    }

private:
    QMap<int, Series> bySignal;
};
