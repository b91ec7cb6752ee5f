#include "SavedRunReader.h"

#include "PlainRecord.h"
#include "decoding/RawValue.h"
#include "engine/counts/varint.h"

#include <vantrel/values/CANopenObjectValue.h>
#include <vantrel/values/J1939Value.h>

#include <QtCore/QCryptographicHash>
#include <QtCore/QtEndian>

#include <algorithm>
#include <cmath>

namespace monitor
{

namespace
{

constexpr quint32 oldestVersion = 1;
constexpr quint32 firstVersionWithBlocks = 3;
constexpr int numberSize = sizeof(quint32);
constexpr int placeSize = sizeof(qint64);
constexpr int headerSize = savedRunMagicSize + numberSize;
constexpr int bitsInByte = 8;
constexpr int bitsInWord = 64;

qint64 unzigzag(quint64 number)
{
    return static_cast<qint64>(number >> 1 ^ (0 - (number & 1)));
}

int bytesOf(const SignalLayout& layout)
{
    return (layout.length + bitsInByte - 1) / bitsInByte;
}

QString damaged()
{
    return QStringLiteral("is damaged or truncated");
}

QString invalid(const QString& error, qint64 place)
{
    return QStringLiteral("invalid content: %1 (byte %2)").arg(error).arg(place);
}

/// The number in the next bytes of \a device, or 0 at its end.
template <typename N>
N numberIn(QIODevice& device)
{
    const QByteArray bytes = device.read(sizeof(N));
    return bytes.size() == int(sizeof(N)) ? qFromBigEndian<N>(bytes.constData()) : N();
}

/// The SHA-256 of the first \a size bytes; empty if they cannot be read.
QByteArray hashOf(QIODevice& device, qint64 size)
{
    constexpr qint64 chunk = 1 << 18;
    QCryptographicHash hash(QCryptographicHash::Sha256);
    QByteArray bytes(static_cast<int>(std::min(size, chunk)), Qt::Uninitialized);
    for (qint64 left = size; left > 0;) {
        const qint64 read = device.read(bytes.data(), std::min(left, chunk));
        if (read <= 0)
            return QByteArray();
        hash.addData(QByteArray::fromRawData(bytes.constData(), static_cast<int>(read)));
        left -= read;
    }
    return hash.result();
}

} // namespace

QString SavedRunReader::open()
{
    if (!device.open(QIODevice::ReadOnly))
        return QStringLiteral("cannot be read: ") + device.errorString();
    if (device.isSequential() || device.read(savedRunMagicSize) != savedRunMagic)
        return QStringLiteral("not a saved run");
    version = numberIn<quint32>(device);
    const qint64 hashed = device.size() - savedRunHashSize;
    if (device.size() >= headerSize && (version < oldestVersion || version > savedRunVersion))
        return QStringLiteral("has version %1; this program reads versions %2 to %3")
            .arg(version)
            .arg(oldestVersion)
            .arg(savedRunVersion);
    if (hashed < headerSize || !device.seek(0))
        return damaged();
    const QByteArray hash = hashOf(device, hashed);
    if (hash.isEmpty())
        return QStringLiteral("cannot be read: ") + device.errorString();
    if (hash != device.read(savedRunHashSize))
        return damaged();
    return findContents();
}

/// Reads the contents, which from version 3 on are near the end of the file.
QString SavedRunReader::findContents()
{
    qint64 end = device.size() - savedRunHashSize;
    contentsPlace = headerSize;
    if (version >= firstVersionWithBlocks) {
        end -= placeSize;
        device.seek(end);
        contentsPlace = numberIn<qint64>(device);
        if (contentsPlace < headerSize + numberSize || contentsPlace > end)
            return invalid(QStringLiteral("place of the signals out of range"), end);
    }
    if (end - contentsPlace > std::numeric_limits<int>::max())
        return QStringLiteral("is too large to be read (maximum: 2 GiB%1)")
            .arg(version < firstVersionWithBlocks ? "" : ", not counting the values");
    device.seek(contentsPlace);
    contents = device.read(end - contentsPlace);
    if (contents.size() != end - contentsPlace)
        return QStringLiteral("cannot be read: ") + device.errorString();
    QDataStream stream(contents);
    configureForSavedRun(stream);
    stream >> bandK;
    return std::isfinite(bandK) && bandK >= 0 ? QString()
                                              : invalid(QStringLiteral("invalid k"), contentsPlace);
}

QString SavedRunReader::restore(Session& session, const std::optional<Moment>& from,
                                const std::optional<Moment>& to)
{
    chosenFrom = from;
    chosenTo = to;
    QDataStream stream(contents);
    configureForSavedRun(stream);
    QString error = readRun(stream, session);
    if (error.isEmpty() && !stream.atEnd())
        error = QStringLiteral("unexpected data at the end");
    if (!error.isEmpty())
        return invalid(error, contentsPlace + stream.device()->pos());
    return version >= firstVersionWithBlocks ? readBlocks(session.registry()) : QString();
}

QString SavedRunReader::readRun(QDataStream& stream, Session& session)
{
    SavedStart start;
    stream >> bandK;
    QString error = read(stream, start);
    if (!error.isEmpty())
        return error;
    session.registry().setFirstTime(start.firstTime);
    choose(chosenFrom, chosenTo, start.firstTime.value_or(0));
    quint32 count = 0;
    stream >> count;
    for (quint32 i = 0; i < count && error.isEmpty(); ++i)
        error = readSignal(stream, session);
    SavedEnd last;
    if (error.isEmpty() && version > oldestVersion)
        error = read(stream, last);
    if (error.isEmpty() && stream.status() != QDataStream::Ok)
        error = QStringLiteral("unexpected end of data");
    if (!error.isEmpty())
        return error;
    session.setCounts(start.counts, last.undecoded);
    if (!last.isComplete)
        session.setIncomplete();
    return version >= firstVersionWithBlocks ? numberSignals() : QString();
}

/// Reads a signal, in old versions with its values.
QString SavedRunReader::readSignal(QDataStream& stream, Session& session)
{
    SavedSignal saved;
    QString error = read(stream, version, saved);
    if (!error.isEmpty())
        return error;
    MessageHeader message;
    message.protocol = saved.protocol;
    auto added = std::make_unique<MonitoredSignal>(message, saved.description, saved.source,
                                                   session.keeping());
    added->setBus(saved.bus);
    added->values().setCounts(saved.notAvailable, saved.errors);
    SignalRegistry& registry = session.registry();
    ReadSignal signal{&registry.add(std::move(added)), saved.description.layout};
    if (version < firstVersionWithBlocks)
        return saved.protocol == Protocol::J1939
                   ? readRecords<J1939Value>(stream, registry, signal)
                   : readRecords<CANopenObjectValue>(stream, registry, signal);
    stream >> signal.number >> signal.values;
    if (stream.status() != QDataStream::Ok || signal.values < 0)
        return QStringLiteral("invalid number of values");
    readSignals.push_back(signal);
    return QString();
}

/// Reads the records of a signal, as the library writes them.
template <typename T>
QString SavedRunReader::readRecords(QDataStream& stream, SignalRegistry& registry,
                                    const ReadSignal& signal)
{
    quint32 count = 0;
    stream >> count;
    QString error;
    for (quint32 i = 0; i < count && error.isEmpty(); ++i) {
        qint64 time = 0;
        stream >> time;
        if (!nextRecordIsPlain(stream))
            return QStringLiteral("truncated record, or unsupported type");
        T value;
        stream >> value;
        const std::optional<quint64> bits = bitsOf(value.rawValue, signal.layout);
        if (!bits)
            return QStringLiteral("a raw value does not have the type of its signal");
        error = record(registry, signal, *bits,
                       time == SignalSeries::noTime ? std::nullopt : std::optional(time));
    }
    return error;
}

/// Sorts the signals by their numbers.
QString SavedRunReader::numberSignals()
{
    std::sort(
        readSignals.begin(), readSignals.end(),
        [](const ReadSignal& left, const ReadSignal& right) { return left.number < right.number; });
    for (size_t i = 0; i < readSignals.size(); ++i) {
        if (readSignals[i].number != i)
            return QStringLiteral("invalid number of a signal");
    }
    return QString();
}

QString SavedRunReader::readBlocks(SignalRegistry& registry)
{
    device.seek(headerSize);
    QString error;
    for (qint64 place = headerSize; place < contentsPlace && error.isEmpty(); place = device.pos())
        error = readBlock(registry, contentsPlace - numberSize);
    if (!error.isEmpty())
        return invalid(error, device.pos() - (blockEnd - at));
    const bool areAll = std::all_of(readSignals.begin(), readSignals.end(),
                                    [](const ReadSignal& signal) { return signal.values == 0; });
    return areAll ? QString()
                  : invalid(QStringLiteral("a signal has fewer values than stated"), contentsPlace);
}

/// Reads the next block. The blocks and the number 0 after them end at \a last.
QString SavedRunReader::readBlock(SignalRegistry& registry, qint64 last)
{
    const auto size = static_cast<qint64>(numberIn<quint32>(device));
    if (size == 0 && device.pos() == last + numberSize)
        return QString();
    if (size == 0 || size > largestValueBlock || size > last - device.pos())
        return QStringLiteral("invalid size of a block");
    block.resize(static_cast<size_t>(size) + bitsInWord / bitsInByte); // see readValue()
    if (device.read(reinterpret_cast<char*>(block.data()), size) != size)
        return QStringLiteral("cannot be read: ") + device.errorString();
    at = block.data();
    blockEnd = at + size;
    QString error;
    while (at < blockEnd && error.isEmpty())
        error = readValue(registry);
    return error;
}

QString SavedRunReader::readValue(SignalRegistry& registry)
{
    quint64 key = 0;
    quint64 difference = 0;
    const bool isRead =
        readVarint(at, blockEnd, key) && ((key & 1) == 0 || readVarint(at, blockEnd, difference));
    const quint64 number = key >> 1;
    if (isRead && number >= readSignals.size())
        return QStringLiteral("a value of an unknown signal");
    if (!isRead || blockEnd - at < bytesOf(readSignals[number].layout))
        return QStringLiteral("truncated value");
    ReadSignal& signal = readSignals[number];
    const int bytes = bytesOf(signal.layout);
    // Includes bytes after the value, so that values of any length are read in the same way.
    const quint64 bits = qFromBigEndian<quint64>(at) >> (bitsInWord - bitsInByte * bytes);
    at += bytes;
    if (signal.layout.length < bitsInWord && bits >> signal.layout.length != 0)
        return QStringLiteral("a raw value exceeds the length of its signal");
    if (signal.values-- == 0)
        return QStringLiteral("a signal has more values than stated");
    if ((key & 1) == 0)
        return record(registry, signal, bits, std::nullopt);
    previous = static_cast<qint64>(static_cast<quint64>(previous) +
                                   static_cast<quint64>(unzigzag(difference)));
    return record(registry, signal, bits, previous);
}

QString SavedRunReader::record(SignalRegistry& registry, const ReadSignal& signal, quint64 bits,
                               std::optional<qint64> microseconds)
{
    constexpr qint64 nanosecondsPerMicrosecond = 1000;
    if (microseconds && !isRecordedTime(*microseconds))
        return QStringLiteral("time out of range");
    if (signal.layout.isFloat && !std::isfinite(signal.found->values.front()->scaled(bits)))
        return QStringLiteral("a value is not finite");
    const bool isChosen = microseconds ? *microseconds >= lowest && *microseconds <= highest
                                       : !chosenFrom && !chosenTo;
    whole = whole && isChosen;
    if (!isChosen)
        return QString();
    ++recorded;
    registry.record(*signal.found, 0, bits, Availability::Measured,
                    microseconds ? std::optional(*microseconds * nanosecondsPerMicrosecond)
                                 : std::nullopt);
    return QString();
}

/// Chooses the times from \a from to \a to, in a run that begins at \a first.
void SavedRunReader::choose(const std::optional<Moment>& from, const std::optional<Moment>& to,
                            qint64 first)
{
    // Frames have nanoseconds, of which the file keeps the whole microseconds.
    const auto microsecondsAt = [first](const Moment& moment) {
        constexpr qint64 nanosecondsPerMicrosecond = 1000;
        return moment.nanoseconds / nanosecondsPerMicrosecond + (moment.isAbsolute ? 0 : first);
    };
    lowest = from ? microsecondsAt(*from) : std::numeric_limits<qint64>::min();
    highest = to ? microsecondsAt(*to) : std::numeric_limits<qint64>::max();
}

} // namespace monitor
