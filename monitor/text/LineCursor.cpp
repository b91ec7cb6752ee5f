#include "LineCursor.h"

namespace monitor
{

namespace
{

/// Reads a whole number up to \a last.
bool readWhole(LineCursor& cursor, qint64 last, qint64& number)
{
    if (!isDigit(cursor.peek()))
        return false;
    for (number = 0; isDigit(cursor.peek()) && number <= last;)
        number = number * 10 + (cursor.take() - '0');
    return number <= last;
}

bool readFraction(LineCursor& cursor, qint64 unit, qint64& nanoseconds)
{
    if (!isDigit(cursor.peek()))
        return false;
    nanoseconds = 0;
    for (qint64 weight = unit / 10; isDigit(cursor.peek()); weight /= 10)
        nanoseconds += weight * (cursor.take() - '0');
    return true;
}

} // namespace

bool readTime(LineCursor& cursor, qint64& nanoseconds, qint64 unit)
{
    qint64 whole = 0;
    qint64 fraction = 0;
    if (!readWhole(cursor, latestTime / unit, whole) ||
        (cursor.take('.') && !readFraction(cursor, unit, fraction)))
        return false;
    nanoseconds = whole * unit + fraction;
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
