#pragma once

#include <QtCore/QString>

namespace monitor
{

/// Where a bus is to be found, in the words of Qt Serial Bus.
struct BusAddress {
    QString plugin;  ///< as "socketcan"
    QString device;  ///< as "can0"
    bool fd = false; ///< true: CAN FD frames too, which not every interface can do

    /// For messages.
    QString name() const { return plugin + ' ' + device; }
};

} // namespace monitor
