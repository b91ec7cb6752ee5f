#pragma once

#include "TextRecording.h"

namespace monitor
{

/// Reads one line that candump has written into \a frame, in its compact form
///
///     (1635188455.020850) can1 18F00E00#821639C4FFFFFFFF
///     (1635188455.020850) can1 181#R6
///     (1635188455.020850) can1 123##1.00.11.22
///
/// or in its form for the screen, with or without a time
///
///     (000.005001)  can0  18FEDF00   [8]  8A A0 FF FF FF FF FF FF
///     (2021-10-25 19:00:55.020850)  can0  18FEDF00   [2]  8A A0
///      can0  181   [6]  remote request
///      can0  20000088   [8]  00 00 00 00 00 00 00 00   ERRORFRAME
///
/// An id of 3 digits has 11 bits, one of 8 digits 29; bit 29 of these marks an error frame. A
/// classic frame has up to 8 bytes, one of CAN FD (## and its flags, or a length of two digits) up
/// to 64, which points may stand between. Either case of digits, any number of blanks, a direction
/// (R, T; RX, TX) and the data once more as characters are accepted. For every kind but Frame
/// \a frame is left as it is.
LineKind readCandumpLine(const QByteArray& line, Frame& frame);

/// How many frames are lost according to a line of LineKind::Lost; 0 for other lines.
qint64 lostFrames(const QByteArray& line);

/// Reads a recording of candump line by line. This class is reentrant.
class CandumpReader : public LineParser
{
public:
    LineKind readLine(const QByteArray& line, Frame& frame) override;
    qint64 lost() const override { return lostSoFar; }

private:
    qint64 lostSoFar = 0;
};

/// Where the first line that candump writes begins in \a start, the first bytes of a recording, or
/// -1.
qint64 findCandump(const QByteArray& start);

} // namespace monitor
