#pragma once

#include <QtCore/qglobal.h>

namespace monitor
{

/// The parameter group number in a 29-bit id: both data page bits, the PDU format and, from
/// format 240 on (PDU2), the group extension. Below 240 (PDU1) that byte is a destination
/// address and no part of the PGN.
constexpr quint32 pgnOf(quint32 id)
{
    constexpr quint32 firstPdu2Format = 240;
    const quint32 format = id >> 16 & 0xFF;
    return format < firstPdu2Format ? id >> 8 & 0x3FF00 : id >> 8 & 0x3FFFF;
}

/// The source address in a 29-bit id.
constexpr quint8 sourceAddressOf(quint32 id)
{
    return static_cast<quint8>(id);
}

} // namespace monitor
