#pragma once

#include "Catalogue.h"

namespace monitor
{

/// The content of a configuration file; docs/monitor.md describes the format.
struct Config {
    std::optional<double> k; ///< half the width of the band, in deviations
    QVector<SignalSettings> settings;
    QString error; ///< empty if the configuration can be used
};

/// Reads the text of a configuration file, JSON. Unknown settings are errors, so that misspelt
/// ones are not ignored.
[[nodiscard]] Config readConfig(const QByteArray& text);

/// Reads the configuration file of that name. An error names the file.
[[nodiscard]] Config readConfigFile(const QString& fileName);

} // namespace monitor
