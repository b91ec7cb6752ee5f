#include "Mf4Groups.h"

#include <QtCore/QHash>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <functional>

namespace monitor
{

namespace
{

constexpr int maxBlocks = 1000000; // of the structure; a larger one is circular or hostile
constexpr int maxDepth = 8;        // of channels inside channels
constexpr long double perSecond = 1e9L;
constexpr long double maxNanoseconds = 9e18L;

qint64 roundToInteger(double value)
{
    constexpr double largest = 9e18;
    return std::isfinite(value) ? std::llround(std::clamp(value, -largest, largest)) : 0;
}

double interpolate(const std::vector<double>& pairs, double raw, bool isInterpolated)
{
    const size_t count = pairs.size() / 2;
    size_t after = 0; // the first pair whose key is not less
    while (after < count && pairs[2 * after] < raw)
        ++after;
    if (after == 0 || after == count)
        return pairs[2 * std::min(after, count - 1) + 1];
    const double low = pairs[2 * after - 2];
    const double high = pairs[2 * after];
    const double lowValue = pairs[2 * after - 1];
    const double highValue = pairs[2 * after + 1];
    if (isInterpolated)
        return lowValue + (raw - low) * (highValue - lowValue) / (high - low);
    return high - raw < raw - low ? highValue : lowValue;
}

double valueOfRange(const std::vector<double>& values, double raw)
{
    for (size_t i = 0; i + 2 < values.size(); i += 3)
        if (values[i] <= raw && raw <= values[i + 1])
            return values[i + 2];
    return values.back(); // the default
}

/// The number of parameters that a conversion needs.
size_t minValues(Mf4Conversion::Kind kind)
{
    switch (kind) {
    case Mf4Conversion::None:
        return 0;
    case Mf4Conversion::Linear:
    case Mf4Conversion::Interpolated:
    case Mf4Conversion::Table:
        return 2;
    case Mf4Conversion::Rational:
        return 6;
    case Mf4Conversion::Ranges:
        return 1;
    }
    return 0;
}

} // namespace

double Mf4Conversion::apply(double raw) const
{
    const std::vector<double>& v = values;
    switch (kind) {
    case None:
        return raw;
    case Linear:
        return v[0] + v[1] * raw;
    case Rational:
        return (v[0] * raw * raw + v[1] * raw + v[2]) / (v[3] * raw * raw + v[4] * raw + v[5]);
    case Interpolated:
    case Table:
        return interpolate(v, raw, kind == Interpolated);
    case Ranges:
        return valueOfRange(v, raw);
    }
    return raw;
}

qint64 Mf4Number::raw(const char* record, qint64 index) const
{
    if (isIndex || bits == 0)
        return isIndex ? index : 0;
    const char* const begin = record + offset;
    quint64 word = 0;
    if (isBigEndian) {
        word = qFromBigEndian<quint64>(begin);
        if (bytes <= 8)
            word >>= 64 - 8 * bytes + shift;
        else // the ninth byte has the lowest bits
            word = word << (8 - shift) | static_cast<quint8>(begin[8]) >> shift;
    } else {
        word = qFromLittleEndian<quint64>(begin) >> shift;
        if (bytes > 8)
            word |= static_cast<quint64>(static_cast<quint8>(begin[8])) << (64 - shift);
    }
    const int unused = 64 - bits;
    const quint64 top = word << unused;
    qint64 value = 0;
    std::memcpy(&value, &top, sizeof(value));
    if (isSigned)
        return value >> unused;
    const quint64 plain = top >> unused;
    std::memcpy(&value, &plain, sizeof(value));
    return value;
}

long double Mf4Number::number(const char* record, qint64 index) const
{
    const qint64 integer = raw(record, index);
    if (isFloat && bits == 64) {
        double value = 0;
        std::memcpy(&value, &integer, sizeof(value));
        return value;
    }
    if (isFloat) {
        const auto word = static_cast<quint32>(integer);
        float value = 0;
        std::memcpy(&value, &word, sizeof(value));
        return value;
    }
    if (integer < 0 && !isSigned) // beyond 2^63
        return static_cast<long double>(integer) + 18446744073709551616.0L;
    return integer;
}

qint64 Mf4Number::calcValue(const char* record, qint64 index) const
{
    if (!small.empty())
        return small[static_cast<size_t>(raw(record, index))];
    if (!isFloat && conversion.kind == Mf4Conversion::None)
        return raw(record, index);
    return roundToInteger(conversion.apply(static_cast<double>(number(record, index))));
}

std::optional<qint64> Mf4Time::read(const char* record, qint64 index) const
{
    if (!master.isPresent || !master.isValid(record))
        return std::nullopt;
    long double value = 0;
    if (isExact) {
        qint64 units = 0;
        bool isInteger = true;
        if (master.isFloat) {
            value = master.number(record, index);
            isInteger = std::fabs(value) < maxNanoseconds;
            units = isInteger ? static_cast<qint64>(value) : 0;
            isInteger = isInteger && static_cast<long double>(units) == value;
        } else {
            units = master.raw(record, index);
            isInteger = units >= 0 || master.isSigned;
        }
        qint64 nanoseconds = 0;
        if (isInteger)
            return __builtin_mul_overflow(units, unit, &nanoseconds) ||
                           __builtin_add_overflow(nanoseconds, offset, &nanoseconds)
                       ? std::nullopt
                       : std::optional<qint64>(nanoseconds);
    }
    value = master.number(record, index);
    const Mf4Conversion& conversion = master.conversion;
    if (conversion.kind == Mf4Conversion::None || conversion.kind == Mf4Conversion::Linear)
        value = value * factor + static_cast<long double>(offset);
    else
        value = static_cast<long double>(conversion.apply(static_cast<double>(value))) * perSecond;
    if (!(std::fabs(value) < maxNanoseconds))
        return std::nullopt;
    return std::llround(value);
}

namespace
{

/// Why a channel cannot be used; empty if it can.
using Refusal = QString;

/// One channel, as its block describes it.
struct Channel {
    enum Type {
        Fixed = 0,
        Variable = 1,
        Master = 2,
        VirtualMaster = 3,
        MaxLength = 5,
        Virtual = 6
    };

    Mf4Block block;
    QByteArray name;
    quint8 type;
    quint8 syncType;
    quint8 dataType;
    quint8 bitOffset;
    qint64 byteOffset;
    qint64 bits;
    quint32 flags;
    qint64 invalidBit;
};

/// The names of events and of their members.
struct EventName {
    const char* name;
    Mf4Group::Kind kind;
};
constexpr EventName events[] = {{"CAN_DataFrame", Mf4Group::Data},
                                {"CAN_RemoteFrame", Mf4Group::Remote},
                                {"CAN_ErrorFrame", Mf4Group::Error}};
struct MemberName {
    const char* name;
    Mf4Number Mf4Group::*member;
};
constexpr MemberName members[] = {{"BusChannel", &Mf4Group::bus},
                                  {"ID", &Mf4Group::id},
                                  {"IDE", &Mf4Group::ide},
                                  {"DLC", &Mf4Group::dlc},
                                  {"DataLength", &Mf4Group::length},
                                  {"EDL", &Mf4Group::edl},
                                  {"BRS", &Mf4Group::brs}};

class StructureReader
{
public:
    StructureReader(Mf4File& source, Problems& found) : file(source), problems(found) {}

    Mf4Structure read();

private:
    void readDataGroup(const Mf4Block& block);
    Mf4Group readGroup(const Mf4Block& block);
    void readChannels(qint64 offset, const QByteArray& parent, Mf4Group& group, int depth);
    void readChannel(const Channel& channel, Mf4Group& group);
    void readMember(const Channel& channel, const QByteArray& member, Mf4Group& group);
    Refusal readNumber(const Channel& channel, const Mf4Group& group, Mf4Number& number);
    Refusal readPlace(const Channel& channel, const Mf4Group& group, Mf4Number& number);
    Refusal readConversion(const Mf4Block& channel, Mf4Number& number);
    Refusal readBytes(const Channel& channel, Mf4Group& group);
    Refusal readTime(const Channel& channel, const Mf4Group& group, Mf4Time& time);
    QByteArray busNameOf(const Mf4Block& block);
    void finish(Mf4DataGroup& dataGroup);
    void refuse(Mf4Group& group, const QString& reason);
    std::optional<Mf4Block> next(qint64 offset, const char* kind, QSet<qint64>& visited);

    Mf4File& file;
    Problems& problems;
    Mf4Structure structure;
    QSet<qint64> groups;   // data groups and channel groups
    QSet<qint64> channels; // of the current group
    QSet<qint64> streams;  // of data groups
    int blocks = 0;
    QHash<qint64, qint64> variableLinks; // block of a group -> data of its channel DataBytes
};

/// The block of \a kind at \a offset; empty if there is no such block or it was already read.
std::optional<Mf4Block> StructureReader::next(qint64 offset, const char* kind,
                                              QSet<qint64>& visited)
{
    if (offset == 0)
        return std::nullopt;
    std::optional<Mf4Block> block = file.block(offset);
    if (!block || !block->is(kind)) {
        const QString text =
            offset < file.size()
                ? QStringLiteral("a link leads here, but no %1 block begins here")
                : QStringLiteral("the file ends before the %1 block that begins here: it is "
                                 "truncated");
        problems.add(offset, text.arg(QLatin1String(kind)));
        return std::nullopt;
    }
    if (visited.contains(offset) || ++blocks > maxBlocks) {
        problems.add(offset, QStringLiteral("the links between blocks are circular"));
        return std::nullopt;
    }
    visited.insert(offset);
    return block;
}

Mf4Structure StructureReader::read()
{
    constexpr qint64 headerOffset = 64;
    char id[headerOffset] = {};
    if (file.read(0, id, headerOffset) < headerOffset) {
        structure.error = QStringLiteral("the file ends within its first block");
        return structure;
    }
    structure.isUnfinished = std::memcmp(id, "UnFinMF", 7) == 0;
    structure.unfinished =
        structure.isUnfinished ? qFromLittleEndian<quint16>(id + 60) : quint16(0);
    const std::optional<Mf4Block> header = file.block(headerOffset);
    if (!header || !header->is("HD")) {
        structure.error = QStringLiteral("the header block (HD) is missing or damaged");
        return structure;
    }
    structure.start = header->field<qint64>(0);
    structure.isLocalTime = (header->field<quint8>(12) & 1) != 0;
    for (std::optional<Mf4Block> group = next(header->link(0), "DG", groups); group;
         group = next(group->link(0), "DG", groups))
        readDataGroup(*group);
    if (structure.dataGroups.empty() && problems.count() == 0)
        structure.notes += QStringLiteral("contains no group of CAN frames");
    return structure;
}

void StructureReader::refuse(Mf4Group& group, const QString& reason)
{
    if (group.kind != Mf4Group::Skipped && !group.isRefused)
        problems.add(group.block, QStringLiteral("a group of frames cannot be read: ") + reason);
    group.kind = Mf4Group::Skipped;
    group.isRefused = true;
}

void StructureReader::readDataGroup(const Mf4Block& block)
{
    Mf4DataGroup dataGroup;
    dataGroup.idSize = block.field<quint8>(0);
    dataGroup.data = block.link(2);
    variableLinks.clear();
    for (std::optional<Mf4Block> group = next(block.link(1), "CG", groups); group;
         group = next(group->link(0), "CG", groups))
        dataGroup.groups.push_back(readGroup(*group));
    finish(dataGroup);
    const auto isUseful = [](const Mf4Group& group) {
        return group.kind != Mf4Group::Skipped && group.kind != Mf4Group::VariableLength;
    };
    if (dataGroup.data == 0 ||
        std::none_of(dataGroup.groups.cbegin(), dataGroup.groups.cend(), isUseful))
        return;
    const int size = dataGroup.idSize;
    if (size != 0 && size != 1 && size != 2 && size != 4 && size != 8)
        problems.add(block.offset,
                     QStringLiteral("a record id of %1 bytes is impossible").arg(size));
    else if (size == 0 && dataGroup.groups.size() > 1)
        problems.add(block.offset,
                     QStringLiteral("several groups share records without record id"));
    else if (streams.contains(dataGroup.data))
        problems.add(block.offset, QStringLiteral("two data groups share the same data"));
    else
        structure.dataGroups.push_back(std::move(dataGroup));
    streams.insert(block.link(2));
}

/// Makes the checks for which all groups of \a dataGroup must be known.
void StructureReader::finish(Mf4DataGroup& dataGroup)
{
    constexpr qint64 maxRecord = Mf4Data::maxRequest / 2;
    for (Mf4Group& group : dataGroup.groups) {
        if (group.kind == Mf4Group::VariableLength)
            continue;
        if (group.recordSize > maxRecord)
            refuse(group, QStringLiteral("its records are too long"));
        if (group.kind == Mf4Group::Data && !group.id.isPresent)
            refuse(group, QStringLiteral("it has no channel ID"));
        if (dataGroup.idSize == 0 && group.recordSize == 0)
            refuse(group, QStringLiteral("its records are empty"));
        if (group.kind == Mf4Group::Remote && !group.id.isPresent)
            refuse(group, QStringLiteral("it has no channel ID"));
        const auto link = variableLinks.constFind(group.block);
        if (link == variableLinks.constEnd() || group.kind == Mf4Group::Skipped)
            continue;
        const std::optional<Mf4Block> data = file.block(*link);
        if (!data || !data->is("CG")) {
            group.variableData = *link;
            if (*link == 0)
                refuse(group, QStringLiteral("the link to its data bytes is missing"));
            continue;
        }
        const auto found = std::find_if(
            dataGroup.groups.cbegin(), dataGroup.groups.cend(), [=](const Mf4Group& other) {
                return other.block == *link && other.kind == Mf4Group::VariableLength;
            });
        if (found == dataGroup.groups.cend())
            refuse(group, QStringLiteral("its data bytes are not in its data group"));
        else
            group.variableGroup = static_cast<int>(found - dataGroup.groups.cbegin());
    }
}

Mf4Group StructureReader::readGroup(const Mf4Block& block)
{
    constexpr quint16 variableLengthFlag = 1;
    constexpr quint16 remoteMasterFlag = 8;
    Mf4Group group;
    group.block = block.offset;
    group.recordId = block.field<quint64>(0);
    group.stated = block.field<quint64>(8);
    const auto flags = block.field<quint16>(16);
    group.dataSize = block.field<quint32>(24);
    group.recordSize = group.dataSize + block.field<quint32>(28);
    if ((flags & variableLengthFlag) != 0) {
        group.kind = Mf4Group::VariableLength;
        return group;
    }
    channels.clear(); // groups may share channels
    readChannels(block.link(1), QByteArray(), group, 0);
    if ((flags & remoteMasterFlag) != 0)
        refuse(group, QStringLiteral("data stored in columns (MDF 4.2) is not supported"));
    if (group.kind != Mf4Group::Skipped && !group.bus.isPresent)
        group.busName = busNameOf(block);
    return group;
}

/// The digits at the end of the name of the group or of its source.
QByteArray StructureReader::busNameOf(const Mf4Block& block)
{
    const std::optional<Mf4Block> source = file.block(block.link(3));
    const QByteArray names[] = {
        file.text(block.link(2)),
        source && source->is("SI") ? file.text(source->link(0)) : QByteArray(),
        source && source->is("SI") ? file.text(source->link(1)) : QByteArray()};
    for (const QByteArray& name : names) {
        auto begin = name.size();
        while (begin > 0 && name.at(begin - 1) >= '0' && name.at(begin - 1) <= '9')
            --begin;
        if (begin < name.size())
            return name.mid(begin);
    }
    return QByteArray();
}

void StructureReader::readChannels(qint64 offset, const QByteArray& parent, Mf4Group& group,
                                   int depth)
{
    for (std::optional<Mf4Block> block = next(offset, "CN", channels); block;
         block = next(block->link(0), "CN", channels)) {
        Channel channel{*block,
                        file.text(block->link(2)),
                        block->field<quint8>(0),
                        block->field<quint8>(1),
                        block->field<quint8>(2),
                        block->field<quint8>(3),
                        block->field<quint32>(4),
                        block->field<quint32>(8),
                        block->field<quint32>(12),
                        block->field<quint32>(16)};
        if (!channel.name.contains('.') && !parent.isEmpty())
            channel.name = parent + '.' + channel.name;
        readChannel(channel, group);
        const std::optional<Mf4Block> inner = file.block(block->link(1));
        if (inner && inner->is("CN") && depth < maxDepth)
            readChannels(block->link(1), channel.name, group, depth + 1);
    }
}

void StructureReader::readChannel(const Channel& channel, Mf4Group& group)
{
    if (channel.type == Channel::Master || channel.type == Channel::VirtualMaster) {
        constexpr quint8 timeSync = 1;
        const Refusal refusal = channel.syncType == timeSync
                                    ? readTime(channel, group, group.time)
                                    : QStringLiteral("its master channel is not a time");
        if (!refusal.isEmpty())
            problems.add(channel.block.offset, QStringLiteral("times cannot be read: ") + refusal);
        return;
    }
    const auto point = channel.name.lastIndexOf('.');
    const QByteArray path = point < 0 ? QByteArray() : channel.name.left(point);
    const QByteArray event = path.mid(path.lastIndexOf('.') + 1);
    for (const EventName& name : events) {
        if (event == name.name || (point < 0 && channel.name == name.name)) {
            if (group.kind == Mf4Group::Skipped && !group.isRefused)
                group.kind = name.kind;
            if (point >= 0 && group.kind == name.kind)
                readMember(channel, channel.name.mid(point + 1), group);
        }
    }
}

void StructureReader::readMember(const Channel& channel, const QByteArray& member, Mf4Group& group)
{
    Refusal refusal;
    if (member == "DataBytes" && group.kind == Mf4Group::Data)
        refusal = readBytes(channel, group);
    for (const MemberName& name : members)
        if (member == name.name)
            refusal = readNumber(channel, group, group.*name.member);
    if (!refusal.isEmpty())
        refuse(group, QString::fromUtf8(channel.name) + ": " + refusal);
}

Refusal StructureReader::readNumber(const Channel& channel, const Mf4Group& group,
                                    Mf4Number& number)
{
    constexpr quint32 allInvalidFlag = 1;
    if (number.isPresent || (channel.flags & allInvalidFlag) != 0)
        return Refusal();
    Refusal refusal = readPlace(channel, group, number);
    if (refusal.isEmpty())
        refusal = readConversion(channel.block, number);
    number.isPresent = refusal.isEmpty();
    return refusal;
}

Refusal StructureReader::readPlace(const Channel& channel, const Mf4Group& group, Mf4Number& number)
{
    constexpr quint8 lastNumberType = 5;
    constexpr quint32 invalidBitFlag = 2;
    number.isIndex = channel.type == Channel::Virtual || channel.type == Channel::VirtualMaster;
    number.isFloat = !number.isIndex && channel.dataType >= 4;
    number.isSigned = channel.dataType == 2 || channel.dataType == 3;
    number.isBigEndian = channel.dataType % 2 == 1;
    const qint64 end = channel.bitOffset + channel.bits;
    if (!number.isIndex) {
        if (channel.dataType > lastNumberType)
            return QStringLiteral("it is not a number");
        if (channel.bits > 64 || channel.bitOffset > 7 ||
            (number.isFloat && channel.bits != 32 && channel.bits != 64))
            return QStringLiteral("a number of %1 bits is not supported").arg(channel.bits);
        if (channel.bits > 0 && channel.byteOffset + (end + 7) / 8 > group.dataSize)
            return QStringLiteral("it is outside of its record");
        number.bits = static_cast<quint8>(channel.bits);
        number.shift = channel.bitOffset;
        number.bytes = static_cast<quint8>((end + 7) / 8);
        number.offset = channel.byteOffset;
    }
    number.validity = group.dataSize + channel.invalidBit / 8;
    if ((channel.flags & invalidBitFlag) != 0 && number.validity < group.recordSize)
        number.invalidBit = static_cast<quint8>(1 << channel.invalidBit % 8);
    return Refusal();
}

Refusal StructureReader::readConversion(const Mf4Block& channel, Mf4Number& number)
{
    const std::optional<Mf4Block> block = file.block(channel.link(4));
    const quint8 kind = block && block->is("CC") ? block->field<quint8>(0) : quint8(0);
    switch (kind) {
    case 0:
    case 7: // to texts: the raw value is used
    case 8:
    case 11:
        break;
    case Mf4Conversion::Linear:
    case Mf4Conversion::Rational:
    case Mf4Conversion::Interpolated:
    case Mf4Conversion::Table:
    case Mf4Conversion::Ranges:
        number.conversion.kind = static_cast<Mf4Conversion::Kind>(kind);
        break;
    default:
        return QStringLiteral("a conversion of type %1 is not supported").arg(kind);
    }
    if (number.conversion.kind != Mf4Conversion::None) {
        constexpr qint64 firstValue = 24;
        const qint64 count = block->field<quint16>(6);
        if (block->body() - block->offset + firstValue + 8 * count > block->bytes.size())
            return QStringLiteral("its conversion is incomplete");
        for (qint64 i = 0; i < count; ++i) {
            const auto bits = block->field<quint64>(firstValue + 8 * i);
            double value = 0;
            std::memcpy(&value, &bits, sizeof(value));
            number.conversion.values.push_back(value);
        }
        if (number.conversion.values.size() < minValues(number.conversion.kind))
            return QStringLiteral("its conversion is incomplete");
    }
    const Mf4Conversion& conversion = number.conversion;
    if ((number.bits == 0 && !number.isIndex) ||
        (conversion.kind == Mf4Conversion::Linear && conversion.values[1] == 0)) {
        number.constant = roundToInteger(conversion.apply(0));
        number.isConstant = true;
    } else if (conversion.kind != Mf4Conversion::None && !number.isIndex && !number.isSigned &&
               number.bits <= 8) {
        for (int raw = 0; raw < 1 << number.bits; ++raw)
            number.small.push_back(roundToInteger(conversion.apply(raw)));
    }
    return Refusal();
}

Refusal StructureReader::readTime(const Channel& channel, const Mf4Group& group, Mf4Time& time)
{
    Refusal refusal = readNumber(channel, group, time.master);
    const Mf4Conversion& conversion = time.master.conversion;
    if (!refusal.isEmpty() ||
        (conversion.kind != Mf4Conversion::None && conversion.kind != Mf4Conversion::Linear))
        return refusal;
    const bool isLinear = conversion.kind == Mf4Conversion::Linear;
    const long double start = isLinear ? conversion.values[0] * perSecond : 0;
    time.factor = (isLinear ? conversion.values[1] : 1.0) * perSecond;
    if (!(std::fabs(start) < maxNanoseconds) || !(std::fabs(time.factor) < maxNanoseconds)) {
        time.master.isPresent = false;
        return QStringLiteral("the conversion to seconds is impossible");
    }
    time.offset = std::llround(start);
    time.unit = std::llround(time.factor);
    // The factor of a decimal unit such as 1e-6 s has only the accuracy of a double.
    constexpr long double accuracy = 1e-14L;
    time.isExact = std::fabs(time.factor - static_cast<long double>(time.unit)) <=
                       accuracy * std::fabs(time.factor) &&
                   time.unit != 0;
    return refusal;
}

Refusal StructureReader::readBytes(const Channel& channel, Mf4Group& group)
{
    if (group.bytes.isPresent || group.bytesSize > 0)
        return Refusal();
    if (channel.type == Channel::Variable) {
        Channel position = channel; // the record contains an integer, whatever it refers to
        position.dataType = 0;
        Refusal refusal = readPlace(position, group, group.bytes);
        group.bytes.isPresent = refusal.isEmpty();
        if (group.bytes.isPresent)
            variableLinks.insert(group.block, channel.block.link(5));
        return refusal;
    }
    if (channel.type != Channel::Fixed && channel.type != Channel::MaxLength)
        return QStringLiteral("a channel of type %1 is not supported").arg(channel.type);
    group.bytesOffset = channel.byteOffset;
    group.bytesSize = channel.bits / 8;
    if (channel.bitOffset != 0 || group.bytesOffset + group.bytesSize > group.dataSize)
        return QStringLiteral("it is outside of its record");
    return Refusal();
}

} // namespace

Mf4Structure readMf4Structure(Mf4File& file, Problems& problems)
{
    return StructureReader(file, problems).read();
}

} // namespace monitor
