#pragma once

#include "TextRecording.h"
#include "sources/BusNames.h"
#include "text/LineCursor.h"

#include <optional>

namespace monitor
{

/// Reads a Vector ASC recording line by line:
///
///     date Mon Nov 16 10:38:11.123 am 2020
///     base hex  timestamps absolute
///        0.015991 1  18FEDF00x       Rx   d 8 8A A0 FF FF FF FF FF FF
///        0.016991 1  181             Rx   r
///        0.017991 1  ErrorFrame
///        0.018991 CANFD   1 Rx  123  Name  0 0 9 12 00 11 22 33 44 55 66 77 88 99 AA BB
///
/// The date, with English or German names, is the start of the recording, unless a trigger block
/// that begins with the measurement ("0.000000 Start of measurement") has another one; without a
/// date, times count from an unknown moment. The header gives the base of ids and data bytes (16 if
/// there is no header) and tells whether each time is relative to the previous line. Received (Rx)
/// and sent (Tx) frames are read; header lines, comments and other events are LineKind::Nothing.
/// This class is reentrant.
class AscReader : public LineParser
{
public:
    LineKind readLine(std::string_view line, Frame& frame) override;
    int readUsualLines(LineReader& lines, Frame* frames, int size) override;
    QStringList buses() const override { return busNames.names(); }
    QStringList notes() const override;

private:
    const char* readUsualLine(const char* at, const char* end, Frame& frame);
    void readHeader(std::string_view line);
    void readStart(LineCursor cursor);
    void readStartOfMeasurement(LineCursor cursor);
    bool readEventTime(LineCursor& cursor, Frame& frame);

    quint32 base = 16;
    bool relative = false;
    qint64 nanoseconds = 0; // of the previous event, since the start
    qint64 start = 0;
    std::optional<qint64> blockStart; // of the newest trigger block
    bool hasStart = false;
    bool hasUnknownStart = false;
    BusNames busNames;
};

/// The position of the first line typical of this format in \a start, the first bytes of a
/// recording; -1 if no line is.
qint64 findAsc(const QByteArray& start);

} // namespace monitor
