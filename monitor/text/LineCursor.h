#pragma once

#include <QtCore/QByteArray>

#include <cstddef>
#include <cstring>
#include <optional>
#include <string_view>

namespace monitor
{

inline bool isBlank(char c)
{
    return c == ' ' || c == '\t';
}

inline bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

inline bool startsWith(std::string_view text, std::string_view start)
{
    return text.substr(0, start.size()) == start;
}

inline bool endsWith(std::string_view text, std::string_view end)
{
    return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

/// The value of a hexadecimal digit in either case.
inline std::optional<quint32> hexDigit(char c)
{
    if (isDigit(c))
        return static_cast<quint32>(c - '0');
    const char lower = static_cast<char>(c | 0x20);
    if (lower >= 'a' && lower <= 'f')
        return static_cast<quint32>(lower - 'a' + 10);
    return std::nullopt;
}

/// Part of a line, which must outlive it.
struct Word {
    const char* begin = nullptr;
    int size = 0;

    bool isEmpty() const { return size == 0; }
    char at(int i) const { return begin[i]; }
    char last() const { return begin[size - 1]; }
    // Not qstrncmp(), which would stop at a zero byte in the line.
    bool operator==(const char* text) const
    {
        return qstrlen(text) == static_cast<uint>(size) &&
               std::memcmp(begin, text, static_cast<size_t>(size)) == 0;
    }
};

/// Reads a line, which must outlive it, character by character. At the end, peek() and take()
/// return '\0'.
class LineCursor
{
public:
    explicit LineCursor(std::string_view line) : next(line.data()), end(next + line.size()) {}
    explicit LineCursor(const Word& word) : next(word.begin), end(word.begin + word.size) {}

    bool atEnd() const { return next == end; }
    char peek() const { return atEnd() ? '\0' : *next; }
    char take() { return atEnd() ? '\0' : *next++; }
    bool take(char expected)
    {
        if (atEnd() || *next != expected)
            return false;
        ++next;
        return true;
    }

    /// Takes \a expected if it comes next.
    bool takeText(const char* expected)
    {
        const auto size = static_cast<std::ptrdiff_t>(qstrlen(expected));
        if (end - next < size || std::memcmp(next, expected, static_cast<size_t>(size)) != 0)
            return false;
        next += size;
        return true;
    }

    bool skipBlanks()
    {
        const char* const begin = next;
        while (!atEnd() && isBlank(*next))
            ++next;
        return next != begin;
    }

    /// Everything up to the end of the line.
    Word rest() const { return {next, static_cast<int>(end - next)}; }

    /// Takes everything up to the next blank or the end of the line.
    Word takeWord()
    {
        const char* const begin = next;
        while (!atEnd() && !isBlank(*next))
            ++next;
        return {begin, static_cast<int>(next - begin)};
    }

    /// The same, but not beyond \a last, which is not taken.
    Word takeWord(char last)
    {
        const char* const begin = next;
        while (!atEnd() && !isBlank(*next) && *next != last)
            ++next;
        return {begin, static_cast<int>(next - begin)};
    }

    /// Skips blanks and takes the word that follows.
    Word takeNextWord()
    {
        skipBlanks();
        return takeWord();
    }

private:
    const char* next;
    const char* end;
};

/// The greatest time that readTime() accepts, in nanoseconds. Differences and sums of two
/// times do not overflow.
constexpr qint64 latestTime = 4000000000000000000;

constexpr qint64 nanosecondsPerSecond = 1000000000;

/// Reads a time such as "1635188455.02085" into \a nanoseconds. The time has the unit \a unit,
/// given in nanoseconds. The fraction may have any number of digits; fractions of a nanosecond are
/// ignored. Returns false if there is no number or the time is later than latestTime.
[[nodiscard]] bool readTime(LineCursor& cursor, qint64& nanoseconds,
                            qint64 unit = nanosecondsPerSecond);

/// Reads \a word as a number of \a base 10 or 16 without a sign. Returns false if it is not a
/// number or is greater than \a last.
[[nodiscard]] bool readNumber(const Word& word, quint32 base, quint32 last, quint32& number);

} // namespace monitor
