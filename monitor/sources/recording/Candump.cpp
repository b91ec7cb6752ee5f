#include "Candump.h"

#include "text/LineCursor.h"

#include <QtCore/QDateTime>

namespace monitor
{

namespace
{

constexpr int standardDigits = 3;
constexpr int extendedDigits = 8;
constexpr quint32 errorFlag = 0x20000000;
constexpr quint32 highestRawLength = 15; // the highest length code of a frame
constexpr char droppedPrefix[] = "DROPCOUNT: dropped ";

LineKind kindOf(const Frame& frame)
{
    return frame.id > lastExtendedId ? LineKind::ErrorFrame : LineKind::Frame;
}

/// Reads exactly \a digits digits, followed by \a separator.
bool readPart(LineCursor& cursor, int digits, char separator, int& number)
{
    for (number = 0; digits > 0 && isDigit(cursor.peek()); --digits)
        number = number * 10 + (cursor.take() - '0');
    return digits == 0 && cursor.take(separator);
}

/// Reads a date and time such as "2021-10-25 19:00:55.020850", an optional part of the screen
/// format. The time zone is unknown, so only differences between times are meaningful. If there is
/// no date, \a cursor does not move.
bool readDateAndTime(LineCursor& cursor, qint64& nanoseconds)
{
    LineCursor ahead = cursor;
    int year = 0;
    int month = 0;
    int day = 0;
    int hour = 0;
    int minute = 0;
    if (!readPart(ahead, 4, '-', year) || !readPart(ahead, 2, '-', month) ||
        !readPart(ahead, 2, ' ', day) || !readPart(ahead, 2, ':', hour) ||
        !readPart(ahead, 2, ':', minute) || !readTime(ahead, nanoseconds))
        return false;
    const QDate date(year, month, day);
    const QTime time(hour, minute);
    const qint64 minutes = QDateTime(date, time, Qt::UTC).toSecsSinceEpoch() / 60;
    constexpr qint64 nanosecondsPerMinute = 60000000000;
    if (!date.isValid() || !time.isValid() || minutes < 0 ||
        minutes >= latestTime / nanosecondsPerMinute)
        return false;
    nanoseconds += minutes * nanosecondsPerMinute;
    cursor = ahead;
    return true;
}

bool readBracketedTime(LineCursor& cursor, Frame& frame)
{
    qint64 time = 0;
    if (!cursor.take('(') || !(readDateAndTime(cursor, time) || readTime(cursor, time)))
        return false;
    frame.nanoseconds = time;
    return cursor.take(')') && cursor.skipBlanks();
}

bool readId(const Word& word, Frame& frame)
{
    frame.extended = word.size == extendedDigits;
    const quint32 last = frame.extended ? lastExtendedId | errorFlag : lastStandardId;
    return (frame.extended || word.size == standardDigits) && readNumber(word, 16, last, frame.id);
}

/// The digits before the # of the compact format.
Word takeIdDigits(const Word& word)
{
    int size = 0;
    while (size < word.size && word.at(size) != '#')
        ++size;
    return {word.begin, size};
}

bool readByte(LineCursor& cursor, Frame& frame, int limit)
{
    const auto high = hexDigit(cursor.take());
    const auto low = hexDigit(cursor.take());
    if (!high || !low || frame.length == limit)
        return false;
    frame.data.at(frame.length++) = static_cast<quint8>(*high << 4 | *low);
    return true;
}

/// Reads the optional length code above 8 of a classic frame of 8 bytes, such as "_9" after the
/// data.
bool readRawLength(LineCursor& cursor, bool has8)
{
    if (!cursor.take('_'))
        return true;
    const auto length = hexDigit(cursor.take());
    return has8 && length && *length > longestClassicFrame && *length <= highestRawLength;
}

bool readRemote(LineCursor& cursor, Frame& frame)
{
    frame.remote = true;
    const char length = cursor.peek();
    if (length >= '0' && length <= '8')
        cursor.take();
    return readRawLength(cursor, length == '8');
}

bool readBytes(LineCursor& cursor, Frame& frame, int limit)
{
    while (!cursor.atEnd() && !isBlank(cursor.peek()) && cursor.peek() != '_') {
        if (frame.length > 0)
            cursor.take('.');
        if (!readByte(cursor, frame, limit))
            return false;
    }
    return true;
}

/// Reads the part after the # of the compact format.
bool readCompactData(LineCursor& cursor, Frame& frame)
{
    if (cursor.take('R'))
        return readRemote(cursor, frame);
    if (cursor.take('#')) // then the flags of CAN FD
        return hexDigit(cursor.take()) && (cursor.take('.') ? !cursor.atEnd() : true) &&
               readBytes(cursor, frame, static_cast<int>(frame.data.size()));
    return readBytes(cursor, frame, longestClassicFrame) &&
           readRawLength(cursor, frame.length == longestClassicFrame);
}

/// Reads the part after the data of the compact format, which is empty or the direction.
bool readCompactEnd(LineCursor& cursor)
{
    const bool separated = cursor.skipBlanks();
    if (cursor.atEnd())
        return true;
    const Word direction = cursor.takeWord();
    cursor.skipBlanks();
    return separated && (direction == "R" || direction == "T") && cursor.atEnd();
}

bool readCompact(LineCursor cursor, Frame& frame)
{
    if (!readBracketedTime(cursor, frame) || cursor.takeWord().isEmpty() || !cursor.skipBlanks())
        return false;
    LineCursor ahead = cursor;
    const Word digits = takeIdDigits(ahead.takeWord());
    for (int i = 0; i < digits.size; ++i)
        cursor.take();
    return readId(digits, frame) && cursor.take('#') && readCompactData(cursor, frame) &&
           readCompactEnd(cursor);
}

/// Reads the length given before the data: "[8]", or "[08]" to "[64]" for CAN FD.
bool readAnnouncedLength(const Word& word, quint32& length, int& limit)
{
    if (word.size < 3 || word.at(0) != '[' || word.last() != ']')
        return false;
    const bool isClassic = word.size == 3;
    limit = isClassic ? longestClassicFrame : 64;
    return word.size <= 4 &&
           readNumber({word.begin + 1, word.size - 2}, 10, static_cast<quint32>(limit), length);
}

bool readScreenBytes(LineCursor& cursor, quint32 length, int limit, Frame& frame)
{
    while (frame.length < length) {
        if (!cursor.skipBlanks() || !readByte(cursor, frame, limit))
            return false;
    }
    return cursor.atEnd() || isBlank(cursor.peek());
}

/// Reads the part after the bytes of the screen format: nothing, the bytes as characters, or the
/// mark of an error frame.
bool readScreenEnd(LineCursor& cursor, bool isError)
{
    cursor.skipBlanks();
    if (cursor.atEnd())
        return !isError;
    if (isError)
        return cursor.takeWord() == "ERRORFRAME";
    return cursor.peek() == '\'';
}

bool readScreenData(LineCursor& cursor, quint32 length, int limit, Frame& frame)
{
    LineCursor ahead = cursor;
    if (ahead.takeNextWord() == "remote" && ahead.takeNextWord() == "request") {
        frame.remote = true;
        ahead.skipBlanks();
        return ahead.atEnd();
    }
    return readScreenBytes(cursor, length, limit, frame) &&
           readScreenEnd(cursor, frame.id > lastExtendedId);
}

/// Takes the id, skipping an optional direction and flags such as "RX - -" or "TX B E" before it.
Word takeScreenId(LineCursor& cursor)
{
    Word word = cursor.takeNextWord();
    if (!(word == "RX" || word == "TX"))
        return word;
    cursor.takeNextWord();
    cursor.takeNextWord();
    return cursor.takeNextWord();
}

bool readScreen(LineCursor cursor, Frame& frame)
{
    if (cursor.peek() == '(' && !readBracketedTime(cursor, frame))
        return false;
    if (cursor.takeWord().isEmpty() || !readId(takeScreenId(cursor), frame))
        return false;
    quint32 length = 0;
    int limit = 0;
    return readAnnouncedLength(cursor.takeNextWord(), length, limit) &&
           readScreenData(cursor, length, limit, frame);
}

} // namespace

LineKind readCandumpLine(const QByteArray& line, Frame& frame)
{
    LineCursor cursor(line);
    cursor.skipBlanks();
    if (cursor.atEnd() || cursor.peek() == '#')
        return LineKind::Nothing;
    if (lostFrames(line) > 0)
        return LineKind::Lost;
    Frame read;
    if (!readCompact(cursor, read) && !readScreen(cursor, read))
        return LineKind::Unknown;
    if (kindOf(read) == LineKind::Frame)
        frame = read;
    return kindOf(read);
}

// An example is "DROPCOUNT: dropped 12 CAN frames on 'can0' socket (total drops 12)".
qint64 lostFrames(const QByteArray& line)
{
    if (!line.startsWith(droppedPrefix))
        return 0;
    LineCursor cursor(line);
    cursor.takeWord();
    cursor.takeNextWord();
    quint32 number = 0;
    constexpr quint32 last = 0xFFFFFFFF; // candump counts in 32 bits
    return readNumber(cursor.takeNextWord(), 10, last, number) ? number : 0;
}

LineKind CandumpReader::readLine(const QByteArray& line, Frame& frame)
{
    const LineKind kind = readCandumpLine(line, frame);
    if (kind == LineKind::Lost)
        lostSoFar += lostFrames(line);
    return kind;
}

qint64 findCandump(const QByteArray& start)
{
    return findLine(start, [](const QByteArray& line) {
        Frame ignored;
        const LineKind kind = readCandumpLine(line, ignored);
        return kind != LineKind::Nothing && kind != LineKind::Unknown;
    });
}

} // namespace monitor
