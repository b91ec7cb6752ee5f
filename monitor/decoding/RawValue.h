#pragma once

#include "catalogue/Description.h"

#include <QtCore/QVariant>

namespace monitor
{

/// Whether the bits of a pass-through signal are a number. Times count as numbers, texts do not.
bool holdsNumber(const SignalLayout& layout);

/// The raw value in \a bits (see extractBits()) as a number of the smallest kind that QVariant has
/// for it. For a pass-through signal that is not a number: the text up to its end, or the bytes as
/// they are in the PDO.
QVariant rawValueOf(quint64 bits, const SignalLayout& layout);

} // namespace monitor
