#pragma once

#include <QtCore/QString>

namespace monitor
{

/// What a publisher needs to know, from the command line.
struct PublisherSettings {
    QString value; ///< of the option that selects the publisher
    QString bus;   ///< the name of the bus for other programs, such as "can0"
};

} // namespace monitor
