#include "SavedSignal.h"

#include <QtCore/QIODevice>

#include <algorithm>
#include <cmath>

namespace monitor
{

namespace
{

constexpr qint16 noSource = -1;
constexpr qint64 lastCount = std::numeric_limits<qint64>::max();

void writeText(QDataStream& stream, const QString& text)
{
    const QByteArray bytes = text.toUtf8();
    stream << static_cast<quint32>(bytes.size());
    stream.writeRawData(bytes.constData(), static_cast<int>(bytes.size()));
}

/// Does not use QDataStream's own operator, which allocates as much memory as the length claims.
bool readText(QDataStream& stream, QString& text)
{
    quint32 length = 0;
    stream >> length;
    if (stream.status() != QDataStream::Ok || length > stream.device()->bytesAvailable())
        return false;
    const auto size = static_cast<int>(length);
    QByteArray bytes(size, Qt::Uninitialized);
    if (stream.readRawData(bytes.data(), size) != size)
        return false;
    text = QString::fromUtf8(bytes.constData(), size); // zero bytes included
    return true;
}

/// Reads a number from 0 to \a last.
template <typename N>
bool readUpTo(QDataStream& stream, N last, N& number)
{
    stream >> number;
    return stream.status() == QDataStream::Ok && number >= 0 && number <= last;
}

bool readFlag(QDataStream& stream, bool& flag)
{
    quint8 byte = 0;
    const bool isFlag = readUpTo<quint8>(stream, 1, byte);
    flag = byte == 1;
    return isFlag;
}

bool readFinite(QDataStream& stream, double& number)
{
    stream >> number;
    return stream.status() == QDataStream::Ok && std::isfinite(number);
}

void writeDescription(QDataStream& stream, const CatalogueSignal& description)
{
    writeText(stream, description.reportedName);
    writeText(stream, description.scaling.unit);
    stream << static_cast<quint8>(description.layout.length) << description.layout.isSigned
           << description.layout.isFloat << description.layout.passThrough
           << description.scaling.factor << description.scaling.offset
           << description.layout.datatype.has_value()
           << static_cast<quint32>(
                  description.layout.datatype.value_or(CAN::CANopenDataType::Unspecified))
           << description.rules.limits.has_value();
    const ValueRange limits = description.rules.limits.value_or(ValueRange{0, 0});
    stream << limits.lowest << limits.highest;
}

bool readDatatype(QDataStream& stream, CatalogueSignal& description)
{
    bool isGiven = false;
    quint32 code = 0;
    if (!readFlag(stream, isGiven))
        return false;
    stream >> code;
    if (isGiven)
        description.layout.datatype = static_cast<CAN::CANopenDataType>(code);
    return isGiven || !description.layout.passThrough;
}

bool readLimits(QDataStream& stream, CatalogueSignal& description)
{
    bool areGiven = false;
    ValueRange limits{0, 0};
    if (!readFlag(stream, areGiven) || !readFinite(stream, limits.lowest) ||
        !readFinite(stream, limits.highest) || limits.lowest > limits.highest)
        return false;
    if (areGiven)
        description.rules.limits = limits;
    return true;
}

bool readDescription(QDataStream& stream, CatalogueSignal& description)
{
    constexpr quint8 longest = 64;
    quint8 length = 0;
    if (!readText(stream, description.reportedName) ||
        !readText(stream, description.scaling.unit) || !readUpTo(stream, longest, length) ||
        !readFlag(stream, description.layout.isSigned) ||
        !readFlag(stream, description.layout.isFloat) ||
        !readFlag(stream, description.layout.passThrough) ||
        !readFinite(stream, description.scaling.factor) ||
        !readFinite(stream, description.scaling.offset))
        return false;
    description.layout.length = length;
    return length > 0 && (!description.layout.isFloat || length == 32 || length == 64) &&
           readDatatype(stream, description) && readLimits(stream, description);
}

/// Writes the value texts in the order of their raw values, so that equal runs have equal files.
void writeTexts(QDataStream& stream, const SavedSignal& signal)
{
    writeText(stream, signal.description.comment);
    writeText(stream, signal.bus);
    QVector<quint64> raw = signal.description.valueTexts.keys().toVector();
    std::sort(raw.begin(), raw.end());
    stream << static_cast<quint32>(raw.size());
    for (const quint64 bits : qAsConst(raw)) {
        stream << bits;
        writeText(stream, signal.description.valueTexts.value(bits));
    }
}

bool readTexts(QDataStream& stream, SavedSignal& signal)
{
    quint32 count = 0;
    if (!readText(stream, signal.description.comment) || !readText(stream, signal.bus))
        return false;
    stream >> count;
    const quint64 last = ~quint64{0} >> (64 - signal.description.layout.length);
    quint64 previous = 0;
    for (quint32 i = 0; i < count; ++i) {
        quint64 bits = 0;
        QString text;
        if (!readUpTo(stream, last, bits) || (i > 0 && bits <= previous) || !readText(stream, text))
            return false;
        signal.description.valueTexts.insert(bits, text);
        previous = bits;
    }
    return stream.status() == QDataStream::Ok;
}

bool readOrigin(QDataStream& stream, SavedSignal& signal)
{
    constexpr qint16 lastSource = 255;
    bool isJ1939 = false;
    qint16 source = 0;
    if (!readFlag(stream, isJ1939))
        return false;
    stream >> source;
    signal.protocol = isJ1939 ? Protocol::J1939 : Protocol::CANopen;
    if (source >= 0)
        signal.source = static_cast<quint8>(source);
    return source >= noSource && source <= lastSource;
}

} // namespace

void configureForSavedRun(QDataStream& stream)
{
    stream.setVersion(QDataStream::Qt_5_15);
}

void write(QDataStream& stream, const SavedStart& start)
{
    for (const qint64* count : pointersTo(start.counts))
        stream << *count;
    stream << start.firstTime.has_value() << start.firstTime.value_or(0);
}

QString read(QDataStream& stream, SavedStart& start)
{
    bool areValid = true;
    for (qint64* count : pointersTo(start.counts))
        areValid = areValid && readUpTo(stream, lastCount, *count);
    if (!areValid || start.counts.decoded > start.counts.total)
        return QStringLiteral("invalid frame counts");
    bool hasTime = false;
    qint64 time = 0;
    if (!readFlag(stream, hasTime))
        return QStringLiteral("invalid flag");
    stream >> time;
    if (hasTime && !isRecordedTime(time))
        return QStringLiteral("time out of range");
    if (hasTime)
        start.firstTime = time;
    return QString();
}

void write(QDataStream& stream, const SavedSignal& signal)
{
    stream << (signal.protocol == Protocol::J1939)
           << static_cast<qint16>(signal.source ? *signal.source : noSource);
    writeDescription(stream, signal.description);
    writeTexts(stream, signal);
    stream << signal.notAvailable << signal.errors;
}

QString read(QDataStream& stream, quint32 version, SavedSignal& signal)
{
    if (!readOrigin(stream, signal))
        return QStringLiteral("invalid protocol or source");
    if (!readDescription(stream, signal.description))
        return QStringLiteral("invalid signal description");
    if (version >= 2 && !readTexts(stream, signal))
        return QStringLiteral("invalid texts of a signal");
    if (!readUpTo(stream, lastCount, signal.notAvailable) ||
        !readUpTo(stream, lastCount, signal.errors))
        return QStringLiteral("invalid counts of a signal");
    return QString();
}

void write(QDataStream& stream, const SavedEnd& end)
{
    stream << end.isComplete << static_cast<quint32>(end.undecoded.size());
    for (const UndecodedId& id : end.undecoded) {
        writeText(stream, id.bus);
        stream << id.extended << id.id << id.frames;
    }
}

QString read(QDataStream& stream, SavedEnd& end)
{
    quint32 count = 0;
    if (!readFlag(stream, end.isComplete))
        return QStringLiteral("invalid flag");
    stream >> count;
    for (quint32 i = 0; i < count; ++i) {
        UndecodedId id;
        if (!readText(stream, id.bus) || !readFlag(stream, id.extended) ||
            !readUpTo(stream, id.extended ? lastExtendedId : lastStandardId, id.id) ||
            !readUpTo(stream, lastCount, id.frames))
            return QStringLiteral("invalid undecoded id");
        end.undecoded.append(id);
    }
    return stream.status() == QDataStream::Ok ? QString()
                                              : QStringLiteral("unexpected end of data");
}

} // namespace monitor
