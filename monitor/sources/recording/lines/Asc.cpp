#include "Asc.h"

#include "text/eightCharacters.h"

#include <QtCore/QDateTime>

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace monitor
{

namespace
{

/// A line that is being parsed.
struct AscLine {
    LineCursor cursor;
    quint32 base;
    Frame& frame;
    Word channel; ///< empty if unknown
};

bool isErrorFrame(const Word& word)
{
    return word == "ErrorFrame";
}

bool isDirection(const Word& word)
{
    return word == "Rx" || word == "Tx";
}

bool isChannel(const Word& word)
{
    quint32 channel = 0;
    return word.size <= 3 && readNumber(word, 10, 255, channel);
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
bool readFdLength(LineCursor& cursor, Frame& frame, quint32& code, quint32& length)
{
    Word word = cursor.takeNextWord();
    if (!isFlag(word))
        word = cursor.takeNextWord();
    frame.bitRateSwitch = word == "1";
    return isFlag(word) && isFlag(cursor.takeNextWord()) &&
           readNumber(cursor.takeNextWord(), 16, 15, code) &&
           readNumber(cursor.takeNextWord(), 10, 64, length);
}

/// The flags after the data of a CANFD line, its duration and the number of its bits. Such a line
/// may hold a classic frame.
void readFdFlags(LineCursor& cursor, Frame& frame)
{
    constexpr quint32 isFd = 0x1000;
    cursor.takeNextWord();
    cursor.takeNextWord();
    quint32 flags = 0;
    if (frame.length <= longestClassicFrame &&
        readNumber(cursor.takeNextWord(), 16, 0xFFFFFFFF, flags))
        frame.fd = (flags & isFd) != 0;
}

/// Parses a line after the word CANFD.
LineKind readFd(AscLine& line)
{
    const Word channel = line.cursor.takeNextWord();
    if (isChannel(channel))
        line.channel = channel;
    const Word direction = line.cursor.takeNextWord();
    const Word id = line.cursor.takeNextWord();
    if (isErrorFrame(direction) || (isDirection(direction) && isErrorFrame(id)))
        return LineKind::ErrorFrame;
    if (direction == "TxRq")
        return LineKind::Nothing;
    quint32 code = 0;
    quint32 length = 0;
    if (!isDirection(direction) || !readId(id, line.base, line.frame) ||
        !readFdLength(line.cursor, line.frame, code, length) || !readBytes(line, length))
        return LineKind::Unknown;
    line.frame.remote = code != 0 && length == 0;
    line.frame.fd = !line.frame.remote;
    readFdFlags(line.cursor, line.frame);
    line.frame.bitRateSwitch = line.frame.bitRateSwitch && line.frame.fd;
    return LineKind::Frame;
}

/// Parses a line after the time.
LineKind readEvent(AscLine& line)
{
    const Word first = line.cursor.takeNextWord();
    if (first == "CANFD")
        return readFd(line);
    if (isChannel(first)) {
        line.channel = first;
        return readClassic(line);
    }
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

/// The number of the month whose English or German name begins with these three letters; 0 if the
/// name is unknown.
int monthOf(const QByteArray& name)
{
    static const struct {
        const char* name;
        int number;
    } months[] = {{"jan", 1},       {"feb", 2},  {"mar", 3}, {"mrz", 3},  {"m\xE4r", 3},
                  {"m\xC3\xA4", 3}, {"apr", 4},  {"may", 5}, {"mai", 5},  {"jun", 6},
                  {"jul", 7},       {"aug", 8},  {"sep", 9}, {"oct", 10}, {"okt", 10},
                  {"nov", 11},      {"dec", 12}, {"dez", 12}};
    for (const auto& month : months) {
        if (qstrnicmp(name.constData(), month.name, qstrlen(month.name)) == 0)
            return month.number;
    }
    return 0;
}

/// Reads a time of the day such as "10:38:11.123 pm". The \a half of the day, "am" or "pm", may be
/// empty.
bool readDaytime(const QByteArray& text, const QByteArray& half, qint64& nanoseconds)
{
    const QList<QByteArray> parts = text.split(':');
    if (parts.size() != 3)
        return false;
    int hour = parts.at(0).toInt();
    const int minute = parts.at(1).toInt();
    LineCursor seconds(viewOf(parts.at(2)));
    if (!readTime(seconds, nanoseconds) || !seconds.atEnd())
        return false;
    const bool isValid = half.isEmpty() || (hour >= 1 && hour <= 12);
    if (!half.isEmpty())
        hour = hour % 12 + (half == "pm" ? 12 : 0);
    constexpr qint64 nanosecondsPerMinute = 60000000000;
    if (!isValid || !QTime::isValid(hour, minute, 0) || nanoseconds >= nanosecondsPerMinute)
        return false;
    nanoseconds += (hour * 60 + minute) * nanosecondsPerMinute;
    return true;
}

/// Reads a date such as "Mon Nov 16 10:38:11.123 am 2020".
bool readDate(LineCursor cursor, qint64& nanoseconds)
{
    QList<QByteArray> words;
    for (Word word = cursor.takeNextWord(); !word.isEmpty(); word = cursor.takeNextWord())
        words.append(QByteArray(word.begin, word.size));
    QByteArray half;
    if (words.size() == 6)
        half = words.takeAt(4).toLower();
    if (words.size() != 5 || !(half.isEmpty() || half == "am" || half == "pm"))
        return false;
    const QDate date(words.at(4).toInt(), monthOf(words.at(1)), words.at(2).toInt());
    qint64 daytime = 0;
    if (!date.isValid() || !readDaytime(words.at(3), half, daytime))
        return false;
    constexpr qint64 secondsPerDay = 86400;
    constexpr qint64 nanosecondsPerDay = secondsPerDay * nanosecondsPerSecond;
    const qint64 days = QDate(1970, 1, 1).daysTo(date);
    if (days < 0 || days >= latestTime / nanosecondsPerDay)
        return false;
    nanoseconds = days * nanosecondsPerDay + daytime;
    return true;
}

/// Takes a time of up to 7 digits before and after the point.
bool takeTime(const char*& at, qint64& nanoseconds)
{
    constexpr qint64 weights[] = {1000000000, 100000000, 10000000, 1000000,
                                  100000,     10000,     1000,     100};
    quint32 seconds = 0;
    quint32 fraction = 0;
    if (!takeDecimal(at, 7, seconds) || *at != '.')
        return false;
    const char* const point = at++;
    if (!takeDecimal(at, 7, fraction))
        return false;
    nanoseconds = seconds * nanosecondsPerSecond + fraction * weights[at - point - 1];
    return true;
}

/// The line feed after the data, which ends at \a at. Returns nullptr if it is not before \a end,
/// or if a character other than a blank follows the data.
const char* findLineFeed(const char* at, const char* end)
{
    if (*at == '\r' && at[1] == '\n')
        return at + 1;
    if (*at == '\n')
        return at;
    return *at == ' '
               ? static_cast<const char*>(std::memchr(at, '\n', static_cast<size_t>(end - at)))
               : nullptr;
}

} // namespace

LineKind AscReader::readLine(std::string_view line, Frame& frame)
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
    AscLine rest{cursor, base, read, {"", 0}};
    const LineKind kind = readEvent(rest);
    if (kind == LineKind::Nothing)
        readStartOfMeasurement(cursor);
    if (kind == LineKind::Frame) {
        read.bus = busNames.indexOf(rest.channel.begin, rest.channel.size);
        frame = read;
    }
    return kind;
}

int AscReader::readUsualLines(LineReader& lines, Frame* frames, int size)
{
    if (base != 16)
        return 0;
    return readAhead(lines, frames, size, [this](const char* line, const char* end, Frame& frame) {
        return readUsualLine(line, end, frame);
    });
}

/// Reads a line such as "   0.015991 1  18FEDF00x       Rx   d 8 8A A0 FF FF FF FF FF FF" at \a at
/// into \a frame, and returns its end. Returns nullptr, leaving \a frame unchanged, if the line has
/// another form or does not end before \a end, where the padding of a LineReader must begin.
const char* AscReader::readUsualLine(const char* at, const char* end, Frame& frame)
{
    // No character is passed before it has been examined, so reading stops at the zeros at the end.
    static_assert(LineReader::padding >= spacedBytesSize + 1);
    skipBlanks(at);
    qint64 time = 0;
    quint32 channel = 0;
    if (!takeTime(at, time) || !skipBlanks(at))
        return nullptr;
    time += relative ? nanoseconds : 0;
    const quint64 channelName = eightCharacters(at);
    const int channelSize = leadingDecimalDigits(channelName);
    if (time > latestTime - start || !takeDecimal(at, 3, channel) || channel > 255 ||
        !skipBlanks(at))
        return nullptr;

    const quint64 idDigits = eightCharacters(at);
    const int idSize = leadingHexDigits(idDigits);
    const bool extended = (at[idSize] | 0x20) == 'x';
    if (idSize == 0)
        return nullptr;
    const quint32 id = hexValue(withLeadingZeros(idDigits, idSize));
    at += idSize + (extended ? 1 : 0);
    if (id > (extended ? lastExtendedId : lastStandardId) || !skipBlanks(at))
        return nullptr;

    if (!(*at == 'R' || *at == 'T') || at[1] != 'x' || !skipBlanks(at += 2) || *at != 'd' ||
        !skipBlanks(++at) || *at < '0')
        return nullptr;
    const int length = *at++ - '0';
    quint64 bytes = 0;
    if (spacedBytes(at, bytes) < length) // more than 8 bytes too
        return nullptr;
    const int dataSize = 3 * length;
    at = findLineFeed(at + dataSize, end);
    if (at == nullptr)
        return nullptr;

    nanoseconds = time;
    frame.nanoseconds = start + time;
    frame.id = id;
    frame.extended = extended;
    frame.remote = false;
    frame.fd = false;
    frame.bitRateSwitch = false;
    frame.bus = busNames.indexOf(firstCharacters(channelName, channelSize), channelSize);
    frame.length = static_cast<quint8>(length);
    qToLittleEndian(firstCharacters(bytes, length), frame.data.data());
    return at + 1;
}

void AscReader::readHeader(std::string_view line)
{
    LineCursor cursor(line);
    const Word word = cursor.takeNextWord();
    if (word == "date")
        readStart(cursor);
    if (word == "Begin" || word == "begin") {
        cursor.takeNextWord(); // "Triggerblock"
        qint64 begin = 0;
        blockStart = readDate(cursor, begin) ? std::optional<qint64>(begin) : std::nullopt;
    }
    if (!(word == "base"))
        return;
    base = cursor.takeNextWord() == "dec" ? 10 : 16;
    cursor.takeNextWord(); // "timestamps"
    relative = cursor.takeNextWord() == "relative";
}

void AscReader::readStart(LineCursor cursor)
{
    nanoseconds = 0;
    start = 0;
    hasStart = readDate(cursor, start);
    hasUnknownStart = hasUnknownStart || !hasStart;
}

/// Some programs write a file long after the measurement and its date is the time of writing. The
/// date of a trigger block that begins with the measurement is more reliable.
void AscReader::readStartOfMeasurement(LineCursor cursor)
{
    const bool isStart = cursor.takeNextWord() == "Start" && cursor.takeNextWord() == "of" &&
                         cursor.takeNextWord() == "measurement";
    if (!isStart || !blockStart || nanoseconds != 0)
        return;
    // The two dates may have a different number of decimals.
    if (!hasStart || std::abs(start - *blockStart) >= nanosecondsPerSecond)
        start = *blockStart;
    hasStart = true;
    hasUnknownStart = false;
}

/// Returns false if there is no time, or if relative times add up to more than latestTime.
bool AscReader::readEventTime(LineCursor& cursor, Frame& frame)
{
    qint64 time = 0;
    if (!readTime(cursor, time) || !cursor.skipBlanks())
        return false;
    time += relative ? nanoseconds : 0;
    if (time > latestTime - start)
        return false;
    nanoseconds = time;
    frame.nanoseconds = start + time;
    return true;
}

QStringList AscReader::notes() const
{
    if (hasUnknownStart)
        return {QStringLiteral("the date is not recognised, so times count from the start of the "
                               "recording")};
    if (hasStart)
        return {QStringLiteral("the date has no time zone and is taken as UTC")};
    return {};
}

qint64 findAsc(const QByteArray& start)
{
    return findLine(start, [](std::string_view line) {
        AscReader reader;
        Frame ignored;
        LineCursor cursor(line);
        cursor.skipBlanks();
        const LineKind kind = reader.readLine(line, ignored);
        if (isDigit(cursor.peek())) // other events could be lines of a table
            return kind == LineKind::Frame || kind == LineKind::ErrorFrame;
        return !cursor.atEnd() && cursor.peek() != '#' && kind != LineKind::Unknown;
    });
}

} // namespace monitor
