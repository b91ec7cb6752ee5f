#include "DbcLine.h"

#include "can/Frame.h"

#include <QtCore/QRegularExpression>

#include <cmath>

namespace monitor
{

namespace
{

constexpr quint32 extendedFlag = 0x80000000;
constexpr int longestMessage = 1785; // bytes, the limit of the J1939 transport protocol
constexpr int longestSignal = 64;    // bits

QRegularExpressionMatch matchMessage(const QString& line)
{
    static const QRegularExpression pattern(
        QStringLiteral(R"(^\s*BO_\s+(\d+)\s+(\w+)\s*:\s*(\d+)(?:\s+\w+)?\s*;?\s*$)"));
    return pattern.match(line);
}

QRegularExpressionMatch matchSignal(const QString& line)
{
    static const QRegularExpression pattern(QStringLiteral(
        R"RE(^\s*SG_\s+(?<name>\w+)(?:\s+(?<multiplex>M|m\d+M?))?\s*:)RE"
        R"RE(\s*(?<start>\d+)\s*\|\s*(?<length>\d+)\s*@\s*(?<order>[01])\s*(?<sign>[+-]))RE"
        R"RE(\s*\(\s*(?<factor>[^\s,()]+)\s*,\s*(?<offset>[^\s,()]+)\s*\))RE"
        R"RE(\s*\[\s*(?<lower>[^\s|\[\]]+)\s*\|\s*(?<upper>[^\s|\[\]]+)\s*\])RE"
        R"RE(\s*"(?<unit>[^"]*)")RE"));
    return pattern.match(line);
}

bool readNumber(const QString& text, double& number)
{
    bool isNumber = false;
    number = text.toDouble(&isNumber);
    return isNumber && std::isfinite(number);
}

/// Reads a number of up to \a last; returns -1 if it is greater. The text must be digits only.
int readCount(const QString& digits, int last)
{
    bool isNumber = false;
    const int count = digits.toInt(&isNumber);
    return isNumber && count <= last ? count : -1;
}

Multiplexing multiplexingOf(const QString& marker)
{
    if (marker.isEmpty())
        return Multiplexing::Plain;
    if (marker == QLatin1String("M"))
        return Multiplexing::Multiplexor;
    return marker.endsWith('M') ? Multiplexing::Nested : Multiplexing::Multiplexed;
}

/// Reads the multiplexing of a signal: an empty text, M, m5 or m5M.
bool readMultiplexing(QString marker, SignalDescription& signal)
{
    signal.layout.multiplexing = multiplexingOf(marker);
    marker.remove('m').remove('M');
    bool isValid = marker.isEmpty();
    if (!isValid)
        signal.layout.multiplexorValue = marker.toULongLong(&isValid);
    return isValid;
}

bool readPlace(const QRegularExpressionMatch& match, SignalDescription& signal)
{
    signal.layout.startBit = readCount(match.captured("start"), longestMessage * 8 - 1);
    signal.layout.length = readCount(match.captured("length"), longestSignal);
    signal.layout.byteOrder =
        match.captured("order") == QLatin1String("1") ? ByteOrder::Intel : ByteOrder::Motorola;
    signal.layout.isSigned = match.captured("sign") == QLatin1String("-");
    return signal.layout.startBit >= 0 && signal.layout.length > 0;
}

bool readScaling(const QRegularExpressionMatch& match, SignalDescription& signal)
{
    if (!readNumber(match.captured("factor"), signal.scaling.factor) ||
        signal.scaling.factor == 0 ||
        !readNumber(match.captured("offset"), signal.scaling.offset) ||
        !readNumber(match.captured("lower"), signal.lowerLimit) ||
        !readNumber(match.captured("upper"), signal.upperLimit))
        return false;
    const ValueRange range = scaledRange(signal.layout, signal.scaling);
    return std::isfinite(range.lowest) && std::isfinite(range.highest);
}

} // namespace

bool readDbcId(const QString& digits, MessageDescription& message)
{
    bool isNumber = false;
    const quint32 id = digits.toUInt(&isNumber);
    message.extended = (id & extendedFlag) != 0;
    message.id = id & ~extendedFlag;
    return isNumber;
}

QString readDbcMessage(const QString& line, MessageDescription& message)
{
    const QRegularExpressionMatch match = matchMessage(line);
    const bool isNumber = readDbcId(match.captured(1), message);
    message.name = match.captured(2);
    message.protocol = message.extended ? Protocol::J1939 : Protocol::CANopen;
    message.size = readCount(match.captured(3), longestMessage);
    if (!match.hasMatch() || !isNumber)
        return QStringLiteral("message (BO_) cannot be parsed");
    if (message.id > (message.extended ? lastExtendedId : lastStandardId))
        return QStringLiteral("message (BO_) has an id out of range");
    if (message.size < 0)
        return QStringLiteral("message (BO_) has a size out of range");
    return QString();
}

QString readDbcSignal(const QString& line, int messageSize, SignalDescription& signal)
{
    const QRegularExpressionMatch match = matchSignal(line);
    if (!match.hasMatch())
        return QStringLiteral("signal (SG_) cannot be parsed");
    signal.name = match.captured("name");
    signal.scaling.unit = match.captured("unit").simplified();
    if (!readMultiplexing(match.captured("multiplex"), signal))
        return QStringLiteral("signal (SG_) has a multiplexor value out of range");
    if (!readPlace(match, signal) || !fitsInto(signal.layout, messageSize))
        return QStringLiteral("signal (SG_) does not fit into its message");
    if (!readScaling(match, signal))
        return QStringLiteral("signal (SG_) has a factor, offset or limit out of range");
    return QString();
}

} // namespace monitor
