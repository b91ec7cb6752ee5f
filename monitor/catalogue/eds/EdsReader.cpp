#include "EdsReader.h"

#include "CanopenType.h"
#include "EdsNumber.h"
#include "can/Frame.h"
#include "text/LineReader.h"

namespace monitor
{

namespace
{

constexpr quint32 pdos = 512;
constexpr quint32 firstCommunication = 0x1800;
constexpr quint32 firstMapping = 0x1A00;
constexpr quint32 mostMapped = 64; // entries of a mapping: 64 bits of one bit each
constexpr int pdoBits = 64;
constexpr quint32 notValidFlag = 0x80000000; // bit 30, "no remote request", changes nothing here
constexpr quint32 extendedFlag = 0x20000000;
constexpr quint32 lastDummy = 7; // the data types 1 to 7, mapped for the room they take

/// Reads the PDOs of one node.
class PdoReader
{
public:
    PdoReader(const EdsDictionary& objects, quint8 nodeId, Problems& found)
        : dictionary(objects), node(nodeId), problems(found)
    {
    }

    /// The PDO of that \a number, counted from 0, without signals if it is none.
    MessageDescription read(quint32 number)
    {
        MessageDescription message;
        message.name = QStringLiteral("TPDO%1").arg(number + 1);
        message.node = node;
        if (readCobId(firstCommunication + number, message))
            readMapping(firstMapping + number, message);
        return message;
    }

private:
    bool readCobId(quint32 index, MessageDescription& message);
    void readMapping(quint32 index, MessageDescription& message);
    quint32 mappedCount(quint32 index);
    bool readMapped(const EdsEntry& entry, int& position, MessageDescription& message);
    void addSignal(const EdsEntry& entry, quint32 mapped, int position,
                   MessageDescription& message);
    void checkRest(quint32 index, quint32 subIndex, quint32 count);
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

/// The number in \a entry; none without a value, and none with a warning if it is not understood.
std::optional<quint32> PdoReader::readValue(const EdsEntry& entry)
{
    if (entry.value.isEmpty())
        return std::nullopt;
    const auto number = readEdsNumber(entry.value, node);
    if (!number)
        problems.add(entry.line, QStringLiteral("value that is no number"));
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
    const bool isPossible = message.id > 0 && (message.extended || message.id <= lastStandardId);
    if (!isPossible)
        problems.add(entry.line, QStringLiteral("COB-ID that no PDO can have"));
    return isPossible;
}

/// How many entries of the mapping to look at: more than there can be if it does not say.
quint32 PdoReader::mappedCount(quint32 index)
{
    const EdsEntry entry = valueOf(index, 0);
    const quint32 count = readValue(entry).value_or(mostMapped);
    if (count <= mostMapped)
        return count;
    problems.add(entry.line, QStringLiteral("number of mapped objects that is none"));
    return 0;
}

void PdoReader::readMapping(quint32 index, MessageDescription& message)
{
    const quint32 count = mappedCount(index);
    int position = 0;
    for (quint32 subIndex = 1; subIndex <= count; ++subIndex) {
        const EdsEntry entry = valueOf(index, subIndex);
        if (entry.value.isEmpty() || readEdsNumber(entry.value, node) == 0U)
            return checkRest(index, subIndex, count);
        if (!readMapped(entry, position, message))
            return;
        message.size = (position + 7) / 8;
    }
}

/// Sub-index 0 often counts what could be mapped and not what is. But where something follows an
/// entry that is not filled, its place is not certain.
void PdoReader::checkRest(quint32 index, quint32 subIndex, quint32 count)
{
    for (; subIndex <= count; ++subIndex) {
        const EdsEntry entry = valueOf(index, subIndex);
        if (entry.value.isEmpty() || readEdsNumber(entry.value, node) == 0U)
            continue;
        return problems.add(entry.line, QStringLiteral("mapped object behind an entry that is not "
                                                       "filled is not used"));
    }
}

/// Reads an entry of a mapping: index, sub-index and length in bits. False if what follows it has
/// no certain place.
bool PdoReader::readMapped(const EdsEntry& entry, int& position, MessageDescription& message)
{
    const auto mapped = readValue(entry);
    const int length = static_cast<int>(mapped.value_or(0) & 0xFF);
    if (mapped && (length == 0 || position + length > pdoBits))
        problems.add(entry.line, QStringLiteral("mapped object that does not fit into its PDO"));
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
    if (!object)
        return problems.add(entry.line, QStringLiteral("mapped object that is not described"));
    const auto datatype = readEdsNumber(object->datatype.value, node);
    if (!datatype)
        return problems.add(entry.line, QStringLiteral("mapped object without a data type"));
    SignalDescription signal;
    signal.name = object->name.simplified();
    signal.layout.startBit = position;
    signal.layout.length = static_cast<int>(mapped & 0xFF);
    if (!setCanopenType(*datatype, signal))
        return problems.add(entry.line, QStringLiteral("mapped object whose length does not suit "
                                                       "its data type"));
    message.signalDescriptions.append(signal);
}

} // namespace

QVector<MessageDescription> readTransmitPdos(const EdsDictionary& dictionary, quint8 node,
                                             Problems& problems)
{
    QVector<MessageDescription> messages;
    PdoReader reader(dictionary, node, problems);
    for (quint32 number = 0; number < pdos; ++number) {
        const MessageDescription message = reader.read(number);
        if (!message.signalDescriptions.isEmpty())
            messages.append(message);
    }
    return messages;
}

ReadDescription readEdsFile(const DescriptionFile& file)
{
    ReadDescription read;
    read.problems = Problems(file.fileName, QStringLiteral("problem(s) found"));
    if (!file.node) {
        read.error = QStringLiteral("%1: the node id is missing").arg(file.fileName);
        return read;
    }
    LineReader lines(file.fileName);
    EdsFile edsFile;
    for (QByteArray line; lines.readLine(line);)
        edsFile.readLine(lines.lineNumber(), line, read.problems);
    read.messages = readTransmitPdos(EdsDictionary(std::move(edsFile)), *file.node, read.problems);
    read.error = lines.error();
    return read;
}

} // namespace monitor
