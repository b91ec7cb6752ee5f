#pragma once

#include "Catalogue.h"

namespace monitor
{

/// The content of a configuration file. The user's manual describes the format.
struct Config {
    std::optional<double> k; ///< half the width of the band, in deviations
    QVector<SignalSettings> settings;
    QString error; ///< empty if the configuration is valid
};

/// Reads the JSON text of a configuration file. Unknown settings are errors, so that a misspelt one
/// is not ignored.
[[nodiscard]] Config readConfig(const QByteArray& text);

/// Reads a configuration file. The error names the file.
[[nodiscard]] Config readConfigFile(const QString& fileName);

} // namespace monitor
