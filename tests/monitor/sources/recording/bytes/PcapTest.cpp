#include <sources/recording/bytes/Pcap.h>
#include <sources/recording/formats.h>
#include <sources/recording/lines/Candump.h>

#include <gtest/gtest.h>

#include <QtCore/QBuffer>
#include <QtCore/QProcess>
#include <QtCore/QTemporaryDir>

#include <random>

using monitor::Frame;

namespace
{

constexpr quint32 socketCan = 227;
constexpr quint32 sll = 113;
constexpr quint32 sll2 = 276;

/// Numbers in the byte order of a file.
class Writer
{
public:
    explicit Writer(bool isBigEndian = false) : order(isBigEndian) {}

    Writer& add(const QByteArray& more)
    {
        bytes += more;
        return *this;
    }
    template <typename T>
    Writer& add8(T value)
    {
        return number(static_cast<quint64>(value), 1, order);
    }
    template <typename T>
    Writer& add16(T value)
    {
        return number(static_cast<quint64>(value), 2, order);
    }
    template <typename T>
    Writer& add32(T value)
    {
        return number(static_cast<quint64>(value), 4, order);
    }
    template <typename T>
    Writer& add64(T value)
    {
        return number(static_cast<quint64>(value), 8, order);
    }
    template <typename T>
    Writer& big16(T value)
    {
        return number(static_cast<quint64>(value), 2, true);
    }
    template <typename T>
    Writer& big32(T value)
    {
        return number(static_cast<quint64>(value), 4, true);
    }

    bool order;
    QByteArray bytes;

private:
    Writer& number(quint64 value, int size, bool isBigEndian)
    {
        for (int i = 0; i < size; ++i)
            bytes += static_cast<char>(value >> 8 * (isBigEndian ? size - 1 - i : i));
        return *this;
    }
};

/// A SocketCAN frame, as far as a test varies it.
struct Can {
    quint32 id = 0x123; // with flags
    int length = 3;
    int flags = 0;
    QByteArray data = "abc";
    int protocol = 0x000C;
    int hardware = 280;
    int packetType = 0;
    quint32 interface = 0;
};

QByteArray packetOf(const Can& can, quint32 linkType, bool isBigEndian)
{
    Writer packet(isBigEndian);
    if (linkType == sll)
        packet.big16(can.packetType).big16(can.hardware).add(QByteArray(10, '\0'));
    if (linkType == sll)
        packet.big16(can.protocol);
    if (linkType == sll2)
        packet.big16(can.protocol).big16(0).big32(can.interface).big16(can.hardware);
    if (linkType == sll2)
        packet.add8(can.packetType).add(QByteArray(9, '\0'));
    linkType == socketCan ? packet.big32(can.id) : packet.add32(can.id);
    return packet.add8(can.length).add8(can.flags).add16(0).add(can.data).bytes;
}

QByteArray pcapHeader(quint32 linkType, bool isBigEndian = false, bool isNanoseconds = false)
{
    return Writer(isBigEndian)
        .add32(isNanoseconds ? 0xA1B23C4D : 0xA1B2C3D4)
        .add16(2)
        .add16(4)
        .add32(0)
        .add32(0)
        .add32(65535)
        .add32(linkType)
        .bytes;
}

QByteArray pcapPacket(const QByteArray& packet, bool isBigEndian = false, quint32 seconds = 1,
                      quint32 fraction = 0)
{
    const auto size = packet.size();
    return Writer(isBigEndian)
        .add32(seconds)
        .add32(fraction)
        .add32(size)
        .add32(size)
        .add(packet)
        .bytes;
}

QByteArray pcapOf(const QVector<Can>& frames, quint32 linkType = socketCan,
                  bool isBigEndian = false)
{
    QByteArray file = pcapHeader(linkType, isBigEndian);
    for (const Can& can : frames)
        file += pcapPacket(packetOf(can, linkType, isBigEndian), isBigEndian);
    return file;
}

QByteArray padded(const QByteArray& bytes)
{
    return bytes + QByteArray((4 - bytes.size() % 4) % 4, '\0');
}

QByteArray block(quint32 type, const QByteArray& body, bool isBigEndian = false)
{
    const auto size = padded(body).size() + 12;
    return Writer(isBigEndian).add32(type).add32(size).add(padded(body)).add32(size).bytes;
}

QByteArray section(bool isBigEndian = false)
{
    const quint64 unknownSize = ~quint64{0};
    return block(0x0A0D0D0A,
                 Writer(isBigEndian).add32(0x1A2B3C4D).add16(1).add16(0).add64(unknownSize).bytes,
                 isBigEndian);
}

QByteArray option(quint16 code, const QByteArray& value, bool isBigEndian = false)
{
    const auto size = value.size();
    return Writer(isBigEndian).add16(code).add16(size).add(padded(value)).bytes;
}

QByteArray interfaceBlock(const QByteArray& options = QByteArray(), quint32 linkType = socketCan,
                          bool isBigEndian = false)
{
    return block(1, Writer(isBigEndian).add16(linkType).add16(0).add32(0).add(options).bytes,
                 isBigEndian);
}

QByteArray enhanced(const QByteArray& packet, quint64 ticks = 0, quint32 interface = 0,
                    bool isBigEndian = false)
{
    const auto size = packet.size();
    return block(6,
                 Writer(isBigEndian)
                     .add32(interface)
                     .add32(ticks >> 32)
                     .add32(ticks & 0xFFFFFFFF)
                     .add32(size)
                     .add32(size)
                     .add(packet)
                     .bytes,
                 isBigEndian);
}

const QByteArray plainPacket = packetOf(Can(), socketCan, false);

/// What a recording contains.
struct Read {
    QVector<Frame> frames;
    QStringList buses; // of each frame
    monitor::SourceCounts counts;
    QStringList problems;
    QStringList notes;
};

Read read(const QByteArray& content)
{
    auto buffer = std::make_unique<QBuffer>();
    buffer->setData(content);
    buffer->open(QIODevice::ReadOnly);
    const auto source = monitor::findPcap(content) == 0
                            ? monitor::openPcap(std::move(buffer), "x.pcap")
                            : monitor::openPcapng(std::move(buffer), "x.pcap");
    Read read;
    for (Frame frame; source->next(frame); frame = Frame()) {
        read.frames.append(frame);
        read.buses.append(source->buses().at(frame.bus));
    }
    EXPECT_EQ(source->error(), QString());
    read.counts = source->counts();
    for (const monitor::Problems& problems : source->problems())
        read.problems += problems.lines();
    read.notes = source->notes();
    return read;
}

Frame frameIn(const Can& can, quint32 linkType = socketCan)
{
    const Read recording = read(pcapOf({can}, linkType));
    EXPECT_EQ(recording.frames.size(), 1);
    return recording.frames.value(0);
}

QByteArray dataOf(const Frame& frame)
{
    return QByteArray(reinterpret_cast<const char*>(frame.data.data()), frame.length);
}

/// One line per frame.
QString textOf(const Read& recording)
{
    QString text;
    for (const Frame& frame : recording.frames)
        text += QString("%1 %2 %3%4%5%6 %7\n")
                    .arg(frame.nanoseconds.value_or(-1))
                    .arg(frame.id, 0, 16)
                    .arg(frame.extended)
                    .arg(frame.remote)
                    .arg(frame.fd)
                    .arg(frame.bitRateSwitch)
                    .arg(QString(dataOf(frame).toHex()));
    return text;
}

Read readFile(const QString& name)
{
    QFile file(name);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << name.toStdString();
    return read(file.readAll());
}

QByteArray run(const QString& program, const QStringList& arguments)
{
    QProcess process;
    process.start(program, arguments);
    EXPECT_TRUE(process.waitForFinished()) << program.toStdString();
    EXPECT_EQ(process.exitCode(), 0) << process.readAllStandardError().toStdString();
    return process.readAllStandardOutput();
}

} // namespace

TEST(Pcap, EveryByteOrderTimeUnitAndLinkTypeIsRead)
{
    for (const bool isBigEndian : {false, true}) {
        for (const bool isNanoseconds : {false, true}) {
            for (const quint32 linkType : {socketCan, sll, sll2}) {
                const auto packet = [&](const Can& can, quint32 seconds) {
                    return pcapPacket(packetOf(can, linkType, isBigEndian), isBigEndian, seconds,
                                      123456);
                };
                const Read recording =
                    read(pcapHeader(linkType, isBigEndian, isNanoseconds) + packet(Can(), 7) +
                         packet({0x98F00E01, 8, 0, "abcdefgh"}, 1700000000) +
                         packet({0x40000124, 5, 0, ""}, 1700000001));
                const QString fraction = isNanoseconds ? "000123456" : "123456000";
                EXPECT_EQ(textOf(recording), QString("7%1 123 0000 616263\n"
                                                     "1700000000%1 18f00e01 1000 6162636465666768\n"
                                                     "1700000001%1 124 0100 \n")
                                                 .arg(fraction));
                EXPECT_EQ(recording.problems, QStringList());
                EXPECT_EQ(recording.notes, QStringList());
            }
        }
    }
}

TEST(Pcap, FormatsAreRecognisedByTheirFirstBytes)
{
    EXPECT_EQ(monitor::formatOf(pcapOf({Can()}))->name, QString("pcap"));
    EXPECT_EQ(monitor::formatOf(pcapOf({Can()}, sll, true))->name, QString("pcap"));
    EXPECT_EQ(monitor::formatOf(section())->name, QString("pcapng"));
    EXPECT_EQ(monitor::formatOf(section(true))->name, QString("pcapng"));
    for (const QByteArray& start : {QByteArray(), QByteArray("\xD4\xC3\xB2"), section().left(11),
                                    QByteArray("\x0A\x0D\x0D\x0A\0\0\0\0\0\0\0\0", 12)})
        EXPECT_EQ(monitor::formatOf(start), nullptr) << start.toHex().constData();
}

TEST(Pcap, CanFdFramesAreMarked)
{
    const QByteArray bytes(64, 'x');
    EXPECT_FALSE(frameIn({0x123, 8, 0, "abcdefgh"}).fd);
    EXPECT_FALSE(frameIn({0x123, 8, 1, "abcdefgh"}).bitRateSwitch);
    EXPECT_TRUE(frameIn({0x123, 8, 4, "abcdefgh"}).fd);
    EXPECT_FALSE(frameIn({0x123, 8, 4, "abcdefgh"}).bitRateSwitch);
    EXPECT_TRUE(frameIn({0x123, 8, 5, "abcdefgh"}).bitRateSwitch);
    EXPECT_TRUE(frameIn({0x123, 9, 0, "abcdefghi"}).fd);
    EXPECT_TRUE(frameIn({0x123, 3, 1, bytes}).fd);
    EXPECT_TRUE(frameIn({0x123, 3, 1, bytes}).bitRateSwitch);
    EXPECT_EQ(dataOf(frameIn({0x123, 3, 0, bytes})), "xxx");
    EXPECT_TRUE(frameIn({0x123, 3, 0, "abc", 0x000D}, sll).fd);
    EXPECT_TRUE(frameIn({0x123, 3, 0, "abc", 0x000D}, sll2).fd);
    EXPECT_TRUE(frameIn({0x123, 3, 0, bytes, 0x000C}, sll2).fd);
    EXPECT_FALSE(frameIn({0x123, 3, 0, "abc", 0x000C}, sll2).fd);
    EXPECT_EQ(dataOf(frameIn({0x123, 64, 4, bytes})), bytes);
}

TEST(Pcap, PaddingIsNotData)
{
    EXPECT_EQ(dataOf(frameIn({0x123, 3, 0, "abc\0\0\0\0"})), "abc");
    EXPECT_EQ(dataOf(frameIn({0x123, 0, 0, "abcdefgh"})), "");
}

TEST(Pcap, ErrorFramesAreCounted)
{
    const Read recording = read(pcapOf({{0x20000004, 8, 0, "abcdefgh"}, Can()}));
    EXPECT_EQ(recording.frames.size(), 1);
    EXPECT_EQ(recording.counts.errorFrames, 1);
}

TEST(Pcap, XlFramesAreCountedInANote)
{
    for (const Can& can : {Can{0x123, 0x81, 0, "abcdefgh"}, Can{0x123, 8, 0, "abcdefgh", 0x000E}}) {
        const Read recording = read(pcapOf({can, Can()}, sll));
        EXPECT_EQ(recording.frames.size(), 1);
        EXPECT_EQ(recording.notes, QStringList("x.pcap: 1 CAN XL frame(s) skipped"));
    }
}

TEST(Pcap, PacketsOfOtherProtocolsAreSkipped)
{
    for (const Can& can : {Can{0x123, 3, 0, "abc", 0x0800}, Can{0x123, 3, 0, "abc", 0x000C, 1}}) {
        for (const quint32 linkType : {sll, sll2}) {
            EXPECT_EQ(read(pcapOf({can, Can()}, linkType)).frames.size(), 1);
            EXPECT_EQ(read(pcapOf({can, Can()}, linkType)).notes, QStringList());
            EXPECT_EQ(read(pcapOf({can, can}, linkType)).notes,
                      QStringList(QString("x.pcap: all 2 packet(s) are skipped: they are not CAN "
                                          "frames (link type %1)")
                                      .arg(linkType)));
            EXPECT_EQ(read(pcapOf({can}, linkType)).counts.unreadable, 0);
        }
    }
    EXPECT_EQ(read(pcapOf({Can()}, 1)).notes,
              QStringList("x.pcap: all 1 packet(s) are skipped: they are not CAN frames (link type "
                          "1)"));
    EXPECT_EQ(read(pcapOf({}, 1)).notes, QStringList());
    EXPECT_EQ(read(pcapOf({Can()}, 0x10000000 + socketCan)).frames.size(), 0);
}

TEST(Pcap, UpperBitsOfTheLinkTypeAreIgnored)
{
    QByteArray file = pcapOf({Can()});
    file[23] = 0x14;
    EXPECT_EQ(read(file).frames.size(), 1);
}

TEST(Pcap, BusIsTheInterfaceOfEachPacketOrUnknown)
{
    EXPECT_EQ(read(pcapOf({Can()})).buses, QStringList(QString()));
    EXPECT_EQ(read(pcapOf({Can()}, sll)).buses, QStringList(QString()));
    Can other;
    other.interface = 12;
    EXPECT_EQ(read(pcapOf({Can(), other, Can()}, sll2)).buses, QStringList({"0", "12", "0"}));
}

TEST(Pcap, SentFramesAreReportedBecauseTheyMayOccurTwice)
{
    Can sent;
    sent.packetType = 4;
    for (const quint32 linkType : {sll, sll2}) {
        const QStringList notes = read(pcapOf({sent, Can(), sent}, linkType)).notes;
        ASSERT_EQ(notes.size(), 1);
        EXPECT_TRUE(notes.constFirst().startsWith("x.pcap: 2 frame(s) were sent by the computer "));
    }
}

TEST(Pcap, IncompleteFramesAreReported)
{
    const Read recording = read(pcapOf({{0x123, 8, 0, "abcd"}, Can()}));
    EXPECT_EQ(dataOf(recording.frames.at(0)), "abcd");
    EXPECT_EQ(recording.notes, QStringList("x.pcap: 1 frame(s) were not captured in full, so their "
                                           "last bytes are missing"));
}

TEST(Pcap, ImpossibleFramesAreUnreadable)
{
    const Read recording =
        read(pcapOf({{0x800, 3, 0, "abc"}, {0x123, 65, 4, QByteArray(66, 'x')}}) +
             pcapPacket("1234567") + pcapPacket(plainPacket));
    EXPECT_EQ(recording.frames.size(), 1);
    EXPECT_EQ(recording.problems,
              QStringList({"x.pcap: byte 24: the id 0x800 has more than 11 bits",
                           "x.pcap: byte 51: the frame has an impossible length of 65 bytes",
                           "x.pcap: byte 141: the packet is too short for a CAN frame"}));
}

TEST(Pcap, TimesOutOfRangeAreUnknown)
{
    const QByteArray header = pcapHeader(socketCan);
    for (const auto& time : {std::pair<quint32, quint32>(4000000000, 0), {1, 1000000}}) {
        const Read recording =
            read(header + pcapPacket(plainPacket, false, time.first, time.second));
        EXPECT_EQ(recording.frames.at(0).nanoseconds, std::nullopt);
        EXPECT_EQ(recording.notes, QStringList("x.pcap: 1 frame(s) have no time"));
    }
    const Read last = read(header + pcapPacket(plainPacket, false, 3999999999, 999999));
    EXPECT_EQ(last.frames.at(0).nanoseconds, 3999999999999999000);
}

TEST(Pcap, PacketThatIsTooLongEndsTheFile)
{
    QByteArray file = pcapOf({Can(), Can()});
    const QByteArray size = Writer().add32(262145).bytes;
    file.replace(51 + 8, 4, size);
    const Read recording = read(file + QByteArray(300000, '\0'));
    EXPECT_EQ(recording.frames.size(), 1);
    EXPECT_EQ(recording.problems,
              QStringList("x.pcap: byte 51: the packet has an impossible "
                          "length of 262145 bytes, so the rest of the file is not read"));
}

TEST(Pcap, EveryTruncationIsReportedAfterTheWholePackets)
{
    const QByteArray file = pcapOf({Can(), Can(), Can()}, sll2);
    const auto packetSize = (file.size() - 24) / 3;
    for (int size = 4; size < file.size(); ++size) {
        const Read recording = read(file.left(size));
        EXPECT_EQ(recording.frames.size(), std::max(0, size - 24) / packetSize) << size;
        const bool isWhole = size >= 24 && (size - 24) % packetSize == 0;
        EXPECT_EQ(recording.counts.unreadable, isWhole ? 0 : 1) << size;
    }
    EXPECT_EQ(read(file.left(23)).problems,
              QStringList("x.pcap: byte 0: the file ends within a header"));
    EXPECT_EQ(read(file.left(90)).problems,
              QStringList(
                  QString("x.pcap: byte %1: the file ends within a packet").arg(24 + packetSize)));
}

TEST(Pcapng, BothByteOrdersAndAllPacketBlocksAreRead)
{
    for (const bool order : {false, true}) {
        for (const quint32 linkType : {socketCan, sll, sll2}) {
            const QByteArray packet = packetOf({0x98F00E01, 3, 0, "abc"}, linkType, order);
            const auto size = packet.size();
            const QByteArray simple = block(3, Writer(order).add32(size).add(packet).bytes, order);
            const QByteArray obsolete = block(2,
                                              Writer(order)
                                                  .add16(0)
                                                  .add16(0xFFFF)
                                                  .add32(1)
                                                  .add32(2)
                                                  .add32(size)
                                                  .add32(size)
                                                  .add(packet)
                                                  .bytes,
                                              order);
            const Read recording =
                read(section(order) + interfaceBlock(QByteArray(), linkType, order) +
                     block(4, "names", order) + enhanced(packet, 5000000, 0, order) + simple +
                     block(0x80000001, QByteArray(), order) + obsolete);
            EXPECT_EQ(textOf(recording), QString("5000000000 18f00e01 1000 616263\n"
                                                 "-1 18f00e01 1000 616263\n"
                                                 "4294967298000 18f00e01 1000 616263\n"));
            EXPECT_EQ(recording.problems, QStringList());
            EXPECT_EQ(recording.notes, QStringList("x.pcap: 1 frame(s) have no time"));
        }
    }
}

// The expected times were computed with integers of unlimited length.
TEST(Pcapng, TimesHaveTheResolutionAndOffsetOfTheirInterface)
{
    const struct {
        int resolution; // -1: not stated
        quint64 ticks;
        qint64 offset;
        std::optional<qint64> nanoseconds;
    } cases[] = {
        {-1, 1700000000123456, 0, 1700000000123456000},
        {6, 1700000000123456, 0, 1700000000123456000},
        {9, 1700000000123456789, 0, 1700000000123456789},
        {0, 1700000000, 0, 1700000000000000000},
        {3, 1700000000123, 0, 1700000000123000000},
        {10, 17000000001234567899U, 0, 1700000000123456789},
        {12, 17000000001234567899U, 0, 17000000001234567},
        {19, 17000000001234567899U, 0, 1700000000},
        {20, 17000000001234567899U, 0, 170000000},
        {28, 17000000001234567899U, 0, 1},
        {29, 17000000001234567899U, 0, 0},
        {127, 17000000001234567899U, 0, 0},
        {0x80, 1700000000, 0, 1700000000000000000},
        {0x80 + 10, 1025, 0, 1000976562},
        {0x80 + 32, 7301444403200000001U, 0, 1700000000000000000},
        {0x80 + 33, 14602888806400000003U, 0, 1700000000000000000},
        {0x80 + 40, 1099511627775, 0, 999999999},
        {0x80 + 63, 18446744073709551615U, 0, 1999999999},
        {0x80 + 64, 18446744073709551615U, 0, 999999999},
        {0x80 + 95, 18446744073709551615U, 0, 0},
        {0x80 + 127, 18446744073709551615U, 0, 0},
        {6, 123456, 1700000000, 1700000000123456000},
        {6, 1700000000123456, -1700000000, 123456000},
        {6, 1700000000123456, -1700000001, std::nullopt},
        {6, 3999999999999999, 0, 3999999999999999000},
        {6, 4000000000000000, 0, std::nullopt},
        {0, 18446744073709551615U, 0, std::nullopt},
        {6, 0, 9223372036854775807, std::nullopt},
        {6, 0, -9223372036854775807, std::nullopt},
    };
    for (const auto& c : cases) {
        QByteArray options = option(14, Writer().add64(static_cast<quint64>(c.offset)).bytes);
        if (c.resolution >= 0)
            options += option(9, QByteArray(1, static_cast<char>(c.resolution)));
        const Read recording =
            read(section() + interfaceBlock(options) + enhanced(plainPacket, c.ticks));
        ASSERT_EQ(recording.frames.size(), 1);
        EXPECT_EQ(recording.frames.at(0).nanoseconds, c.nanoseconds)
            << c.resolution << ' ' << c.ticks;
    }
}

TEST(Pcapng, BusIsTheNameOfTheInterfaceOrItsNumber)
{
    const QByteArray named = interfaceBlock(option(2, "can0"));
    const auto packet = [](quint32 interface) { return enhanced(plainPacket, 0, interface); };
    EXPECT_EQ(read(section() + named + packet(0)).buses, QStringList("can0"));
    EXPECT_EQ(read(section() + interfaceBlock() + packet(0)).buses, QStringList(QString()));
    EXPECT_EQ(read(section() + interfaceBlock() + named + interfaceBlock() + packet(0) + packet(1) +
                   packet(2))
                  .buses,
              QStringList({"0", "can0", "2"}));
    EXPECT_EQ(
        read(section() + interfaceBlock() + packet(0) + interfaceBlock() + packet(0) + packet(1))
            .buses,
        QStringList({"", "", "1"}));
    EXPECT_EQ(read(section() + named + packet(0) + section() + interfaceBlock(option(2, "can1")) +
                   interfaceBlock(option(2, "can0")) + packet(0) + packet(1))
                  .buses,
              QStringList({"can0", "can1", "can0"}));
}

TEST(Pcapng, OptionsAfterTheirEndAreIgnored)
{
    const QByteArray options = option(1, "a comment") + option(2, "can0") + option(0, "") +
                               option(2, "can1") + option(9, QByteArray(1, '\0'));
    const Read recording = read(section() + interfaceBlock(options) + enhanced(plainPacket, 1));
    EXPECT_EQ(recording.buses, QStringList("can0"));
    EXPECT_EQ(recording.frames.at(0).nanoseconds, 1000);
}

TEST(Pcapng, EachSectionHasItsOwnByteOrder)
{
    const QByteArray little = packetOf(Can(), sll, false);
    const QByteArray big = packetOf(Can(), sll, true);
    const Read recording =
        read(section() + interfaceBlock("", sll) + enhanced(little) + section(true) +
             interfaceBlock("", sll, true) + enhanced(big, 0, 0, true));
    ASSERT_EQ(recording.frames.size(), 2);
    EXPECT_EQ(recording.frames.at(1).id, 0x123U);
}

TEST(Pcapng, LinkTypesMayBeMixed)
{
    const Read recording = read(section() + interfaceBlock() + interfaceBlock("", 1) +
                                enhanced("ethernet", 0, 1) + enhanced(plainPacket));
    EXPECT_EQ(recording.frames.size(), 1);
    EXPECT_EQ(recording.notes, QStringList());
    EXPECT_EQ(recording.counts.unreadable, 0);
}

TEST(Pcapng, SimplePacketsEndAtTheCaptureLimit)
{
    const QByteArray limited = block(1, Writer().add16(socketCan).add16(0).add32(10).bytes);
    const Read recording =
        read(section() + limited + block(3, Writer().add32(11).add(plainPacket.left(10)).bytes));
    ASSERT_EQ(recording.frames.size(), 1);
    EXPECT_EQ(dataOf(recording.frames.at(0)), "ab");
}

TEST(Pcapng, DamagedPacketsAreSkipped)
{
    QByteArray tooLong = enhanced(plainPacket);
    tooLong.replace(20, 4, Writer().add32(16).bytes);
    const Read recording = read(section() + interfaceBlock() + enhanced(plainPacket, 0, 1) +
                                tooLong + block(6, "short") + enhanced(plainPacket));
    EXPECT_EQ(recording.frames.size(), 1);
    EXPECT_EQ(recording.problems,
              QStringList({"x.pcap: byte 48: the packet belongs to the unknown interface 1",
                           "x.pcap: byte 92: the packet is longer than its block",
                           "x.pcap: byte 136: the block is too short for a packet"}));
}

TEST(Pcapng, DamagedBlocksEndTheFile)
{
    const QByteArray whole = section() + interfaceBlock() + enhanced(plainPacket);
    const struct {
        QByteArray block;
        const char* problem;
    } cases[] = {
        {Writer().add32(5).add32(0).add32(0).bytes,
         "the block has an impossible length of 0 bytes, so the rest of the file is not read"},
        {Writer().add32(5).add32(13).add64(0).add64(0).bytes,
         "the block has an impossible length of 13 bytes, so the rest of the file is not read"},
        {Writer().add32(5).add32(16).add32(0).add32(20).bytes,
         "the block has a length of 16 bytes at its beginning and 20 at its end, so the rest of "
         "the file is not read"},
        {Writer().add32(6).add32(0xFFFFFFFC).add32(0).bytes,
         "the block has an impossible length of 4294967292 bytes, so the rest of the file is not "
         "read"},
        {section().replace(8, 4, "abcd"),
         "the byte order is unknown, so the rest of the file is not read"},
        {section().replace(12, 1, "\x02"),
         "version 2 of pcapng is not supported, so the rest of the file is not read"},
    };
    for (const auto& c : cases) {
        const Read recording = read(whole + c.block + whole);
        EXPECT_EQ(recording.frames.size(), 1);
        ASSERT_EQ(recording.problems.size(), 1);
        EXPECT_TRUE(recording.problems.constFirst().endsWith(QString(": ") + c.problem))
            << recording.problems.constFirst().toStdString();
    }
    const Read huge = read(whole + Writer().add32(5).add32(0xFFFFFFFC).add32(0).bytes + whole);
    EXPECT_EQ(huge.frames.size(), 1);
    EXPECT_TRUE(huge.problems.value(0).endsWith(": the file ends within a block"));
}

TEST(Pcapng, EveryTruncationIsReportedAfterTheWholePackets)
{
    const QByteArray start = section() + interfaceBlock(option(2, "can0"));
    const QByteArray packet = enhanced(plainPacket);
    const QByteArray file = start + packet + block(4, "names") + packet;
    const QVector<qsizetype> borders{section().size(), start.size(), start.size() + packet.size(),
                                     file.size() - packet.size()};
    for (int size = 12; size < file.size(); ++size) {
        const Read recording = read(file.left(size));
        EXPECT_EQ(recording.frames.size(), size < borders.at(2) ? 0 : 1) << size;
        EXPECT_EQ(recording.counts.unreadable, borders.contains(size) ? 0 : 1) << size;
    }
}

TEST(Pcap, DamagedFilesNeverYieldFramesOutOfRange)
{
    std::mt19937 random(20260101);
    const QByteArray files[] = {
        pcapOf({Can(), {0x98F00E01, 12, 5, "abcdefghijkl"}, {0x40000124, 5, 0, ""}}, sll2),
        section() + interfaceBlock(option(9, "\x8C")) + enhanced(plainPacket, 1) +
            block(3, Writer().add32(11).add(plainPacket).bytes) + enhanced(plainPacket, 2)};
    for (int i = 0; i < 100000; ++i) {
        QByteArray file = files[i % 2];
        for (auto damage = 1 + random() % 4; damage > 0; --damage)
            file[4 + static_cast<uint>(random()) % (static_cast<uint>(file.size()) - 4)] =
                static_cast<char>(random());
        for (const Frame& frame : read(file).frames) {
            ASSERT_LE(frame.length, 64) << file.toHex().constData();
            ASSERT_LE(frame.id, frame.extended ? 0x1FFFFFFFU : 0x7FFU) << file.toHex().constData();
            ASSERT_GE(frame.nanoseconds.value_or(0), 0) << file.toHex().constData();
        }
    }
}

namespace
{

// The same frames as a log and as a dump of packets.
const char* const log[] = {
    "(1700000000.123456) can0 123#112233",
    "(1700000000.223456) can0 18F00E00#1122334455667788",
    "(1700000001.500000) can0 124##5112233445566778899AABBCC",
    "(1700000001.500001) can0 124##4AA",
    "(1700000002.000000) can0 125#R",
    "(1700000003.999999) can0 00000123#",
};

const char dump[] = "1700000000.123456\n000000 00 00 01 23 03 00 00 00 11 22 33\n"
                    "1700000000.223456\n"
                    "000000 98 f0 0e 00 08 00 00 00 11 22 33 44 55 66 77 88\n"
                    "1700000001.500000\n"
                    "000000 00 00 01 24 0c 05 00 00 11 22 33 44 55 66 77 88 99 aa bb cc\n"
                    "1700000001.500001\n000000 00 00 01 24 01 04 00 00 aa\n"
                    "1700000002.000000\n000000 40 00 01 25 04 00 00 00\n"
                    "1700000003.999999\n000000 80 00 01 23 00 00 00 00\n";

Read readLog()
{
    Read read;
    monitor::CandumpReader reader;
    for (const char* line : log) {
        Frame frame;
        EXPECT_EQ(reader.readLine(line, frame), monitor::LineKind::Frame);
        read.frames.append(frame);
    }
    return read;
}

} // namespace

TEST(Pcap, FilesOfOtherProgramsAgreeWithTheLog)
{
    const QTemporaryDir directory;
    const auto path = [&](const char* name) { return directory.filePath(name); };
    QFile text(path("dump.txt"));
    ASSERT_TRUE(text.open(QIODevice::WriteOnly));
    text.write(dump);
    text.close();
    const QStringList arguments{"-q", "-l", "227", "-t", "%s.%f", text.fileName()};
    run("text2pcap", arguments + QStringList{path("a.pcapng")});
    run("text2pcap", QStringList{"-F", "pcap"} + arguments + QStringList{path("a.pcap")});
    run("editcap", {"-F", "nsecpcap", path("a.pcapng"), path("nanoseconds.pcap")});
    run("editcap", {"-F", "pcapng", path("a.pcap"), path("b.pcapng")});
    run("tcpdump", {"-r", path("a.pcap"), "-w", path("copy.pcap")});
    run("mergecap", {"-w", path("merged.pcapng"), path("a.pcap")});

    const QString expected = textOf(readLog());
    for (const char* name :
         {"a.pcap", "a.pcapng", "b.pcapng", "nanoseconds.pcap", "copy.pcap", "merged.pcapng"}) {
        const Read recording = readFile(path(name));
        EXPECT_EQ(textOf(recording), expected) << name;
        EXPECT_EQ(recording.problems + recording.notes, QStringList()) << name;
    }
}

TEST(Pcap, AnotherProgramDecodesTheSameIdsAndLengths)
{
    const QTemporaryDir directory;
    for (const bool isBigEndian : {false, true}) {
        for (const quint32 linkType : {socketCan, sll, sll2}) {
            const QByteArray content =
                pcapOf({Can(), {0x98F00E01, 8, 0, "abcdefgh"}, {0x000007FF, 0, 0, ""}}, linkType,
                       isBigEndian);
            QFile file(directory.filePath("x.pcap"));
            ASSERT_TRUE(file.open(QIODevice::WriteOnly));
            file.write(content);
            file.close();
            QByteArray expected;
            for (const Frame& frame : read(content).frames)
                expected +=
                    QByteArray::number(frame.id) + '\t' + QByteArray::number(frame.length) + '\n';
            EXPECT_EQ(run("tshark",
                          {"-r", file.fileName(), "-T", "fields", "-e", "can.id", "-e", "can.len"}),
                      expected)
                << isBigEndian << ' ' << linkType;
        }
    }
}
