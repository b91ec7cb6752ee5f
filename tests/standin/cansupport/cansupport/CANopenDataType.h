#pragma once

#include <QtCore/qglobal.h>

namespace CAN
{

/// A host's own enumeration, with other names and with indices that are not data types.
enum class CANopenDataType : quint32 { Int = 4, PdoCommunicationParameter = 0x20, Identity = 0x23 };

} // namespace CAN
