#pragma once

#include <QtCore/QString>

namespace monitor
{

/// The address of a bus, as Qt Serial Bus needs it.
struct BusAddress {
    QString plugin;  ///< such as "socketcan"
    QString device;  ///< such as "can0"
    bool fd = false; ///< true: CAN FD frames too, which not every interface supports

    /// The name of the bus in messages.
    QString name() const { return plugin + ' ' + device; }
};

} // namespace monitor
