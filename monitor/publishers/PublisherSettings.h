#pragma once

#include <QtCore/QString>

namespace monitor
{

/// The settings of a publisher, from the command line.
struct PublisherSettings {
    QString value;     ///< of the option that selects the publisher
    QString bus;       ///< the name of the bus for other programs, such as "can0"
    double period = 1; ///< in seconds, for publishers that send periodically
    // For MQTT; empty: not given.
    QString caFile;          ///< certificates of the authorities that may sign the broker's
    QString certificateFile; ///< of this client
    QString keyFile;         ///< of that certificate
    QString loginFile;       ///< the user in the first line, the password in the second
};

} // namespace monitor
