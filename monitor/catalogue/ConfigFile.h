#pragma once

#include "SignalSettings.h"

#include <optional>

namespace monitor
{

/// What a configuration file says; the README describes it.
struct Config {
    std::optional<double> k; ///< half the width of the band, in deviations
    QVector<SignalScaling> scalings;
    QVector<SignalLimits> limits;
    QVector<SignalReservation> reservations;
    QStringList patterns; ///< of all signals that are mentioned
};

/// Reads the text of a configuration file, JSON, into \a config. Returns what is wrong with it,
/// else an empty text. What it does not know is wrong: a misspelt setting is not to be ignored.
QString readConfig(const QByteArray& text, Config& config);

/// Reads the configuration file of that name into \a config. Returns what made that impossible,
/// naming the file; empty if nothing did.
QString readConfigFile(const QString& fileName, Config& config);

} // namespace monitor
