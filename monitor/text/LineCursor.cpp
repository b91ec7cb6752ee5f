#include "LineCursor.h"

namespace monitor
{

namespace
{

constexpr qint64 nanosecondsPerSecond = 1000000000;
constexpr qint64 latestSecond = latestTime / nanosecondsPerSecond;

bool readSeconds(LineCursor& cursor, qint64& seconds)
{
    if (!isDigit(cursor.peek()))
        return false;
    for (seconds = 0; isDigit(cursor.peek()) && seconds <= latestSecond;)
        seconds = seconds * 10 + (cursor.take() - '0');
    return seconds <= latestSecond;
}

bool readFraction(LineCursor& cursor, qint64& nanoseconds)
{
    if (!isDigit(cursor.peek()))
        return false;
    nanoseconds = 0;
    for (qint64 weight = nanosecondsPerSecond / 10; isDigit(cursor.peek()); weight /= 10)
        nanoseconds += weight * (cursor.take() - '0');
    return true;
}

} // namespace

bool readTime(LineCursor& cursor, qint64& nanoseconds)
{
    qint64 seconds = 0;
    qint64 fraction = 0;
    if (!readSeconds(cursor, seconds) || (cursor.take('.') && !readFraction(cursor, fraction)))
        return false;
    nanoseconds = seconds * nanosecondsPerSecond + fraction;
    return nanoseconds <= latestTime;
}

bool readNumber(const Word& word, quint32 base, quint32 last, quint32& number)
{
    quint64 read = 0;
    for (int i = 0; i < word.size; ++i) {
        const auto digit = hexDigit(word.at(i));
        if (!digit || *digit >= base)
            return false;
        read = read * base + *digit;
        if (read > last)
            return false;
    }
    number = static_cast<quint32>(read);
    return !word.isEmpty();
}

} // namespace monitor
