#pragma once

#include "TextRecording.h"

namespace monitor
{

/// Reads a line written by candump into \a frame. The line has the compact format
///
///     (1635188455.020850) can1 18F00E00#821639C4FFFFFFFF
///     (1635188455.020850) can1 181#R6
///     (1635188455.020850) can1 123##1.00.11.22
///
/// or the screen format, with or without a time
///
///     (000.005001)  can0  18FEDF00   [8]  8A A0 FF FF FF FF FF FF
///     (2021-10-25 19:00:55.020850)  can0  18FEDF00   [2]  8A A0
///      can0  181   [6]  remote request
///      can0  20000088   [8]  00 00 00 00 00 00 00 00   ERRORFRAME
///
/// An id of 3 digits has 11 bits, and an id of 8 digits has 29 bits and marks an error frame by bit
/// 29. A classic frame has up to 8 bytes. A CAN FD frame (## and flags, or a length of two digits)
/// has up to 64. Also accepted: upper and lower case digits, any number of blanks, dots between the
/// bytes of the compact format, a direction (R, T; RX, TX), and the data repeated as characters.
/// For every kind but Frame, \a frame is left unchanged.
LineKind readCandumpLine(const QByteArray& line, Frame& frame);

/// The number of lost frames that a line of LineKind::Lost reports; 0 for other lines.
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

/// The position of the first line of this format in \a start, the first bytes of a recording; -1 if
/// no line is of this format.
qint64 findCandump(const QByteArray& start);

} // namespace monitor
