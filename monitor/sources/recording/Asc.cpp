#include "Asc.h"

#include <algorithm>

namespace monitor
{

namespace
{

/// A line that is being parsed.
struct AscLine {
    LineCursor cursor;
    quint32 base;
    Frame& frame;
};

bool isErrorFrame(const Word& word)
{
    return word == "ErrorFrame";
}

bool isDirection(const Word& word)
{
    return word == "Rx" || word == "Tx";
}

bool readId(Word word, quint32 base, Frame& frame)
{
    frame.extended = !word.isEmpty() && (word.last() | 0x20) == 'x';
    word.size -= frame.extended ? 1 : 0;
    return readNumber(word, base, frame.extended ? lastExtendedId : lastStandardId, frame.id);
}

// A hexadecimal byte must have two digits, so that a truncated one is not read as a smaller number.
bool readByte(const Word& word, quint32 base, quint32& byte)
{
    return (base == 10 || word.size == 2) && readNumber(word, base, 0xFF, byte);
}

bool readBytes(AscLine& line, quint32 count)
{
    for (quint32 i = 0; i < count; ++i) {
        quint32 byte = 0;
        if (!readByte(line.cursor.takeNextWord(), line.base, byte))
            return false;
        line.frame.data.at(i) = static_cast<quint8>(byte);
    }
    line.frame.length = static_cast<quint8>(count);
    return true;
}

/// Parses the rest of a classic frame after its direction: "d 8 01 02 ...", "r" or "r 8".
LineKind readClassicData(AscLine& line)
{
    const Word kind = line.cursor.takeNextWord();
    line.frame.remote = kind == "r";
    if (line.frame.remote)
        return LineKind::Frame;
    quint32 length = 0;
    // Length codes from 9 to 15 mean 8 bytes too.
    if (!(kind == "d") || !readNumber(line.cursor.takeNextWord(), 16, 15, length) ||
        !readBytes(line, std::min<quint32>(length, longestClassicFrame)))
        return LineKind::Unknown;
    return LineKind::Frame;
}

bool looksLikeAnId(const Word& word)
{
    Frame ignored;
    return readId(word, 16, ignored);
}

/// Parses a line after the channel. An event other than a frame has a keyword instead of an id.
LineKind readClassic(AscLine& line)
{
    const Word id = line.cursor.takeNextWord();
    if (isErrorFrame(id))
        return LineKind::ErrorFrame;
    const Word direction = line.cursor.takeNextWord();
    if (!isDirection(direction)) {
        const bool isEvent = direction == "TxRq" || (!id.isEmpty() && !looksLikeAnId(id));
        return isEvent ? LineKind::Nothing : LineKind::Unknown;
    }
    return readId(id, line.base, line.frame) ? readClassicData(line) : LineKind::Unknown;
}

bool isFlag(const Word& word)
{
    return word == "0" || word == "1";
}

/// Parses a CAN FD line after the id: an optional name, bit rate switch, error state, length code
/// and length.
bool readFdLength(LineCursor& cursor, quint32& code, quint32& length)
{
    Word word = cursor.takeNextWord();
    if (!isFlag(word))
        word = cursor.takeNextWord();
    return isFlag(word) && isFlag(cursor.takeNextWord()) &&
           readNumber(cursor.takeNextWord(), 16, 15, code) &&
           readNumber(cursor.takeNextWord(), 10, 64, length);
}

/// Parses a line after the word CANFD.
LineKind readFd(AscLine& line)
{
    line.cursor.takeNextWord(); // channel
    const Word direction = line.cursor.takeNextWord();
    const Word id = line.cursor.takeNextWord();
    if (isErrorFrame(direction) || (isDirection(direction) && isErrorFrame(id)))
        return LineKind::ErrorFrame;
    if (direction == "TxRq")
        return LineKind::Nothing;
    quint32 code = 0;
    quint32 length = 0;
    if (!isDirection(direction) || !readId(id, line.base, line.frame) ||
        !readFdLength(line.cursor, code, length) || !readBytes(line, length))
        return LineKind::Unknown;
    line.frame.remote = code != 0 && length == 0;
    return LineKind::Frame;
}

/// Parses a line after the time.
LineKind readEvent(AscLine& line)
{
    const Word first = line.cursor.takeNextWord();
    if (first == "CANFD")
        return readFd(line);
    quint32 channel = 0;
    if (readNumber(first, 10, 255, channel))
        return readClassic(line);
    return first.isEmpty() ? LineKind::Unknown : LineKind::Nothing;
}

/// Whether a line that begins with \a word is a comment, a header or another line without an event.
bool isHeaderWord(const Word& word)
{
    static const char* const words[] = {"date",  "base", "internal", "no",
                                        "Begin", "End",  "begin",    "end"};
    const bool isComment = word.size >= 2 && word.at(0) == '/' && word.at(1) == '/';
    return isComment || std::any_of(std::begin(words), std::end(words),
                                    [&word](const char* text) { return word == text; });
}

} // namespace

LineKind AscReader::readLine(const QByteArray& line, Frame& frame)
{
    LineCursor cursor(line);
    cursor.skipBlanks();
    if (cursor.atEnd() || cursor.peek() == '#')
        return LineKind::Nothing;
    if (!isDigit(cursor.peek())) {
        readHeader(line);
        return isHeaderWord(cursor.takeWord()) ? LineKind::Nothing : LineKind::Unknown;
    }
    Frame read;
    if (!readEventTime(cursor, read))
        return LineKind::Unknown;
    AscLine rest{cursor, base, read};
    const LineKind kind = readEvent(rest);
    if (kind == LineKind::Frame)
        frame = read;
    return kind;
}

void AscReader::readHeader(const QByteArray& line)
{
    LineCursor cursor(line);
    if (!(cursor.takeNextWord() == "base"))
        return;
    base = cursor.takeNextWord() == "dec" ? 10 : 16;
    cursor.takeNextWord(); // "timestamps"
    relative = cursor.takeNextWord() == "relative";
}

/// Returns false if there is no time, or if relative times add up to more than latestTime.
bool AscReader::readEventTime(LineCursor& cursor, Frame& frame)
{
    qint64 time = 0;
    if (!readTime(cursor, time))
        return false;
    time += relative ? nanoseconds : 0;
    if (time > latestTime)
        return false;
    nanoseconds = time;
    frame.nanoseconds = time;
    return true;
}

qint64 findAsc(const QByteArray& start)
{
    return findLine(start, [](const QByteArray& line) {
        AscReader reader;
        Frame ignored;
        LineCursor cursor(line);
        cursor.skipBlanks();
        return !cursor.atEnd() && cursor.peek() != '#' &&
               reader.readLine(line, ignored) != LineKind::Unknown;
    });
}

} // namespace monitor
