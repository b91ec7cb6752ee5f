#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QIODevice>
#include <QtCore/QString>

#include <memory>

namespace monitor
{

/// \a line as text. Older tools write names and units in Latin-1, newer ones in UTF-8, so a line
/// that is not valid UTF-8 is read as Latin-1.
QString textOf(const QByteArray& line);

/// Reads a text line by line, in bounded memory even if the file has no lines.
class LineReader
{
public:
    /// The number of bytes of a line that are kept; the rest of a longer line is dropped.
    static constexpr int longestLine = 1024 * 1024;

    /// Opens the file; error() tells whether that failed.
    explicit LineReader(const QString& fileName);

    /// Reads from \a device, which must be open; \a name is for messages.
    LineReader(std::unique_ptr<QIODevice> device, const QString& name);

    /// Reads the next line into \a line, without its line end. Returns false at the end of the
    /// file and after an error.
    [[nodiscard]] bool readLine(QByteArray& line);

    /// The number of the line read last, counted from 1.
    qint64 lineNumber() const { return number; }

    /// The number of bytes read, and that of all bytes, 0 if unknown.
    qint64 position() const { return input->pos(); }
    qint64 size() const { return input->size(); }

    /// The error, naming the file; empty if there was none.
    QString error() const;

private:
    void skipRestOfLine();

    std::unique_ptr<QIODevice> input;
    QString fileName;
    QByteArray buffer;
    qint64 number = 0;
};

} // namespace monitor
