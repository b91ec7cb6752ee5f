#include "SavedRunFile.h"

#include "text/WholeFile.h"

#include <QtCore/QCryptographicHash>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>

#include <cmath>

namespace monitor
{

namespace
{

constexpr char magic[] = "VANTREL\n";
constexpr int magicSize = sizeof magic - 1;
constexpr quint32 oldestVersion = 1;
constexpr quint32 newestVersion = savedSignalVersion;
constexpr int hashSize = 32;
constexpr qint64 longestFile = std::numeric_limits<int>::max();
constexpr quint32 maxSignals = 10000;

/// Writes to another device, and computes the hash of all data.
class HashingDevice : public QIODevice
{
public:
    /// \a device must be open and outlive this object.
    explicit HashingDevice(QIODevice& device) : target(device) { open(WriteOnly | Unbuffered); }

    QByteArray result() const { return hash.result(); }

protected:
    qint64 readData(char* /*data*/, qint64 /*size*/) override { return -1; }

    qint64 writeData(const char* data, qint64 size) override
    {
        hash.addData(QByteArray::fromRawData(data, static_cast<int>(size)));
        return target.write(data, size);
    }

private:
    QIODevice& target;
    QCryptographicHash hash{QCryptographicHash::Sha256};
};

void configure(QDataStream& stream)
{
    stream.setVersion(QDataStream::Qt_5_15);
}

/// Calls \a call with each of the counts, in the order of the file.
template <typename Counts, typename Call>
void forEachCount(Counts& counts, Call call)
{
    for (auto* count : {&counts.total, &counts.decoded, &counts.dropped, &counts.errors,
                        &counts.unreadable, &counts.transport.messages, &counts.transport.lost,
                        &counts.transport.outOfOrder, &counts.transport.interrupted})
        call(*count);
}

void writeRun(QDataStream& stream, const SavedRun& run)
{
    stream.writeRawData(magic, magicSize);
    stream << newestVersion << run.k;
    forEachCount(run.counts, [&stream](qint64 count) { stream << count; });
    stream << run.firstTime.has_value() << run.firstTime.value_or(0)
           << static_cast<quint32>(run.recordedSignals.size());
    for (const SavedSignal& signal : run.recordedSignals)
        writeSignal(stream, signal);
    writeEnd(stream, run);
}

bool readCounts(QDataStream& stream, FrameCounts& counts)
{
    bool areValid = true;
    forEachCount(counts, [&](qint64& count) {
        stream >> count;
        areValid = areValid && count >= 0;
    });
    return areValid && counts.decoded <= counts.total;
}

QString readSignals(QDataStream& stream, quint32 version, SavedRun& run)
{
    quint32 count = 0;
    stream >> count;
    if (count > maxSignals)
        return QStringLiteral("too many signals");
    for (quint32 i = 0; i < count; ++i) {
        SavedSignal signal;
        QString error = readSignal(stream, version, signal);
        if (!error.isEmpty())
            return error;
        run.recordedSignals.append(signal);
    }
    return QString();
}

QString readRun(QDataStream& stream, quint32 version, SavedRun& run)
{
    bool hasTime = false;
    qint64 time = 0;
    stream >> run.k;
    if (!std::isfinite(run.k) || run.k < 0 || !readCounts(stream, run.counts))
        return QStringLiteral("invalid k or frame counts");
    stream >> hasTime >> time;
    if (hasTime && !isTime(time))
        return QStringLiteral("time out of range");
    if (hasTime)
        run.firstTime = time;
    QString error = readSignals(stream, version, run);
    if (error.isEmpty() && version > oldestVersion)
        error = readEnd(stream, run);
    if (!error.isEmpty())
        return error;
    if (stream.status() != QDataStream::Ok)
        return QStringLiteral("unexpected end of data");
    return stream.atEnd() ? QString() : QStringLiteral("unexpected data at the end");
}

QString cannotBe(const QString& done, const QFileDevice& file)
{
    return QStringLiteral("%1: cannot be %2: %3").arg(file.fileName(), done, file.errorString());
}

/// Opens \a file for writing, unless it exists and is not a saved run.
QString openToWrite(QSaveFile& file)
{
    QFile present(file.fileName());
    const QString refused = file.fileName() + QStringLiteral(": cannot be written: ");
    if (present.exists() && !QFileInfo(present).isFile())
        return refused + QStringLiteral("not a regular file");
    if (present.exists() && !present.open(QIODevice::ReadOnly))
        return cannotBe(QStringLiteral("read"), present);
    if (present.size() > 0 && present.peek(magicSize) != magic)
        return refused + QStringLiteral("the file exists and is not a saved run");
    return file.open(QIODevice::WriteOnly) ? QString() : cannotBe(QStringLiteral("written"), file);
}

} // namespace

QString checkSavedRun(const QString& fileName)
{
    QSaveFile file(fileName); // creates a temporary file, which is deleted without commit()
    return openToWrite(file);
}

QString writeSavedRun(const QString& fileName, const SavedRun& run)
{
    QSaveFile file(fileName);
    QString error = openToWrite(file);
    if (!error.isEmpty())
        return error;
    HashingDevice hashing(file);
    QDataStream stream(&hashing);
    configure(stream);
    writeRun(stream, run);
    file.write(hashing.result());
    const bool fits = file.pos() <= longestFile && run.recordedSignals.size() <= int(maxSignals);
    if (!fits)
        return QStringLiteral("%1: cannot be written: the run is too large").arg(fileName);
    return commitWhole(file) ? QString() : cannotBe(QStringLiteral("written"), file);
}

QString parseSavedRun(const QByteArray& content, SavedRun& run)
{
    if (!content.startsWith(magic))
        return QStringLiteral("not a saved run");
    const QByteArray hashed = QByteArray::fromRawData(
        content.constData(), std::max(0, static_cast<int>(content.size()) - hashSize));
    QDataStream stream(hashed);
    configure(stream);
    stream.skipRawData(magicSize);
    quint32 version = 0;
    stream >> version;
    const bool isKnown = version >= oldestVersion && version <= newestVersion;
    if (stream.status() == QDataStream::Ok && !isKnown)
        return QStringLiteral("has version %1; this program reads versions %2 to %3")
            .arg(version)
            .arg(oldestVersion)
            .arg(newestVersion);
    if (QCryptographicHash::hash(hashed, QCryptographicHash::Sha256) != content.right(hashSize))
        return QStringLiteral("is damaged or truncated");
    QString error = readRun(stream, version, run);
    if (error.isEmpty())
        return error;
    return QStringLiteral("invalid content: %1 (byte %2)").arg(error).arg(stream.device()->pos());
}

QString readSavedRun(const QString& fileName, SavedRun& run)
{
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly))
        return cannotBe(QStringLiteral("read"), file);
    if (file.isSequential() || file.size() > longestFile || file.peek(magicSize) != magic)
        return fileName + QStringLiteral(": not a saved run");
    const QByteArray content = file.readAll();
    if (file.error() != QFileDevice::NoError)
        return cannotBe(QStringLiteral("read"), file);
    const QString error = parseSavedRun(content, run);
    return error.isEmpty() ? error : fileName + QStringLiteral(": ") + error;
}

OutputResult SavedRunOutput::write(const FinishedRun& run, const OutputProgress& /*progress*/)
{
    return {writeSavedRun(fileName, runOf(run.session)), {}};
}

} // namespace monitor
