#pragma once

#include "catalogue/Description.h"

#include <QtCore/QVariant>

namespace monitor
{

/// Whether the bits of a carried signal are a number. Times are taken for one; texts are not.
bool holdsNumber(const SignalDescription& description);

/// The raw value in \a bits (see extractBits()) as a number of the smallest kind that QVariant has
/// for it. Of a carried signal that holds none, a text up to its end or the bytes as they stand in
/// the PDO.
QVariant rawValueOf(quint64 bits, const SignalDescription& description);

} // namespace monitor
