#pragma once

#include "Frame.h"

#include <QtCore/QByteArray>

namespace monitor
{

/// What a line of a recording turned out to be.
enum class LineKind {
    Frame,
    Nothing, ///< a blank line or a comment, which begins with #
    NoFrame  ///< anything else
};

/// Reads one line of candump's compact form,
///
///     (1635188455.020850) can1 18F00E00#821639C4FFFFFFFF
///
/// into \a frame: an id of 3 digits has 11 bits, one of 8 digits 29; 0 to 8 data bytes follow, or
/// R for a remote frame, which may name a length of up to 8. Upper and lower case digits and
/// blanks around the fields are accepted. For every kind but Frame \a frame is left as it is.
LineKind readCandumpLine(const QByteArray& line, Frame& frame);

} // namespace monitor
