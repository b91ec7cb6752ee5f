#include "Trc.h"

#include "text/LineReader.h"

#include <algorithm>

namespace monitor
{

enum class EntryKind { Data, Fd, FdWithSwitch, Remote, Error, Status };

/// The columns that matter before the data. A column is empty if the line has none.
struct TrcEntry {
    EntryKind kind = EntryKind::Data;
    Word time;
    Word bus{"", 0};
    Word id;
    Word length;
    bool hasType = false;
    bool lengthIsCode = false;
    quint32 longSize = 0; // of a J1939 message that does not fit into a frame

    /// Takes the columns up to the data. Ends after the type if the line does not describe a data
    /// or remote frame, since such a line may lack the other columns.
    [[nodiscard]] bool read(LineCursor& cursor, const QByteArray& columns);

private:
    [[nodiscard]] bool take(char column, const Word& word);
};

namespace
{

constexpr qint64 nanosecondsPerMillisecond = 1000000;
constexpr quint32 bytesInPacket = 7; // of the transport protocol, after the packet number
constexpr quint32 highestLengthCode = 15;

struct VersionRow {
    const char* version;
    bool hasFixedColumns; ///< false: $COLUMNS takes precedence
    /// A letter for each, as in $COLUMNS: N number, O time offset, T type, B bus, I id, d
    /// direction, R reserved, l length, L length code, D data.
    const char* columns;
};

constexpr VersionRow versionRows[] = {
    {"1.0", true, "NOIlD"},    {"1.1", true, "NOTIlD"},   {"1.2", true, "NOBTIlD"},
    {"1.3", true, "NOBTIRlD"}, {"2.0", false, "NOTIdlD"}, {"2.1", false, "NOTBIdRLD"},
};
constexpr VersionRow versionWithoutKeyword = versionRows[0];

struct TypeRow {
    const char* type;
    EntryKind kind;
};

constexpr TypeRow typeRows[] = {
    {"DT", EntryKind::Data},         {"Rx", EntryKind::Data},         {"Tx", EntryKind::Data},
    {"FD", EntryKind::Fd},           {"FB", EntryKind::FdWithSwitch}, {"FE", EntryKind::Fd},
    {"BI", EntryKind::FdWithSwitch}, {"RR", EntryKind::Remote},       {"ER", EntryKind::Error},
    {"Error", EntryKind::Error},     {"ST", EntryKind::Status},       {"EC", EntryKind::Status},
    {"EV", EntryKind::Status},       {"Warng", EntryKind::Status},
};

bool findKind(const Word& type, EntryKind& kind)
{
    const auto* const row =
        std::find_if(std::begin(typeRows), std::end(typeRows),
                     [&type](const TypeRow& each) { return type == each.type; });
    if (row == std::end(typeRows))
        return false;
    kind = row->kind;
    return true;
}

/// Accepts a message number such as "17", or "17)" in versions 1.x.
bool isMessageNumber(Word word)
{
    if (!word.isEmpty() && word.last() == ')')
        --word.size;
    return !word.isEmpty() && std::all_of(word.begin, word.begin + word.size, isDigit);
}

// A byte must have two digits, so that a truncated one is not read as a smaller number.
bool readByte(const Word& word, quint8& byte)
{
    quint32 number = 0;
    if (word.size != 2 || !readNumber(word, 16, 0xFF, number))
        return false;
    byte = static_cast<quint8>(number);
    return true;
}

bool readBytes(LineCursor& cursor, quint32 count, quint8* bytes)
{
    for (quint32 i = 0; i < count; ++i) {
        if (!readByte(cursor.takeNextWord(), bytes[i]))
            return false;
    }
    return true;
}

/// Whether nothing follows but the marks of missing bytes.
bool isComplete(LineCursor& cursor)
{
    Word word = cursor.takeNextWord();
    while (word == "--")
        word = cursor.takeNextWord();
    return word.isEmpty();
}

bool readId(const Word& word, Frame& frame)
{
    constexpr int standardDigits = 4;
    constexpr int extendedDigits = 8;
    frame.extended = word.size > standardDigits;
    return word.size <= extendedDigits &&
           readNumber(word, 16, frame.extended ? lastExtendedId : lastStandardId, frame.id);
}

bool readFdLength(const Word& word, bool isCode, quint32& length)
{
    static constexpr quint32 lengths[] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 12, 16, 20, 24, 32, 48, 64};
    if (!isCode)
        return readNumber(word, 10, 64, length);
    quint32 code = 0;
    if (!readNumber(word, 10, highestLengthCode, code))
        return false;
    length = lengths[code];
    return true;
}

/// Reads \a text, the days since 1899-12-30 in UTC, as nanoseconds since 1970.
bool readDays(const Word& text, qint64& nanoseconds)
{
    constexpr quint32 daysTo1970 = 25569;
    constexpr qint64 nanosecondsPerDay = 86400 * nanosecondsPerSecond;
    const auto size =
        static_cast<int>(std::find(text.begin, text.begin + text.size, '.') - text.begin);
    quint32 days = 0;
    if (!readNumber({text.begin, size}, 10, latestTime / nanosecondsPerDay + daysTo1970 - 1,
                    days) ||
        days < daysTo1970)
        return false;
    nanoseconds = (days - daysTo1970) * nanosecondsPerDay;
    LineCursor fraction(Word{text.begin + size, text.size - size});
    fraction.take('.');
    for (qint64 weight = nanosecondsPerDay / 10; isDigit(fraction.peek()); weight /= 10)
        nanoseconds += weight * (fraction.take() - '0');
    return fraction.atEnd();
}

/// The value of a keyword, which ends at a blank or semicolon.
Word takeValue(LineCursor& cursor)
{
    Word value = cursor.takeWord();
    value.size =
        static_cast<int>(std::find(value.begin, value.begin + value.size, ';') - value.begin);
    return value;
}

/// The letters in a list such as "N,O,T,I,d,l,D". A column with a longer name becomes '?'.
QByteArray columnLetters(const Word& list)
{
    QByteArray letters;
    for (const QByteArray& name : QByteArray::fromRawData(list.begin, list.size).split(','))
        letters += name.size() == 1 ? name.at(0) : '?';
    return letters;
}

/// Whether frames can be read from these columns.
bool areSufficient(const QByteArray& letters)
{
    const auto has = [&letters](char letter) { return letters.count(letter) == 1; };
    return has('O') && has('T') && has('I') && has('l') != has('L') && has('D') &&
           letters.endsWith('D');
}

constexpr quint32 globalAddress = 255;

/// A frame of the transport protocol with the PGN \a pgn to the destination of \a message.
Frame transportFrame(const Frame& message, quint32 pgn)
{
    constexpr quint32 lowestPriority = 7;
    const quint32 destination =
        hasDestination(message.id) ? destinationAddressOf(message.id) : globalAddress;
    Frame frame = message;
    frame.id = lowestPriority << 26 | pgn << 8 | destination << 8 | sourceAddressOf(message.id);
    frame.length = longestClassicFrame;
    frame.data.fill(0xFF);
    return frame;
}

/// Reads the time in milliseconds. It is unknown if it is too far from \a start.
bool readTime(const Word& word, qint64 start, Frame& frame)
{
    LineCursor cursor(word);
    qint64 offset = 0;
    if (!readTime(cursor, offset, nanosecondsPerMillisecond) || !cursor.atEnd())
        return false;
    if (start + offset <= latestTime)
        frame.nanoseconds = start + offset;
    return true;
}

/// Accepts a number, and a dash or an empty word if the line does not name the bus.
bool isBus(const Word& word)
{
    quint32 ignored = 0;
    return word.isEmpty() || word == "-" || (word.size <= 3 && readNumber(word, 10, 255, ignored));
}

LineKind readFdFrame(LineCursor& cursor, const TrcEntry& entry, Frame& frame)
{
    quint32 count = 0;
    if (!readFdLength(entry.length, entry.lengthIsCode, count) ||
        !readBytes(cursor, count, frame.data.data()) || !isComplete(cursor))
        return LineKind::Unknown;
    frame.fd = true;
    frame.bitRateSwitch = entry.kind == EntryKind::FdWithSwitch;
    frame.length = static_cast<quint8>(count);
    return LineKind::Frame;
}

LineKind readRemoteFrame(LineCursor& cursor, const TrcEntry& entry, Frame& frame)
{
    quint32 ignored = 0;
    frame.remote = true;
    return readNumber(entry.length, 10, highestLengthCode, ignored) && isComplete(cursor)
               ? LineKind::Frame
               : LineKind::Unknown;
}

/// Reads a classic frame. The bytes of a J1939 message that does not fit into one go to \a
/// transport.
LineKind readDataFrame(LineCursor& cursor, TrcEntry& entry, TransportFrames& transport,
                       Frame& frame)
{
    quint32 size = 0;
    if (!readNumber(entry.length, 10, TransportFrames::longestMessage, size))
        return LineKind::Unknown;
    if (size > longestClassicFrame && frame.extended) {
        entry.longSize = size;
        return transport.read(cursor, size) && isComplete(cursor) ? LineKind::Frame
                                                                  : LineKind::Unknown;
    }
    // J1939 messages have 29 bits, so this is a length code.
    if (size > highestLengthCode)
        return LineKind::Unknown;
    size = std::min<quint32>(size, longestClassicFrame);
    frame.length = static_cast<quint8>(size);
    return readBytes(cursor, size, frame.data.data()) && isComplete(cursor) ? LineKind::Frame
                                                                            : LineKind::Unknown;
}

/// Reads the rest of a data or remote frame.
LineKind readContent(LineCursor& cursor, TrcEntry& entry, TransportFrames& transport, Frame& frame)
{
    LineCursor ahead = cursor;
    const Word first = ahead.takeNextWord();
    if (first == "ERROR") // of version 1.0, with an error code instead of the id
        return LineKind::ErrorFrame;
    if (!isBus(entry.bus) || !readId(entry.id, frame))
        return LineKind::Unknown;
    if (first == "RTR")
        return readRemoteFrame(ahead, entry, frame);
    if (entry.kind == EntryKind::Remote)
        return readRemoteFrame(cursor, entry, frame);
    return entry.kind == EntryKind::Data ? readDataFrame(cursor, entry, transport, frame)
                                         : readFdFrame(cursor, entry, frame);
}

} // namespace

bool TrcEntry::read(LineCursor& cursor, const QByteArray& columns)
{
    for (const char column : columns) {
        if (column == 'D')
            return true;
        const Word word = cursor.takeNextWord();
        // Stopping at the end of the line also bounds the time if $COLUMNS is very long.
        if (word.isEmpty() || !take(column, word))
            return false;
        if (kind == EntryKind::Error || kind == EntryKind::Status)
            return true;
    }
    return false;
}

bool TrcEntry::take(char column, const Word& word)
{
    switch (column) {
    case 'N':
        return isMessageNumber(word);
    case 'O':
        time = word;
        return true;
    case 'T':
        hasType = true;
        return findKind(word, kind);
    case 'B':
        bus = word;
        return true;
    case 'I':
        id = word;
        return true;
    case 'L':
    case 'l':
        length = word;
        lengthIsCode = column == 'L';
        return true;
    default:
        return true;
    }
}

bool TransportFrames::read(LineCursor& cursor, quint32 size)
{
    length = size;
    return readBytes(cursor, size, bytes.data());
}

void TransportFrames::begin(const Frame& idFrame)
{
    message = idFrame;
    packets = (length + bytesInPacket - 1) / bytesInPacket;
    nextFrame = 0;
}

bool TransportFrames::next(Frame& frame)
{
    if (nextFrame > packets)
        return false;
    frame = nextFrame == 0 ? announcement() : packet(nextFrame);
    ++nextFrame;
    return true;
}

Frame TransportFrames::announcement() const
{
    constexpr quint8 requestToSend = 16;
    constexpr quint8 broadcastAnnounce = 32;
    const quint32 pgn = pgnOf(message.id);
    Frame frame = transportFrame(message, 0xEC00);
    const bool isBroadcast = destinationAddressOf(frame.id) == globalAddress;
    frame.data[0] = isBroadcast ? broadcastAnnounce : requestToSend;
    frame.data[1] = static_cast<quint8>(length);
    frame.data[2] = static_cast<quint8>(length >> 8);
    frame.data[3] = static_cast<quint8>(packets);
    frame.data[5] = static_cast<quint8>(pgn);
    frame.data[6] = static_cast<quint8>(pgn >> 8);
    frame.data[7] = static_cast<quint8>(pgn >> 16);
    return frame;
}

Frame TransportFrames::packet(quint32 number) const
{
    Frame frame = transportFrame(message, 0xEB00);
    const quint32 begin = (number - 1) * bytesInPacket;
    const quint32 count = std::min(bytesInPacket, length - begin);
    frame.data[0] = static_cast<quint8>(number);
    std::copy_n(bytes.begin() + begin, count, frame.data.begin() + 1);
    return frame;
}

TrcReader::TrcReader() : columns(versionWithoutKeyword.columns) {}

LineKind TrcReader::readLine(std::string_view line, Frame& frame)
{
    LineCursor cursor(line);
    cursor.takeText(byteOrderMark);
    cursor.skipBlanks();
    if (cursor.atEnd())
        return LineKind::Nothing;
    if (cursor.peek() == ';') {
        readKeyword(cursor);
        return LineKind::Nothing;
    }
    TrcEntry entry;
    Frame read;
    const LineKind kind = readEntry(cursor, entry, read);
    if (kind != LineKind::Frame)
        return kind;
    read.bus = entry.bus == "-" ? busNames.indexOf("", 0)
                                : busNames.indexOf(entry.bus.begin, entry.bus.size);
    frame = read;
    if (entry.longSize > 0)
        beginLongMessage(frame);
    return LineKind::Frame;
}

void TrcReader::readKeyword(LineCursor cursor)
{
    if (cursor.takeText(";$FILEVERSION="))
        readVersion(takeValue(cursor));
    else if (cursor.takeText(";$STARTTIME="))
        readStart(takeValue(cursor));
    else if (cursor.takeText(";$COLUMNS=") && !hasFixedColumns)
        readColumns(takeValue(cursor));
}

/// Begins a recording, which may follow another one in the same file.
void TrcReader::readVersion(const Word& version)
{
    const auto* const row =
        std::find_if(std::begin(versionRows), std::end(versionRows),
                     [&version](const VersionRow& each) { return version == each.version; });
    const bool isKnown = row != std::end(versionRows);
    columns = isKnown ? row->columns : "";
    hasFixedColumns = isKnown && row->hasFixedColumns;
    start.reset();
    if (!isKnown) {
        constexpr int longestShown = 10;
        const QByteArray shown(version.begin, std::min(version.size, longestShown));
        addNote(QStringLiteral("the format version \"%1\" is unknown; frames are read as described "
                               "by $COLUMNS, if it is present")
                    .arg(textOf(shown)));
    }
}

void TrcReader::readStart(const Word& text)
{
    qint64 nanoseconds = 0;
    const bool isRead = readDays(text, nanoseconds);
    start = isRead ? std::optional(nanoseconds) : std::nullopt;
    addNote(isRead
                ? QStringLiteral("the start time is taken as UTC, since the time zone is unknown")
                : QStringLiteral("$STARTTIME is not a date from 1970 on; times are counted from "
                                 "the start of the recording"));
}

void TrcReader::readColumns(const Word& list)
{
    columns = columnLetters(list);
    if (areSufficient(columns))
        return;
    columns.clear();
    addNote(
        QStringLiteral("the lines below $COLUMNS cannot be read: $COLUMNS must contain O, T, I and "
                       "either l or L, and end with D"));
}

LineKind TrcReader::readEntry(LineCursor& cursor, TrcEntry& entry, Frame& frame)
{
    if (!entry.read(cursor, columns))
        return LineKind::Unknown;
    if (entry.kind == EntryKind::Error)
        return LineKind::ErrorFrame;
    // Without a type, a status has a reserved id.
    if (entry.kind == EntryKind::Status || (!entry.hasType && entry.id == "FFFFFFFF"))
        return LineKind::Nothing;
    return readTime(entry.time, start.value_or(0), frame)
               ? readContent(cursor, entry, transport, frame)
               : LineKind::Unknown;
}

void TrcReader::beginLongMessage(Frame& frame)
{
    ++longMessages;
    transport.begin(frame);
    transport.next(frame); // the announcement
}

QStringList TrcReader::notes() const
{
    QStringList notes = headerNotes;
    if (longMessages > 0)
        notes +=
            QStringLiteral("%1 J1939 message(s) of more than 8 bytes are counted as the frames of "
                           "the transport protocol that carry them")
                .arg(longMessages);
    return notes;
}

// The number is limited because a damaged file can have thousands of headers.
void TrcReader::addNote(const QString& note)
{
    constexpr int most = 10;
    if (headerNotes.size() < most && !headerNotes.contains(note))
        headerNotes += note;
}

namespace
{

bool isTypical(std::string_view line)
{
    LineCursor cursor(line);
    cursor.takeText(byteOrderMark);
    cursor.skipBlanks();
    if (cursor.peek() == ';')
        return cursor.takeText(";$FILEVERSION=") || cursor.takeText(";$STARTTIME=") ||
               cursor.takeText(";$COLUMNS=");
    const Word number = cursor.takeWord();
    cursor.skipBlanks();
    return isMessageNumber(number) && number.last() == ')' && isDigit(cursor.peek());
}

bool isNotBlank(std::string_view line)
{
    return line.find_first_not_of(" \t\n\v\f\r") != std::string_view::npos;
}

} // namespace

qint64 findTrc(const QByteArray& start)
{
    // Version 1.0 has no keywords. The comments at its beginning are framed by such a line.
    const qint64 first = findLine(start, isNotBlank);
    if (first >= 0 && start.mid(static_cast<int>(first)).startsWith(";###"))
        return first;
    return findLine(start, isTypical);
}

} // namespace monitor
