#pragma once

#include "TextRecording.h"
#include "sources/BusNames.h"
#include "text/LineCursor.h"

namespace monitor
{

/// A J1939 message of more than 8 bytes, as the frames of the transport protocol (SAE J1939-21)
/// that carry it: broadcast, or from the source to the destination if its id has one.
class TransportFrames
{
public:
    static constexpr quint32 longestMessage = 1785;

    /// Reads the \a size bytes of a message, at most longestMessage, from \a cursor. Returns false
    /// if a byte is missing.
    [[nodiscard]] bool read(LineCursor& cursor, quint32 size);

    /// Begins the frames of the message. They take its id, bus and time from \a idFrame.
    void begin(const Frame& idFrame);

    /// Returns the next frame in \a frame, or false if there are no more.
    bool next(Frame& frame);

private:
    Frame announcement() const;
    Frame packet(quint32 number) const;

    Frame message;
    quint32 length = 0;
    quint32 packets = 0;
    quint32 nextFrame = 1; // 0: the announcement; otherwise the number of a packet
    std::array<quint8, longestMessage> bytes{};
};

struct TrcEntry;

/// Reads a PEAK TRC recording of version 1.0 to 2.1 line by line:
///
///     ;$FILEVERSION=2.1
///     ;$STARTTIME=44548.6028595139
///     ;$COLUMNS=N,O,T,B,I,d,R,L,D
///           1      1059.900 DT 1      0300 Rx -  7    00 00 00 00 04 00 00
///           2      1283.231 FB 1  18EFC034 Tx -  9    00 11 22 33 44 55 66 77 88 99 AA BB
///           3      1298.945 RR 1      0301 Rx -  4
///           4      1323.201 ER 1         - Rx -  5    04 00 02 00 00
///
/// Versions 1.0 to 1.3 have fixed columns. An id of up to 4 digits has 11 bits, a longer one 29. A
/// J1939 message of more than 8 bytes, which has a single line, is read as several frames. Status
/// lines, comments and texts are LineKind::Nothing. This class is reentrant.
class TrcReader : public LineParser
{
public:
    TrcReader();

    LineKind readLine(std::string_view line, Frame& frame) override;
    bool readFurtherFrame(Frame& frame) override { return transport.next(frame); }
    QStringList buses() const override { return busNames.names(); }
    QStringList notes() const override;

private:
    void readKeyword(LineCursor cursor);
    void readVersion(const Word& version);
    void readStart(const Word& text);
    void readColumns(const Word& list);
    LineKind readEntry(LineCursor& cursor, TrcEntry& entry, Frame& frame);
    void beginLongMessage(Frame& frame);
    void addNote(const QString& note);

    QByteArray columns; // a letter for each, as in $COLUMNS; empty if lines cannot be read
    bool hasFixedColumns = true;
    std::optional<qint64> start; // in nanoseconds since 1970
    BusNames busNames;
    TransportFrames transport;
    qint64 longMessages = 0;
    QStringList headerNotes;
};

/// The position of the first line typical of this format in \a start, the first bytes of a
/// recording; -1 if no line is.
qint64 findTrc(const QByteArray& start);

} // namespace monitor
