#include "CandumpLine.h"

#include <optional>

namespace monitor
{

namespace
{

constexpr int standardDigits = 3;
constexpr int extendedDigits = 8;
constexpr quint32 lastStandardId = 0x7FF;
constexpr quint32 lastExtendedId = 0x1FFFFFFF;
constexpr qint64 microsecondsPerSecond = 1000000;
constexpr qint64 latestSecond = 999999999999; // far from what overflows in microseconds

bool isBlank(char c)
{
    return c == ' ' || c == '\t';
}

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

/// Walks over the characters of a line. Looking beyond the last one gives '\0'.
class Cursor
{
public:
    explicit Cursor(const QByteArray& line) : next(line.constBegin()), end(line.constEnd()) {}

    bool atEnd() const { return next == end; }
    char peek() const { return atEnd() ? '\0' : *next; }
    char take() { return atEnd() ? '\0' : *next++; }
    bool take(char expected) { return !atEnd() && *next == expected && (++next, true); }

    bool skipBlanks()
    {
        const char* const begin = next;
        while (!atEnd() && isBlank(*next))
            ++next;
        return next != begin;
    }

    bool skipWord()
    {
        const char* const begin = next;
        while (!atEnd() && !isBlank(*next))
            ++next;
        return next != begin;
    }

private:
    const char* next;
    const char* end;
};

std::optional<quint32> hexDigit(char c)
{
    if (isDigit(c))
        return static_cast<quint32>(c - '0');
    const char lower = static_cast<char>(c | 0x20);
    if (lower >= 'a' && lower <= 'f')
        return static_cast<quint32>(lower - 'a' + 10);
    return std::nullopt;
}

bool readSeconds(Cursor& cursor, qint64& seconds)
{
    if (!isDigit(cursor.peek()))
        return false;
    for (seconds = 0; isDigit(cursor.peek()) && seconds <= latestSecond;)
        seconds = seconds * 10 + (cursor.take() - '0');
    return seconds <= latestSecond;
}

/// Any number of digits; those behind the microseconds are dropped.
bool readFraction(Cursor& cursor, qint64& microseconds)
{
    if (!isDigit(cursor.peek()))
        return false;
    microseconds = 0;
    for (qint64 weight = microsecondsPerSecond / 10; isDigit(cursor.peek()); weight /= 10)
        microseconds += weight * (cursor.take() - '0');
    return true;
}

bool readTime(Cursor& cursor, Frame& frame)
{
    qint64 seconds = 0;
    qint64 fraction = 0;
    if (!cursor.take('(') || !readSeconds(cursor, seconds) || !cursor.take('.') ||
        !readFraction(cursor, fraction) || !cursor.take(')'))
        return false;
    frame.microseconds = seconds * microsecondsPerSecond + fraction;
    return true;
}

bool readId(Cursor& cursor, Frame& frame)
{
    int digits = 0;
    for (; digits <= extendedDigits && cursor.peek() != '#'; ++digits) {
        const auto digit = hexDigit(cursor.take());
        if (!digit)
            return false;
        frame.id = frame.id << 4 | *digit;
    }
    frame.extended = digits == extendedDigits;
    const quint32 lastId = frame.extended ? lastExtendedId : lastStandardId;
    return (frame.extended || digits == standardDigits) && frame.id <= lastId && cursor.take('#');
}

bool readRemote(Cursor& cursor, Frame& frame)
{
    frame.remote = true;
    if (cursor.peek() >= '0' && cursor.peek() <= '8')
        cursor.take();
    return true;
}

bool readData(Cursor& cursor, Frame& frame)
{
    for (; !cursor.atEnd() && !isBlank(cursor.peek()); ++frame.length) {
        const auto high = hexDigit(cursor.take());
        const auto low = hexDigit(cursor.take());
        if (!high || !low || frame.length == frame.data.size())
            return false;
        frame.data.at(frame.length) = static_cast<quint8>(*high << 4 | *low);
    }
    return true;
}

bool readFrame(Cursor& cursor, Frame& frame)
{
    if (!readTime(cursor, frame) || !cursor.skipBlanks() || !cursor.skipWord() ||
        !cursor.skipBlanks() || !readId(cursor, frame))
        return false;
    const bool understood = cursor.take('R') ? readRemote(cursor, frame) : readData(cursor, frame);
    cursor.skipBlanks();
    return understood && cursor.atEnd();
}

} // namespace

LineKind readCandumpLine(const QByteArray& line, Frame& frame)
{
    Cursor cursor(line);
    cursor.skipBlanks();
    if (cursor.atEnd() || cursor.peek() == '#')
        return LineKind::Nothing;
    Frame read;
    if (!readFrame(cursor, read))
        return LineKind::NoFrame;
    frame = read;
    return LineKind::Frame;
}

} // namespace monitor
