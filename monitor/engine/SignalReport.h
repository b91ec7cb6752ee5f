#pragma once

#include "catalogue/Description.h"

#include <optional>

namespace monitor
{

/// What there is to say about one signal of one source; all figures are of one moment.
struct SignalReport {
    QString name;
    Protocol protocol = Protocol::CANopen;
    std::optional<quint8> source;
    QString unit;
    double factor = 1; ///< the scaling, which tells the resolution of the measured values
    double offset = 0;
    bool isFloat = false;             ///< true: the raw values have fractions of their own
    std::optional<ValueRange> limits; ///< what the rating goes by instead of the band

    qint64 count = 0; ///< of the measured values; the figures below are 0 if it is
    double newest = 0;
    bool carried = false;               ///< true: only the newest value is known, as below
    QString newestText;                 ///< of a carried signal
    std::optional<double> newestNumber; ///< of a carried signal, if it is an exact number
    double average = 0;
    double deviation = 0; ///< population deviation, divisor n
    double minimum = 0;
    double maximum = 0;
    double median = 0;         ///< of the records that are kept
    int rating = 0;            ///< of the newest value, from 0 to 100
    double lowerThreshold = 0; ///< the band: average -/+ k deviations
    double upperThreshold = 0;
    int deviators = 0; ///< how many of the records that are kept lie outside the band

    qint64 notAvailable = 0; ///< how often the sender had no value
    qint64 errors = 0;       ///< how often it reported an error instead
};

} // namespace monitor
