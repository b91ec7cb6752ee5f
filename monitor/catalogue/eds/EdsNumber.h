#pragma once

#include <QtCore/QString>

#include <optional>

namespace monitor
{

/// The number that \a text of an EDS or DCF spells by CiA 306: hexadecimal after 0x, octal after
/// another leading 0, else decimal; or the sum of such a number and $NODEID, in either order, for
/// \a node. Letter case, blanks around the parts and a comment after ";" do not matter. None if it
/// is something else or does not fit into 32 bits.
std::optional<quint32> readEdsNumber(const QString& text, quint8 node);

} // namespace monitor
