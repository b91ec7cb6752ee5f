#pragma once

#include <QtCore/QString>

namespace monitor
{

/// A bus, in the terms of Qt Serial Bus.
struct BusAddress {
    QString plugin;  ///< such as "socketcan"
    QString device;  ///< such as "can0"
    bool fd = false; ///< true: CAN FD frames too, which not every interface supports

    /// For messages.
    QString name() const { return plugin + ' ' + device; }
};

} // namespace monitor
