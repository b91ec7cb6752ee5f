#pragma once

#include <QtCore/QtAlgorithms>
#include <QtCore/QtEndian>

#include <algorithm>

namespace monitor
{

// These functions examine eight characters at once, without a loop. The characters are the bytes of
// a number, and the first one is the lowest byte.

constexpr quint64 eightTimes(quint8 character)
{
    return character * quint64{0x0101010101010101};
}

/// The eight characters at \a text.
inline quint64 eightCharacters(const char* text)
{
    return qFromLittleEndian<quint64>(text);
}

/// The first \a count characters, 0 to 8, followed by zero bytes.
constexpr quint64 firstCharacters(quint64 characters, int count)
{
    return count >= 8 ? characters : characters & ((quint64{1} << 8 * count) - 1);
}

/// The digits '0', followed by the first \a count characters, 1 to 8.
constexpr quint64 withLeadingZeros(quint64 characters, int count)
{
    return characters << 8 * (8 - count) | firstCharacters(eightTimes('0'), 8 - count);
}

/// The number of characters before the first one whose bits in \a marks are not all 0.
inline int charactersBefore(quint64 marks)
{
    return static_cast<int>(qCountTrailingZeroBits(marks) / 8);
}

// In the functions below a carry from a character can change only the characters after it, and only
// if it is one of those searched for, so the first of these is found nevertheless.

inline int leadingBlanks(quint64 characters)
{
    return charactersBefore(characters ^ eightTimes(' '));
}

/// Marks characters other than decimal digits.
constexpr quint64 notDecimal(quint64 characters)
{
    const quint64 values = characters ^ eightTimes('0');
    return (values | (values + eightTimes(6))) & eightTimes(0xF0);
}

inline int leadingDecimalDigits(quint64 characters)
{
    return charactersBefore(notDecimal(characters));
}

/// Whether all characters are decimal digits.
constexpr bool areDecimalDigits(quint64 characters)
{
    return notDecimal(characters) == 0;
}

/// Marks characters other than hexadecimal digits in either case.
constexpr quint64 notHexadecimal(quint64 characters)
{
    const quint64 isDigit =
        (characters + eightTimes(0x80 - '0')) & ~(characters + eightTimes(0x80 - '9' - 1));
    const quint64 lower = characters | eightTimes(0x20);
    const quint64 isLetter =
        (lower + eightTimes(0x80 - 'a')) & ~(lower + eightTimes(0x80 - 'f' - 1));
    return ~(isDigit | isLetter) & eightTimes(0x80);
}

/// The number of leading hexadecimal digits in either case.
inline int leadingHexDigits(quint64 characters)
{
    return charactersBefore(notHexadecimal(characters));
}

/// Whether all characters are hexadecimal digits.
constexpr bool areHexDigits(quint64 characters)
{
    return notHexadecimal(characters) == 0;
}

/// The number of leading ASCII characters that are neither blanks nor control characters.
inline int leadingPrintable(quint64 characters)
{
    const quint64 isControl = (characters - eightTimes(' ' + 1)) & ~characters;
    return charactersBefore((isControl | characters) & eightTimes(0x80));
}

/// The value of eight decimal digits.
constexpr quint32 decimalValue(quint64 digits)
{
    const quint64 values = digits & eightTimes(0xF);
    const quint64 pairs = (values * 10 + (values >> 8)) & 0x00FF00FF00FF00FF;
    const quint64 fours = (pairs * 100 + (pairs >> 16)) & 0x0000FFFF0000FFFF;
    return static_cast<quint32>(fours * 10000 + (fours >> 32));
}

/// The values of eight hexadecimal digits, each in its byte. That of a zero byte is 0.
constexpr quint64 hexValues(quint64 digits)
{
    return (digits & eightTimes(0xF)) + 9 * (digits >> 6 & eightTimes(1));
}

/// The four bytes that eight hexadecimal digits denote, the first one lowest.
constexpr quint32 hexBytes(quint64 digits)
{
    const quint64 values = hexValues(digits);
    const quint64 bytes = (values << 4 | values >> 8) & 0x00FF00FF00FF00FF;
    const quint64 pairs = (bytes | bytes >> 8) & 0x0000FFFF0000FFFF;
    return static_cast<quint32>(pairs | pairs >> 16);
}

/// The number that eight hexadecimal digits denote.
inline quint32 hexValue(quint64 digits)
{
    const quint64 values = hexValues(qbswap(digits)); // the first one is highest
    const quint64 bytes = (values | values >> 4) & 0x00FF00FF00FF00FF;
    const quint64 pairs = (bytes | bytes >> 8) & 0x0000FFFF0000FFFF;
    return static_cast<quint32>(pairs | pairs >> 16);
}

/// Moves \a at past any blanks, and returns whether there are any.
inline bool skipBlanks(const char*& at)
{
    const char* const begin = at;
    int blanks = 0;
    do {
        blanks = leadingBlanks(eightCharacters(at));
        at += blanks;
    } while (blanks == 8);
    return at != begin;
}

/// Takes a number of up to \a most digits, at most 7. Returns false if there is no such number.
[[nodiscard]] inline bool takeDecimal(const char*& at, int most, quint32& number)
{
    const quint64 characters = eightCharacters(at);
    const int digits = leadingDecimalDigits(characters);
    if (digits == 0 || digits > most)
        return false;
    number = decimalValue(withLeadingZeros(characters, digits));
    at += digits;
    return true;
}

constexpr int spacedBytesSize = 24;

/// Reads up to eight bytes such as " 8A A0 FF", a blank and two hexadecimal digits each, from the
/// spacedBytesSize characters at \a text. Returns their number, and the bytes in \a bytes, the
/// first one lowest; those above are arbitrary.
inline int spacedBytes(const char* text, quint64& bytes)
{
    const quint64 first = eightCharacters(text);
    const quint64 second = eightCharacters(text + 8);
    const quint64 third = eightCharacters(text + 16);
    const quint64 blanks = (first & 0xFF) | (first >> 16 & 0xFF00) | (first >> 32 & 0xFF0000) |
                           (second << 16 & 0xFF000000) | (second & 0xFF00000000) |
                           (second >> 16 & 0xFF0000000000) | (third << 32 & 0xFF000000000000) |
                           (third << 16 & 0xFF00000000000000);
    const quint64 low = (first >> 8 & 0xFFFF) | (first >> 16 & 0xFFFF0000) |
                        (first >> 24 & 0xFF00000000) | (second << 40 & 0xFF0000000000) |
                        (second << 32 & 0xFFFF000000000000);
    const quint64 high = (second >> 40 & 0xFFFF) | (third << 16 & 0xFFFF0000) |
                         (third << 8 & 0xFFFF00000000) | (third & 0xFFFF000000000000);
    const int lowDigits = leadingHexDigits(low);
    const int digits = lowDigits == 8 ? 8 + leadingHexDigits(high) : lowDigits;
    bytes = quint64{hexBytes(high)} << 32 | hexBytes(low);
    return std::min(leadingBlanks(blanks), digits / 2);
}

} // namespace monitor
