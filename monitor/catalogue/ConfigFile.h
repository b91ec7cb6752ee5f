#pragma once

#include "Catalogue.h"

namespace monitor
{

/// What a configuration file says; docs/monitor.md describes it.
struct Config {
    std::optional<double> k; ///< half the width of the band, in deviations
    QVector<SignalSettings> settings;
    QString error; ///< why the configuration cannot be used; empty without an error
};

/// Reads the text of a configuration file, JSON. Unknown settings are errors, so that a misspelt
/// one is not ignored.
[[nodiscard]] Config readConfig(const QByteArray& text);

/// Reads the configuration file of that name. An error names the file.
[[nodiscard]] Config readConfigFile(const QString& fileName);

} // namespace monitor
