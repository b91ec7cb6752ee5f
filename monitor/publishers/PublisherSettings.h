#pragma once

#include <QtCore/QString>

namespace monitor
{

/// What a publisher needs to know, from the command line.
struct PublisherSettings {
    QString value;     ///< of the option that selects the publisher
    QString bus;       ///< the name of the bus for other programs, such as "can0"
    double period = 1; ///< in seconds, for publishers that send from time to time
    // For MQTT; empty: not given.
    QString caFile;          ///< certificates of the authorities that the broker's may come from
    QString certificateFile; ///< of this client
    QString keyFile;         ///< of that certificate
    QString loginFile;       ///< the user in the first line, the password in the second
};

} // namespace monitor
