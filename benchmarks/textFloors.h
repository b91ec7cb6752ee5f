#pragma once

#include <QtCore/QtGlobal>

#include <cstddef>
#include <cstring>

/// The least work that reading a text takes with plain loops: the end of each line is found by
/// memchr(), and the digits of time, id and bytes are read one by one. Nothing is checked.
class TextFloor
{
public:
    /// Reads lines such as "(1635188455.020850) can1 18F00E00#821639C4FFFFFFFF".
    void readCandump(const char* text, const char* end)
    {
        for (; (lineEnd = findLineEnd(text, end)) != nullptr; text = lineEnd + 1) {
            at = text + 1; // after the bracket
            const quint64 time = takeTime();
            at += 2;
            skipTo(' ');
            ++at;
            const quint32 id = takeHex();
            ++at;
            quint64 bytes = 0;
            while (lineEnd - at >= 2)
                bytes = bytes << 8 | takeByte();
            add(time, id, bytes);
        }
    }

    /// Reads lines such as "   0.015991 1  18FEDF00x       Rx   d 8 8A A0 FF FF FF FF FF FF".
    void readAsc(const char* text, const char* end)
    {
        for (; (lineEnd = findLineEnd(text, end)) != nullptr; text = lineEnd + 1) {
            if (*text >= 'A') // the header
                continue;
            at = text;
            skipBlanks();
            const quint64 time = takeTime();
            skipBlanks();
            skipTo(' '); // the channel
            skipBlanks();
            const quint32 id = takeHex();
            skipTo(' ');
            skipBlanks();
            skipTo(' '); // the direction
            skipBlanks();
            skipTo(' '); // "d"
            skipBlanks();
            const quint32 length = takeHex();
            quint64 bytes = 0;
            for (quint32 i = 0; i < length && lineEnd - at >= 3; ++i) {
                ++at;
                bytes = bytes << 8 | takeByte();
            }
            add(time, id, bytes);
        }
    }

    /// Depends on everything read, so that the compiler cannot leave any of the work out.
    quint64 sum() const { return total; }

private:
    static const char* findLineEnd(const char* text, const char* end)
    {
        return static_cast<const char*>(
            std::memchr(text, '\n', static_cast<std::size_t>(end - text)));
    }

    void skipTo(char character)
    {
        while (at < lineEnd && *at != character)
            ++at;
    }

    void skipBlanks()
    {
        while (at < lineEnd && *at == ' ')
            ++at;
    }

    /// The digits of a time, without its point.
    quint64 takeTime()
    {
        quint64 time = 0;
        for (; at < lineEnd && ((*at >= '0' && *at <= '9') || *at == '.'); ++at) {
            if (*at != '.')
                time = time * 10 + static_cast<quint64>(*at - '0');
        }
        return time;
    }

    static quint32 digit(char character)
    {
        const auto code = static_cast<quint32>(character);
        return code <= '9' ? code - '0' : (code | 0x20) - 'a' + 10;
    }

    quint32 takeHex()
    {
        quint32 number = 0;
        for (; at < lineEnd && digit(*at) < 16; ++at)
            number = number << 4 | digit(*at);
        return number;
    }

    quint32 takeByte()
    {
        const quint32 byte = digit(at[0]) << 4 | digit(at[1]);
        at += 2;
        return byte;
    }

    void add(quint64 time, quint32 id, quint64 bytes) { total += time + id + bytes; }

    const char* at = nullptr;
    const char* lineEnd = nullptr;
    quint64 total = 0;
};
