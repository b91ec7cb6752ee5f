#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QIODevice>
#include <QtCore/QString>

#include <cstring>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

namespace monitor
{

/// The bytes that mark a text as UTF-8.
constexpr char byteOrderMark[] = "\xEF\xBB\xBF";

/// \a bytes, which must outlive the result.
inline std::string_view viewOf(const QByteArray& bytes)
{
    return {bytes.constData(), static_cast<std::size_t>(bytes.size())};
}

/// \a bytes in UTF-8 as text, without the byte order mark; nullopt if they are not valid UTF-8.
std::optional<QString> fromUtf8(const QByteArray& bytes);

/// \a line as text. Older tools write names and units in Latin-1, newer ones in UTF-8, so a line
/// that is not valid UTF-8 is read as Latin-1.
QString textOf(const QByteArray& line);

/// The error of the file \a device, with its \a name; empty without an error, and for a device
/// that is not a file.
QString deviceError(const QIODevice& device, const QString& name);

/// A device that may end early: after an error, in damaged data, or on request.
class Cuttable
{
public:
    /// Whether it has ended early.
    virtual bool isCut() const = 0;

protected:
    ~Cuttable() = default;
};

/// Reads text line by line, from blocks of many lines. Memory stays bounded even if the text has no
/// line breaks. This class is reentrant.
class LineReader
{
public:
    /// The greatest length of a line in bytes. The rest of a longer line is ignored.
    static constexpr int longestLine = 1024 * 1024;

    /// Opens the file; error() tells whether that failed.
    explicit LineReader(const QString& fileName);

    /// Reads from \a device, which must be open. Error messages use \a name.
    LineReader(std::unique_ptr<QIODevice> device, const QString& name);

    /// Reads the next line into \a line, without the line break. The bytes are valid until the next
    /// call of this function. Returns false at the end of the file and after an error. If the
    /// device is Cuttable and has ended early, the line that is cut is left out.
    [[nodiscard]] bool readLine(std::string_view& line)
    {
        const char* const lineFeed = findLineFeed(begin);
        if (lineFeed == nullptr)
            return readLineSlowly(line);
        take(line, lineFeed);
        return true;
    }

    /// The same, with a copy of the bytes.
    [[nodiscard]] bool readLine(QByteArray& line);

    /// The bytes that have been read in advance and begin with the next line. The padding after
    /// them may be read too; it consists of zeros.
    std::string_view ahead() const
    {
        return std::string_view(begin, static_cast<std::size_t>(end - begin));
    }
    static constexpr int padding = 64;

    /// Whether the next line has been read in advance, so that readLine() does not have to wait.
    bool hasLine() const { return findLineFeed(begin) != nullptr; }

    /// Skips \a count lines, which must end at \a next, a place in ahead().
    void skipLines(const char* next, int count)
    {
        begin = next;
        number += count;
    }

    /// The number of the last line read, counted from 1.
    qint64 lineNumber() const { return number; }

    /// The number of bytes of the lines read so far.
    qint64 position() const { return bytesRead - (end - begin); }

    /// The total number of bytes; 0 if unknown.
    qint64 size() const { return input->size(); }

    /// An error message that names the file, or an empty string.
    QString error() const;

private:
    const char* findLineFeed(const char* from) const
    {
        return static_cast<const char*>(
            std::memchr(from, '\n', static_cast<std::size_t>(end - from)));
    }

    /// Takes the line up to \a lineFeed.
    void take(std::string_view& line, const char* lineFeed)
    {
        const char* last = lineFeed;
        while (last != begin && last[-1] == '\r')
            --last;
        line = std::string_view(begin, static_cast<std::size_t>(last - begin));
        begin = lineFeed == end ? end : lineFeed + 1;
        ++number;
    }

    bool readLineSlowly(std::string_view& line);
    bool readMore();
    bool skipRestOfLine();

    std::unique_ptr<QIODevice> input;
    const Cuttable* cuttable; // the device, if it can be cut
    QString fileName;
    std::vector<char> buffer;
    const char* begin; // of the bytes in the buffer that have not been taken
    const char* end;
    qint64 bytesRead = 0;
    qint64 number = 0;
    bool isOver = false;
    bool isSkipping = false; // the rest of a line that is too long; the buffer is empty then
};

} // namespace monitor
