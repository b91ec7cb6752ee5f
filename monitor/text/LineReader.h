#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QIODevice>
#include <QtCore/QString>

#include <memory>

namespace monitor
{

/// Reads a text line by line in bounded memory, whatever the file holds.
class LineReader
{
public:
    /// The bytes of a line that are kept; what a longer line has beyond is dropped.
    static constexpr int longestLine = 1024 * 1024;

    /// Opens the file. Afterwards error() tells whether that worked.
    explicit LineReader(const QString& fileName);

    /// Reads from \a device, which is open; \a name is for messages.
    LineReader(std::unique_ptr<QIODevice> device, const QString& name);

    /// Reads the next line without its line end into \a line and returns true; false at the end
    /// of the file and after an error.
    bool readLine(QByteArray& line);

    /// The number of the line read last, counted from 1.
    qint64 lineNumber() const { return number; }

    /// How many bytes have been read, and how many there are, 0 if the file does not tell.
    qint64 position() const { return input->pos(); }
    qint64 size() const { return input->size(); }

    /// What went wrong, naming the file; empty if nothing did.
    QString error() const;

private:
    void skipRestOfLine();

    std::unique_ptr<QIODevice> input;
    QString fileName;
    QByteArray buffer;
    qint64 number = 0;
};

} // namespace monitor
