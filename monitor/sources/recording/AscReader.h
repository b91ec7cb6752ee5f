#pragma once

#include "can/Frame.h"
#include "text/LineCursor.h"

#include <QtCore/QByteArray>

namespace monitor
{

/// Reads a Vector ASC recording line by line:
///
///     base hex  timestamps absolute
///        0.015991 1  18FEDF00x       Rx   d 8 8A A0 FF FF FF FF FF FF
///        0.016991 1  181             Rx   r
///        0.017991 1  ErrorFrame
///        0.018991 CANFD   1 Rx  123  Name  0 0 9 12 00 11 22 33 44 55 66 77 88 99 AA BB
///
/// The header tells the base of identifiers and data bytes (16 if it does not) and whether times
/// count from the line before. Frames received (Rx) and sent (Tx) count; header lines, comments
/// and other events are LineKind::Nothing. This class is reentrant.
class AscReader
{
public:
    /// Reads one line into \a frame; for every kind but Frame that is left as it is.
    LineKind readLine(const QByteArray& line, Frame& frame);

    /// Whether \a line can only be the header of such a recording.
    static bool isHeader(const QByteArray& line);

private:
    void readHeader(const QByteArray& line);
    bool readEventTime(LineCursor& cursor, Frame& frame);

    quint32 base = 16;
    bool relative = false;
    qint64 microseconds = 0; // of the line before
};

} // namespace monitor
