#include "Pcap.h"

#include "ByteReader.h"
#include "sources/BusNames.h"
#include "text/LineCursor.h"

#include <algorithm>
#include <vector>

namespace monitor
{

namespace
{

constexpr quint32 longestPacket = 262144; // the limit of capturing programs

constexpr quint16 linkSocketCan = 227;
constexpr quint16 linkSll = 113;
constexpr quint16 linkSll2 = 276;
constexpr quint16 hardwareCan = 280; // ARPHRD_CAN
constexpr quint16 protocolCan = 0x000C;
constexpr quint16 protocolCanFd = 0x000D;
constexpr quint16 protocolCanXl = 0x000E;
constexpr quint8 sentByUs = 4;

template <typename T>
T numberAt(const char* bytes, bool isBigEndian)
{
    return isBigEndian ? bigEndian<T>(bytes) : littleEndian<T>(bytes);
}

/// Part of a capture file. Its bytes are valid until the next one is read.
struct Packet {
    const char* data = nullptr;
    qint64 captured = 0; ///< the number of bytes at \a data
    qint64 original = 0; ///< the number of bytes on the bus
    qint64 position = 0; ///< in the file
    quint32 linkType = 0;
    bool isBigEndian = false; ///< the byte order of the computer that wrote the file
    std::optional<qint64> nanoseconds;
};

/// The fields of a packet in front of its SocketCAN header.
struct LinkHeader {
    int size = 0;
    quint16 protocol = protocolCan;
    quint16 hardware = hardwareCan;
    quint8 direction = 0;
    std::optional<quint32> interface;
    bool isBigEndian = true; ///< the byte order of the id
};

/// Reads the header of \a packet. Returns nullopt if the packet is too short or has another link
/// type.
std::optional<LinkHeader> linkHeaderOf(const Packet& packet)
{
    constexpr int sllSize = 16;
    constexpr int sll2Size = 20;
    const char* const data = packet.data;
    LinkHeader header;
    if (packet.linkType == linkSocketCan)
        return header;
    // The kernel's byte order, unlike in packets without this header.
    header.isBigEndian = packet.isBigEndian;
    if (packet.linkType == linkSll && packet.captured >= sllSize) {
        header.size = sllSize;
        header.direction = static_cast<quint8>(data[1]);
        header.hardware = bigEndian<quint16>(data + 2);
        header.protocol = bigEndian<quint16>(data + 14);
        return header;
    }
    if (packet.linkType == linkSll2 && packet.captured >= sll2Size) {
        header.size = sll2Size;
        header.protocol = bigEndian<quint16>(data);
        header.interface = bigEndian<quint32>(data + 4);
        header.hardware = bigEndian<quint16>(data + 8);
        header.direction = static_cast<quint8>(data[10]);
        return header;
    }
    return std::nullopt;
}

bool isCan(const LinkHeader& header)
{
    return header.hardware == hardwareCan &&
           (header.protocol == protocolCan || header.protocol == protocolCanFd ||
            header.protocol == protocolCanXl);
}

/// The frames of a capture file of either format.
class CaptureFile : public FrameSource
{
public:
    CaptureFile(std::unique_ptr<QIODevice> device, const QString& name)
        : reader(std::move(device), name),
          unreadable(name, QStringLiteral("unreadable part(s) skipped"), ProblemPosition::Byte),
          fileName(name)
    {
    }

    [[nodiscard]] bool next(Frame& frame) override
    {
        while (!isFinished) {
            reader.skip(consumed);
            consumed = 0;
            Packet packet;
            if (readPacket(packet) && isFrame(packet, frame))
                return true;
        }
        return false;
    }

    SourceCounts counts() const override { return {errorFrames, 0, unreadable.count()}; }
    SourceProgress progress() const override { return reader.progress(); }
    QStringList buses() const override { return busNames.names(); }
    QVector<Problems> problems() const override { return {unreadable}; }
    QStringList notes() const override;
    QString error() const override { return reader.error(); }

protected:
    /// Reads the next part of the file and sets \a consumed to its size. Returns true if it is a
    /// packet.
    virtual bool readPacket(Packet& packet) = 0;

    /// The number of the bus of the packet that was read last.
    virtual quint16 busOfPacket() = 0;

    /// Reports damage that hides the rest of the file.
    bool stop(const QString& problem)
    {
        unreadable.add(reader.position(), problem);
        isFinished = true;
        return false;
    }

    /// Makes \a size bytes available. Returns false at the end of the file.
    bool requireAll(qint64 size, const char* part)
    {
        if (reader.require(size))
            return true;
        if (reader.available() > 0)
            return endWithin(part);
        isFinished = true;
        return false;
    }

    /// Reports that the rest of \a part is missing, unless an error is the reason.
    bool endWithin(const char* part)
    {
        isFinished = true;
        return reader.error().isEmpty() &&
               stop(QStringLiteral("the file ends within a ") + QLatin1String(part));
    }

    ByteReader reader;
    qint64 consumed = 0;
    Problems unreadable;
    BusNames busNames;

private:
    bool isFrame(const Packet& packet, Frame& frame);
    bool readSocketCan(const Packet& packet, const LinkHeader& header, Frame& frame);
    bool refuse(const Packet& packet, const QString& problem)
    {
        unreadable.add(packet.position, problem);
        return false;
    }

    QString fileName;
    bool isFinished = false;
    qint64 errorFrames = 0;
    qint64 packets = 0;
    qint64 canPackets = 0;
    quint32 otherLinkType = 0;
    qint64 xlFrames = 0;
    qint64 cutFrames = 0;
    qint64 sentFrames = 0;
    qint64 withoutTime = 0;
};

bool CaptureFile::isFrame(const Packet& packet, Frame& frame)
{
    ++packets;
    const std::optional<LinkHeader> header = linkHeaderOf(packet);
    if (!header || !isCan(*header)) {
        otherLinkType = packet.linkType;
        return false;
    }
    ++canPackets;
    Frame read;
    if (!readSocketCan(packet, *header, read))
        return false;
    read.nanoseconds = packet.nanoseconds;
    withoutTime += read.nanoseconds ? 0 : 1;
    sentFrames += header->direction == sentByUs ? 1 : 0;
    read.bus = header->interface ? busNames.indexOf(QByteArray::number(*header->interface))
                                 : busOfPacket();
    frame = read;
    return true;
}

/// Reads the SocketCAN header after \a header and the data. Returns false unless the packet is a
/// data or remote frame.
bool CaptureFile::readSocketCan(const Packet& packet, const LinkHeader& header, Frame& frame)
{
    constexpr int headerSize = 8;
    constexpr int fdPacketSize = 72;
    constexpr quint32 extendedFlag = 0x80000000;
    constexpr quint32 remoteFlag = 0x40000000;
    constexpr quint32 errorFlag = 0x20000000;
    constexpr quint8 xlFlag = 0x80;
    constexpr quint8 bitRateSwitchFlag = 0x01;
    constexpr quint8 fdFlag = 0x04;

    const char* const data = packet.data + header.size;
    const qint64 captured = packet.captured - header.size;
    if (captured < headerSize)
        return refuse(packet, QStringLiteral("the packet is too short for a CAN frame"));
    const quint32 id = numberAt<quint32>(data, header.isBigEndian);
    const auto length = static_cast<quint8>(data[4]);
    const auto flags = static_cast<quint8>(data[5]);
    if ((length & xlFlag) != 0 || header.protocol == protocolCanXl) {
        ++xlFrames;
        return false;
    }
    if ((id & errorFlag) != 0) {
        ++errorFrames;
        return false;
    }
    frame.extended = (id & extendedFlag) != 0;
    frame.id = id & lastExtendedId;
    if (!frame.extended && frame.id > lastStandardId)
        return refuse(packet,
                      QStringLiteral("the id 0x%1 has more than 11 bits").arg(frame.id, 0, 16));
    frame.remote = (id & remoteFlag) != 0;
    if (frame.remote)
        return true;
    // Older programs do not set the flag of FD frames, but store all 64 bytes.
    frame.fd = (flags & fdFlag) != 0 || header.protocol == protocolCanFd ||
               length > longestClassicFrame || packet.original - header.size == fdPacketSize;
    frame.bitRateSwitch = frame.fd && (flags & bitRateSwitchFlag) != 0;
    if (length > frame.data.size())
        return refuse(packet,
                      QStringLiteral("the frame has an impossible length of %1 bytes").arg(length));
    const qint64 present = std::min<qint64>(length, captured - headerSize);
    cutFrames += present < length ? 1 : 0;
    frame.length = static_cast<quint8>(present);
    std::copy_n(data + headerSize, present, frame.data.begin());
    return true;
}

QStringList CaptureFile::notes() const
{
    QStringList notes;
    const auto add = [&](qint64 number, const QString& text) {
        if (number > 0)
            notes += fileName + QStringLiteral(": ") + text.arg(number);
    };
    if (canPackets == 0)
        add(packets, QStringLiteral("all %1 packet(s) are skipped: they are not CAN frames (link "
                                    "type %2)")
                         .arg(QStringLiteral("%1"), QString::number(otherLinkType)));
    add(cutFrames, QStringLiteral("%1 frame(s) were not captured in full, so their last bytes are "
                                  "missing"));
    add(sentFrames, QStringLiteral("%1 frame(s) were sent by the computer that recorded them, "
                                   "which may have recorded them a second time as received"));
    add(withoutTime, QStringLiteral("%1 frame(s) have no time"));
    add(xlFrames, QStringLiteral("%1 CAN XL frame(s) skipped"));
    return notes;
}

/// How the first bytes of a pcap file tell its byte order and the unit of its times.
struct PcapMagic {
    quint32 bytes; ///< as a big-endian number
    bool isBigEndian;
    quint32 nanosecondsPerTick;
};

const PcapMagic pcapMagics[] = {{0xD4C3B2A1, false, 1000},
                                {0x4D3CB2A1, false, 1},
                                {0xA1B2C3D4, true, 1000},
                                {0xA1B23C4D, true, 1}};

/// The row of the first four bytes at \a start; null if they are not those of a pcap file.
const PcapMagic* pcapMagicOf(const char* start)
{
    const auto found =
        std::find_if(std::begin(pcapMagics), std::end(pcapMagics), [=](const PcapMagic& magic) {
            return magic.bytes == bigEndian<quint32>(start);
        });
    return found == std::end(pcapMagics) ? nullptr : found;
}

class PcapFile : public CaptureFile
{
public:
    using CaptureFile::CaptureFile;

protected:
    bool readPacket(Packet& packet) override;
    quint16 busOfPacket() override { return busNames.indexOf(QByteArray()); }

private:
    bool readHeader();
    std::optional<qint64> timeOf(quint32 seconds, quint32 ticks) const;

    const PcapMagic* magic = nullptr;
    quint32 linkType = 0;
};

bool PcapFile::readHeader()
{
    constexpr int headerSize = 24;
    if (!requireAll(headerSize, "header"))
        return false;
    const char* const header = reader.data();
    magic = pcapMagicOf(header);
    if (!magic)
        return stop(QStringLiteral("this is not the header of a pcap file"));
    linkType = numberAt<quint32>(header + 20, magic->isBigEndian) & 0xFFFF;
    consumed = headerSize;
    return false;
}

std::optional<qint64> PcapFile::timeOf(quint32 seconds, quint32 ticks) const
{
    const qint64 fraction = qint64{ticks} * magic->nanosecondsPerTick;
    if (fraction >= nanosecondsPerSecond || seconds >= latestTime / nanosecondsPerSecond)
        return std::nullopt;
    return seconds * nanosecondsPerSecond + fraction;
}

bool PcapFile::readPacket(Packet& packet)
{
    constexpr int headerSize = 16;
    if (!magic)
        return readHeader();
    if (!requireAll(headerSize, "packet"))
        return false;
    const auto field = [this](int offset) {
        return numberAt<quint32>(reader.data() + offset, magic->isBigEndian);
    };
    const quint32 captured = field(8);
    if (captured > longestPacket)
        return stop(
            QStringLiteral("the packet has an impossible length of %1 bytes, so the rest of the "
                           "file is not read")
                .arg(captured));
    if (!requireAll(headerSize + qint64{captured}, "packet"))
        return false;
    packet.data = reader.data() + headerSize;
    packet.captured = captured;
    packet.original = field(12);
    packet.position = reader.position();
    packet.linkType = linkType;
    packet.isBigEndian = magic->isBigEndian;
    packet.nanoseconds = timeOf(field(0), field(4));
    consumed = headerSize + qint64{captured};
    return true;
}

/// The unit and origin of the times of an interface in a pcapng file.
struct Clock {
    quint8 resolution = 6;    ///< n: units of 10^-n seconds; with bit 7 set, of 2^-n seconds
    qint64 offsetSeconds = 0; ///< to be added

    std::optional<qint64> nanosecondsOf(quint64 ticks) const;
};

quint64 powerOf10(int exponent)
{
    quint64 power = 1;
    for (; exponent > 0; --exponent)
        power *= 10;
    return power;
}

/// Splits \a ticks of 10^-exponent seconds into seconds and the nanoseconds that remain.
void splitDecimal(quint64 ticks, int exponent, quint64& seconds, quint64& nanoseconds)
{
    constexpr int greatestPower = 19; // of 10 in 64 bits
    const bool isSmall = exponent > greatestPower;
    seconds = isSmall ? 0 : ticks / powerOf10(exponent);
    const quint64 rest = isSmall ? ticks : ticks % powerOf10(exponent);
    if (exponent <= 9)
        nanoseconds = rest * powerOf10(9 - exponent);
    else
        nanoseconds = exponent - 9 > greatestPower ? 0 : rest / powerOf10(exponent - 9);
}

/// The same for 2^-exponent seconds.
void splitBinary(quint64 ticks, int exponent, quint64& seconds, quint64& nanoseconds)
{
    seconds = exponent < 64 ? ticks >> exponent : 0;
    const quint64 rest = exponent < 64 ? ticks - (seconds << exponent) : ticks;
    constexpr quint64 perSecond = nanosecondsPerSecond;
    if (exponent <= 32) {
        nanoseconds = rest * perSecond >> exponent;
        return;
    }
    // The product has up to 94 bits, of which the last 32 do not matter.
    const quint64 product = (rest >> 32) * perSecond + ((rest & 0xFFFFFFFF) * perSecond >> 32);
    nanoseconds = exponent < 96 ? product >> (exponent - 32) : 0;
}

std::optional<qint64> Clock::nanosecondsOf(quint64 ticks) const
{
    constexpr qint64 latestSecond = latestTime / nanosecondsPerSecond;
    quint64 seconds = 0;
    quint64 nanoseconds = 0;
    const int exponent = resolution & 0x7F;
    if ((resolution & 0x80) != 0)
        splitBinary(ticks, exponent, seconds, nanoseconds);
    else
        splitDecimal(ticks, exponent, seconds, nanoseconds);
    // Both terms must be in range before they are added.
    if (seconds > quint64{2} * latestSecond || offsetSeconds > latestSecond ||
        offsetSeconds < -2 * latestSecond)
        return std::nullopt;
    const qint64 sum = static_cast<qint64>(seconds) + offsetSeconds;
    if (sum < 0 || sum >= latestSecond)
        return std::nullopt;
    return sum * nanosecondsPerSecond + static_cast<qint64>(nanoseconds);
}

/// An interface of a pcapng file.
struct Interface {
    quint32 linkType = 0;
    quint32 longestCapture = 0; ///< 0: unlimited
    Clock clock;
    QByteArray name;
    std::optional<quint16> bus; ///< once it has delivered a frame
};

constexpr char sectionHeader[] = "\x0A\x0D\x0D\x0A";
constexpr char littleEndianSection[] = "\x4D\x3C\x2B\x1A";
constexpr char bigEndianSection[] = "\x1A\x2B\x3C\x4D";

bool beginsWith(const char* bytes, const char (&expected)[5])
{
    return std::equal(expected, expected + 4, bytes);
}

class PcapngFile : public CaptureFile
{
public:
    using CaptureFile::CaptureFile;

protected:
    bool readPacket(Packet& packet) override;
    quint16 busOfPacket() override;

private:
    bool readSection();
    bool skipBlock(qint64 size);
    bool readBlock(qint64 size);
    bool isTrailerEqual(qint64 offset, qint64 size);
    void readInterface(qint64 size);
    void readOptions(const char* option, const char* end, Interface& interface) const;
    bool readPacketBlock(quint32 type, qint64 size, Packet& packet);
    bool isDamaged(const QString& problem)
    {
        unreadable.add(reader.position(), problem);
        return false;
    }

    quint16 shortAt(qint64 offset) const
    {
        return numberAt<quint16>(reader.data() + offset, order);
    }
    quint32 longAt(qint64 offset) const { return numberAt<quint32>(reader.data() + offset, order); }

    bool hasSection = false;
    bool order = false; // of bytes: whether it is big-endian
    std::vector<Interface> interfaces;
    size_t newestInterface = 0;
};

enum BlockType : quint32 {
    InterfaceBlock = 1,
    ObsoletePacket = 2,
    SimplePacket = 3,
    EnhancedPacket = 6
};

/// The sizes of the fixed parts of a block.
constexpr qint64 blockFrame = 12; // type, and the size in front and at the end
constexpr qint64 interfaceHeader = 16;
constexpr qint64 sectionHeaderSize = 28;

/// The size in bytes of the part of a packet block in front of the data.
qint64 packetHeaderOf(quint32 type)
{
    return type == SimplePacket ? 12 : 28;
}

/// Reads the byte order at a section header.
bool PcapngFile::readSection()
{
    if (!requireAll(sectionHeaderSize, "section header"))
        return false;
    if (beginsWith(reader.data() + 8, littleEndianSection))
        order = false;
    else if (beginsWith(reader.data() + 8, bigEndianSection))
        order = true;
    else
        return stop(
            QStringLiteral("the byte order is unknown, so the rest of the file is not read"));
    if (shortAt(12) != 1)
        return stop(QStringLiteral("version %1 of pcapng is not supported, so the rest of the file "
                                   "is not read")
                        .arg(shortAt(12)));
    hasSection = true;
    interfaces.clear();
    return true;
}

bool PcapngFile::readPacket(Packet& packet)
{
    if (!requireAll(blockFrame, "block"))
        return false;
    const bool isSection = beginsWith(reader.data(), sectionHeader);
    if (isSection && !readSection())
        return false;
    if (!hasSection)
        return stop(QStringLiteral("the section header is missing, so the file is not read"));
    const quint32 type = longAt(0);
    const qint64 size = longAt(4);
    if (size < (isSection ? sectionHeaderSize : blockFrame) || size % 4 != 0)
        return stop(QStringLiteral("the block has an impossible length of %1 bytes, so the rest of "
                                   "the file is not read")
                        .arg(size));
    const bool isPacket = type == EnhancedPacket || type == SimplePacket || type == ObsoletePacket;
    if (!isPacket && type != InterfaceBlock)
        return skipBlock(size);
    if (!readBlock(size))
        return false;
    consumed = size;
    if (type == InterfaceBlock)
        readInterface(size);
    return isPacket && readPacketBlock(type, size, packet);
}

/// Whether the size of a block is repeated at its end. Otherwise the next block cannot be found.
bool PcapngFile::isTrailerEqual(qint64 offset, qint64 size)
{
    if (longAt(offset) == size)
        return true;
    return stop(QStringLiteral("the block has a length of %1 bytes at its beginning and %2 at its "
                               "end, so the rest of the file is not read")
                    .arg(size)
                    .arg(longAt(offset)));
}

/// Skips a block that is not used. It may be larger than the memory.
bool PcapngFile::skipBlock(qint64 size)
{
    constexpr qint64 trailer = 4;
    if (reader.skip(size - trailer) < size - trailer || !reader.require(trailer))
        return endWithin("block");
    if (isTrailerEqual(0, size))
        consumed = trailer;
    return false;
}

/// Makes the whole block available.
bool PcapngFile::readBlock(qint64 size)
{
    constexpr qint64 longestBlock = 16 << 20;
    if (size > longestBlock)
        return stop(QStringLiteral("the block has an impossible length of %1 bytes, so the rest of "
                                   "the file is not read")
                        .arg(size));
    return requireAll(size, "block") && isTrailerEqual(size - 4, size);
}

void PcapngFile::readInterface(qint64 size)
{
    constexpr size_t mostInterfaces = 10000;
    if (size < interfaceHeader + 4 || interfaces.size() == mostInterfaces) {
        isDamaged(QStringLiteral("the description of the interface cannot be used"));
        return;
    }
    Interface interface;
    interface.linkType = shortAt(8);
    interface.longestCapture = longAt(12);
    readOptions(reader.data() + interfaceHeader, reader.data() + size - 4, interface);
    interfaces.push_back(interface);
}

void PcapngFile::readOptions(const char* option, const char* end, Interface& interface) const
{
    constexpr int headerSize = 4;
    constexpr qint64 longestName = 64;
    enum : quint16 { EndOfOptions = 0, Name = 2, Resolution = 9, Offset = 14 };
    while (end - option >= headerSize) {
        const auto code = numberAt<quint16>(option, order);
        const qint64 size = numberAt<quint16>(option + 2, order);
        option += headerSize;
        if (code == EndOfOptions || size > end - option)
            return;
        if (code == Name)
            interface.name = QByteArray(option, static_cast<int>(std::min(size, longestName)));
        else if (code == Resolution && size >= 1)
            interface.clock.resolution = static_cast<quint8>(*option);
        else if (code == Offset && size >= 8)
            interface.clock.offsetSeconds = numberAt<qint64>(option, order);
        option += std::min<qint64>((size + 3) / 4 * 4, end - option);
    }
}

bool PcapngFile::readPacketBlock(quint32 type, qint64 size, Packet& packet)
{
    const qint64 header = packetHeaderOf(type);
    const qint64 room = size - header - 4;
    if (room < 0)
        return isDamaged(QStringLiteral("the block is too short for a packet"));
    const quint32 number = type == SimplePacket     ? 0
                           : type == ObsoletePacket ? shortAt(8)
                                                    : longAt(8);
    if (number >= interfaces.size())
        return isDamaged(
            QStringLiteral("the packet belongs to the unknown interface %1").arg(number));
    newestInterface = number;
    const Interface& interface = interfaces.at(newestInterface);
    packet.original = longAt(header - 4);
    if (type == SimplePacket) {
        const qint64 limit = interface.longestCapture > 0 ? interface.longestCapture : room;
        packet.captured = std::min({packet.original, limit, room});
    } else {
        packet.captured = longAt(20);
        packet.nanoseconds = interface.clock.nanosecondsOf(quint64{longAt(12)} << 32 | longAt(16));
    }
    if (packet.captured > room)
        return isDamaged(QStringLiteral("the packet is longer than its block"));
    packet.data = reader.data() + header;
    packet.position = reader.position();
    packet.linkType = interface.linkType;
    packet.isBigEndian = order;
    return true;
}

/// The name of the interface, or its number if there are several. The number is kept once it has
/// been used, because further interfaces may follow.
quint16 PcapngFile::busOfPacket()
{
    Interface& interface = interfaces[newestInterface];
    if (!interface.bus) {
        QByteArray name = interface.name;
        if (name.isEmpty() && interfaces.size() > 1)
            name = QByteArray::number(static_cast<qulonglong>(newestInterface));
        interface.bus = busNames.indexOf(name);
    }
    return *interface.bus;
}

} // namespace

qint64 findPcap(const QByteArray& start)
{
    return start.size() >= 4 && pcapMagicOf(start.constData()) ? 0 : -1;
}

qint64 findPcapng(const QByteArray& start)
{
    const bool isPcapng = start.size() >= 12 && beginsWith(start.constData(), sectionHeader) &&
                          (beginsWith(start.constData() + 8, littleEndianSection) ||
                           beginsWith(start.constData() + 8, bigEndianSection));
    return isPcapng ? 0 : -1;
}

std::unique_ptr<FrameSource> openPcap(std::unique_ptr<QIODevice> device, const QString& name)
{
    return std::make_unique<PcapFile>(std::move(device), name);
}

std::unique_ptr<FrameSource> openPcapng(std::unique_ptr<QIODevice> device, const QString& name)
{
    return std::make_unique<PcapngFile>(std::move(device), name);
}

} // namespace monitor
