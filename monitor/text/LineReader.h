#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QFile>
#include <QtCore/QString>

namespace monitor
{

/// Reads a text file line by line in bounded memory, whatever the file holds.
class LineReader
{
public:
    /// The bytes of a line that are kept; what a longer line has beyond is dropped.
    static constexpr int longestLine = 1024 * 1024;

    /// Opens the file. Afterwards error() tells whether that worked.
    explicit LineReader(const QString& fileName);

    /// Reads the next line without its line end into \a line and returns true; false at the end
    /// of the file and after an error.
    bool readLine(QByteArray& line);

    /// The number of the line read last, counted from 1.
    qint64 lineNumber() const { return number; }

    /// How many bytes have been read, and how many there are, 0 if the file does not tell.
    qint64 position() const { return file.pos(); }
    qint64 size() const { return file.size(); }

    /// What went wrong, naming the file; empty if nothing did.
    QString error() const;

private:
    void skipRestOfLine();

    QFile file;
    QByteArray buffer;
    qint64 number = 0;
};

} // namespace monitor
