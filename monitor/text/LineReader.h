#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QIODevice>
#include <QtCore/QString>

#include <memory>
#include <optional>

namespace monitor
{

/// The bytes that mark a text as UTF-8.
constexpr char byteOrderMark[] = "\xEF\xBB\xBF";

/// \a bytes in UTF-8 as text, without the byte order mark; nullopt if they are not valid UTF-8.
std::optional<QString> fromUtf8(const QByteArray& bytes);

/// \a line as text. Older tools write names and units in Latin-1, newer ones in UTF-8, so a line
/// that is not valid UTF-8 is read as Latin-1.
QString textOf(const QByteArray& line);

/// The error of the file \a device, with its \a name; empty without an error, and for a device
/// that is not a file.
QString deviceError(const QIODevice& device, const QString& name);

/// Reads text line by line. Memory stays bounded even if the text has no line breaks.
class LineReader
{
public:
    /// The size of the line buffer in bytes. The rest of a longer line is ignored.
    static constexpr int longestLine = 1024 * 1024;

    /// Opens the file; error() tells whether that failed.
    explicit LineReader(const QString& fileName);

    /// Reads from \a device, which must be open. Error messages use \a name.
    LineReader(std::unique_ptr<QIODevice> device, const QString& name);

    /// Reads the next line into \a line, without the line break. Returns false at the end of the
    /// file and after an error.
    [[nodiscard]] bool readLine(QByteArray& line);

    /// The number of the last line read, counted from 1.
    qint64 lineNumber() const { return number; }

    /// The number of bytes read so far.
    qint64 position() const { return input->pos(); }

    /// The total number of bytes; 0 if unknown.
    qint64 size() const { return input->size(); }

    /// An error message that names the file, or an empty string.
    QString error() const;

private:
    void skipRestOfLine();

    std::unique_ptr<QIODevice> input;
    QString fileName;
    QByteArray buffer;
    qint64 number = 0;
};

} // namespace monitor
