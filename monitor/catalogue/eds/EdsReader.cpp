#include "EdsReader.h"

#include "can/Frame.h"
#include "text/LineReader.h"

#include <algorithm>

using CAN::CANopenDataType;

namespace monitor
{

namespace
{

constexpr quint32 pdoCount = 512;
constexpr quint32 firstCommunication = 0x1800;
constexpr quint32 firstMapping = 0x1A00;
constexpr quint32 maxMapped = 64; // entries of a mapping, of one bit each
constexpr int pdoBits = 64;
constexpr quint32 notValidFlag = 0x80000000; // bit 30, "no remote request", is irrelevant here
constexpr quint32 extendedFlag = 0x20000000;
constexpr quint32 firstEventDriven = 254; // transmission type
constexpr quint32 lastDummy = 7;          // data types 1 to 7 can be mapped as padding

enum class Numbers { Unsigned, Signed, Float };

struct CanopenType {
    CANopenDataType code;
    int bits;
    Numbers numbers;
    bool passThrough;
};

// The types of fixed length. The library has no element type for the pass-through types, nor for
// types that are not listed here, such as strings.
constexpr CanopenType types[] = {
    {CANopenDataType::BOOLEAN, 1, Numbers::Unsigned, true},
    {CANopenDataType::INTEGER8, 8, Numbers::Signed, false},
    {CANopenDataType::INTEGER16, 16, Numbers::Signed, false},
    {CANopenDataType::INTEGER24, 24, Numbers::Signed, false},
    {CANopenDataType::INTEGER32, 32, Numbers::Signed, false},
    {CANopenDataType::INTEGER40, 40, Numbers::Signed, false},
    {CANopenDataType::INTEGER48, 48, Numbers::Signed, true},
    {CANopenDataType::INTEGER56, 56, Numbers::Signed, true},
    {CANopenDataType::INTEGER64, 64, Numbers::Signed, false},
    {CANopenDataType::UNSIGNED8, 8, Numbers::Unsigned, false},
    {CANopenDataType::UNSIGNED16, 16, Numbers::Unsigned, false},
    {CANopenDataType::UNSIGNED24, 24, Numbers::Unsigned, false},
    {CANopenDataType::UNSIGNED32, 32, Numbers::Unsigned, false},
    {CANopenDataType::UNSIGNED40, 40, Numbers::Unsigned, false},
    {CANopenDataType::UNSIGNED48, 48, Numbers::Unsigned, false},
    {CANopenDataType::UNSIGNED56, 56, Numbers::Unsigned, true},
    {CANopenDataType::UNSIGNED64, 64, Numbers::Unsigned, false},
    {CANopenDataType::REAL32, 32, Numbers::Float, false},
    {CANopenDataType::REAL64, 64, Numbers::Float, false},
};

/// Sets the data type of \a signal, whose length in the PDO is known, to \a code (CiA 301). Returns
/// false if the length does not match the type: a PDO may hold fewer bits of an integer, but not of
/// an IEEE number.
bool setCanopenType(quint32 code, SignalDescription& signal)
{
    const auto type = std::find_if(std::begin(types), std::end(types), [code](const auto& known) {
        return known.code == static_cast<CANopenDataType>(code);
    });
    signal.layout.datatype = static_cast<CANopenDataType>(code);
    signal.layout.passThrough = type == std::end(types) || type->passThrough;
    if (type == std::end(types))
        return true;
    signal.layout.isSigned = type->numbers == Numbers::Signed;
    signal.layout.isFloat = type->numbers == Numbers::Float;
    return signal.layout.isFloat ? signal.layout.length == type->bits
                                 : signal.layout.length <= type->bits;
}

/// Reads the PDOs of one node.
class PdoReader
{
public:
    PdoReader(const EdsDictionary& objects, quint8 nodeId, Problems& found)
        : dictionary(objects), node(nodeId), problems(found)
    {
    }

    /// The PDO of that \a number, counted from 0; without signals if it does not exist.
    MessageDescription read(quint32 number)
    {
        MessageDescription message;
        message.name = QStringLiteral("TPDO%1").arg(number + 1);
        message.node = node;
        if (readCobId(firstCommunication + number, message))
            readMapping(firstMapping + number, message);
        if (!message.signalDescriptions.isEmpty())
            message.cycleTime = readEventTimer(firstCommunication + number);
        return message;
    }

private:
    bool readCobId(quint32 index, MessageDescription& message);
    std::optional<double> readEventTimer(quint32 index);
    void readMapping(quint32 index, MessageDescription& message);
    quint32 mappedCount(quint32 index);
    bool readMapped(const EdsEntry& entry, int& position, MessageDescription& message);
    void addSignal(const EdsEntry& entry, quint32 mapped, int position,
                   MessageDescription& message);
    void checkUnused(quint32 index, quint32 subIndex, quint32 count);
    std::optional<quint32> readValue(const EdsEntry& entry);

    EdsEntry valueOf(quint32 index, quint32 subIndex) const
    {
        const auto object = dictionary.object(index, subIndex);
        return object ? object->value : EdsEntry();
    }

    const EdsDictionary& dictionary;
    const quint8 node;
    Problems& problems;
};

/// The number in \a entry, if it has a value. Any value but a number is reported as a problem.
std::optional<quint32> PdoReader::readValue(const EdsEntry& entry)
{
    if (entry.value.isEmpty())
        return std::nullopt;
    const auto number = readEdsNumber(entry.value, node);
    if (!number)
        problems.add(entry.line, QStringLiteral("value is not a number"));
    return number;
}

bool PdoReader::readCobId(quint32 index, MessageDescription& message)
{
    const EdsEntry entry = valueOf(index, 1);
    const auto cobId = readValue(entry);
    if (!cobId || (*cobId & notValidFlag) != 0)
        return false;
    message.extended = (*cobId & extendedFlag) != 0;
    message.id = *cobId & lastExtendedId;
    message.line = entry.line;
    const bool isValid = message.id > 0 && (message.extended || message.id <= lastStandardId);
    if (!isValid)
        problems.add(entry.line, QStringLiteral("COB-ID is out of range; the PDO is ignored"));
    return isValid;
}

/// The event timer in ms. Empty if it is 0 or the transmission type does not use it: the PDO
/// is then sent after SYNC or on request.
std::optional<double> PdoReader::readEventTimer(quint32 index)
{
    const auto type = readEdsNumber(valueOf(index, 2).value, node);
    const quint32 milliseconds = readValue(valueOf(index, 5)).value_or(0);
    const bool isUsed = milliseconds > 0 && (!type || *type >= firstEventDriven);
    return isUsed ? std::optional<double>(milliseconds) : std::nullopt;
}

/// The number of mapping entries to read; the greatest possible number if it is not given.
quint32 PdoReader::mappedCount(quint32 index)
{
    const EdsEntry entry = valueOf(index, 0);
    const quint32 count = readValue(entry).value_or(maxMapped);
    if (count <= maxMapped)
        return count;
    problems.add(entry.line,
                 QStringLiteral("more than %1 mapped objects; the PDO is ignored").arg(maxMapped));
    return 0;
}

void PdoReader::readMapping(quint32 index, MessageDescription& message)
{
    const quint32 count = mappedCount(index);
    int position = 0;
    for (quint32 subIndex = 1; subIndex <= count; ++subIndex) {
        const EdsEntry entry = valueOf(index, subIndex);
        if (entry.value.isEmpty() || readEdsNumber(entry.value, node) == 0U) {
            checkUnused(index, subIndex, count);
            return;
        }
        if (!readMapped(entry, position, message))
            return;
        message.size = (position + 7) / 8;
    }
}

/// Checks that no object follows an empty entry, since its position would be unknown. Empty entries
/// at the end are fine, because sub-index 0 often counts the possible entries, not the used ones.
void PdoReader::checkUnused(quint32 index, quint32 subIndex, quint32 count)
{
    for (; subIndex <= count; ++subIndex) {
        const EdsEntry entry = valueOf(index, subIndex);
        if (entry.value.isEmpty() || readEdsNumber(entry.value, node) == 0U)
            continue;
        problems.add(entry.line, QStringLiteral("mapped object after an empty entry is ignored"));
        return;
    }
}

/// Reads an entry of a mapping: index, sub-index and length in bits. Returns false if the positions
/// of the entries after it are unknown.
bool PdoReader::readMapped(const EdsEntry& entry, int& position, MessageDescription& message)
{
    const auto mapped = readValue(entry);
    const int length = static_cast<int>(mapped.value_or(0) & 0xFF);
    if (mapped && (length == 0 || position + length > pdoBits))
        problems.add(entry.line,
                     QStringLiteral("mapped object has length 0 or does not fit into the PDO"));
    if (!mapped || length == 0 || position + length > pdoBits)
        return false;
    if (*mapped >> 16 > lastDummy)
        addSignal(entry, *mapped, position, message);
    position += length;
    return true;
}

void PdoReader::addSignal(const EdsEntry& entry, quint32 mapped, int position,
                          MessageDescription& message)
{
    const auto object = dictionary.object(mapped >> 16, mapped >> 8 & 0xFF);
    if (!object) {
        problems.add(entry.line, QStringLiteral("mapped object is not described in this file"));
        return;
    }
    const auto datatype = readEdsNumber(object->datatype.value, node);
    if (!datatype) {
        problems.add(entry.line, QStringLiteral("mapped object has no valid data type"));
        return;
    }
    SignalDescription signal;
    signal.name = object->name.simplified();
    signal.layout.startBit = position;
    signal.layout.length = static_cast<int>(mapped & 0xFF);
    if (!setCanopenType(*datatype, signal)) {
        problems.add(entry.line, QStringLiteral("mapped object has a length that does "
                                                "not match its data type"));
        return;
    }
    message.signalDescriptions.append(signal);
}

} // namespace

QVector<MessageDescription> readTransmitPdos(const EdsDictionary& dictionary, quint8 node,
                                             Problems& problems)
{
    QVector<MessageDescription> messages;
    PdoReader reader(dictionary, node, problems);
    for (quint32 number = 0; number < pdoCount; ++number) {
        const MessageDescription message = reader.read(number);
        if (!message.signalDescriptions.isEmpty())
            messages.append(message);
    }
    return messages;
}

namespace
{

/// The note for the user if no message could be read.
QString noteOnMissingPdos(const EdsDictionary& dictionary, const DescriptionFile& file)
{
    int disabled = 0;
    for (quint32 number = 0; number < pdoCount; ++number) {
        const auto cobId = dictionary.object(firstCommunication + number, 1);
        const auto value = cobId ? readEdsNumber(cobId->value.value, *file.node) : std::nullopt;
        disabled += value && (*value & notValidFlag) != 0 ? 1 : 0;
    }
    const QString note = QStringLiteral("%1: describes no PDO that node %2 sends")
                             .arg(file.fileName)
                             .arg(*file.node);
    return disabled == 0
               ? note
               : note + QStringLiteral(": %1 TPDOs are disabled by bit 31 of their COB-ID")
                            .arg(disabled);
}

} // namespace

ReadDescription readEdsFile(const DescriptionFile& file)
{
    ReadDescription read;
    read.problems = Problems(file.fileName, QStringLiteral("problem(s) found"));
    if (!file.node) {
        read.error = QStringLiteral("%1: no node id given").arg(file.fileName);
        return read;
    }
    LineReader lines(file.fileName);
    EdsFile edsFile;
    for (QByteArray line; lines.readLine(line);) {
        if (lines.lineNumber() == 1 && textOf(line).trimmed().startsWith('<')) {
            read.error = QStringLiteral("%1: is an XML file, such as an XDD, which is not "
                                        "supported. Export the device description as EDS or DCF")
                             .arg(file.fileName);
            return read;
        }
        edsFile.readLine(lines.lineNumber(), line, read.problems);
    }
    const EdsDictionary dictionary(std::move(edsFile));
    read.messages = readTransmitPdos(dictionary, *file.node, read.problems);
    read.error = lines.error();
    if (read.error.isEmpty() && read.messages.isEmpty())
        read.note = noteOnMissingPdos(dictionary, file);
    return read;
}

} // namespace monitor
