#include "../../text/problemText.h"

#include <catalogue/eds/EdsReader.h>
#include <sanitizers.h>

#include <gtest/gtest.h>

#include <QtCore/QList>

#include <random>

using CAN::CANopenDataType;
using monitor::MessageDescription;
using monitor::SignalDescription;

namespace
{

struct Pdos {
    QVector<MessageDescription> messages;
    QString warnings;
};

Pdos read(const QByteArray& content, quint8 node = 5)
{
    Pdos pdos;
    monitor::Problems problems("x.eds");
    monitor::EdsFile file;
    qint64 number = 0;
    for (const QByteArray& line : content.split('\n'))
        file.readLine(++number, line, problems);
    pdos.messages = readTransmitPdos(monitor::EdsDictionary(file), node, problems);
    pdos.warnings = textOf(problems);
    return pdos;
}

QByteArray pdo(const QByteArray& cobId, const QByteArray& count, const QList<QByteArray>& mapped)
{
    QByteArray eds = "[1800sub1]\nDefaultValue=" + cobId + "\n[1A00sub0]\nDefaultValue=" + count;
    for (int i = 0; i < mapped.size(); ++i)
        eds += "\n[1A00sub" + QByteArray::number(i + 1, 16) + "]\nDefaultValue=" + mapped.at(i);
    return eds + '\n';
}

const QByteArray objects = "[2000]\nParameterName=Byte\nDataType=0x0005\n"
                           "[2001]\nParameterName=Word\nDataType=0x0003\n"
                           "[2002]\nParameterName=Bit\nDataType=0x0001\n"
                           "[2003]\nParameterName=Real\nDataType=0x0008\n"
                           "[2004]\nParameterName=Long\nDataType=0x0013\n"
                           "[2005]\nParameterName=Text\nDataType=0x0009\n";

/// "name startBit length" of each signal. There must be at most one message.
QStringList layoutsIn(const QByteArray& eds)
{
    QStringList layouts;
    const Pdos pdos = read(eds);
    EXPECT_EQ(pdos.warnings, QString());
    EXPECT_LE(pdos.messages.size(), 1);
    for (const MessageDescription& message : pdos.messages) {
        for (const SignalDescription& signal : message.signalDescriptions)
            layouts += QString("%1 %2 %3")
                           .arg(signal.name)
                           .arg(signal.layout.startBit)
                           .arg(signal.layout.length);
    }
    return layouts;
}

} // namespace

TEST(EdsReader, ReadsAPdoWithItsObjects)
{
    const Pdos pdos = read(objects + pdo("$NODEID+0x180", "2", {"0x20000008", "0x20010010"}));
    EXPECT_EQ(pdos.warnings, QString());
    ASSERT_EQ(pdos.messages.size(), 1);
    const MessageDescription& message = pdos.messages.at(0);
    EXPECT_EQ(message.name, QString("TPDO1"));
    EXPECT_EQ(message.id, 0x185U);
    EXPECT_FALSE(message.extended);
    EXPECT_EQ(message.protocol, monitor::Protocol::CANopen);
    EXPECT_EQ(message.node, quint8{5});
    EXPECT_EQ(message.size, 3);
    ASSERT_EQ(message.signalDescriptions.size(), 2);
    EXPECT_EQ(message.signalDescriptions.at(0).layout.datatype, CANopenDataType::UNSIGNED8);
    EXPECT_FALSE(message.signalDescriptions.at(0).layout.isSigned);
    EXPECT_EQ(message.signalDescriptions.at(1).layout.datatype, CANopenDataType::INTEGER16);
    EXPECT_TRUE(message.signalDescriptions.at(1).layout.isSigned);
    EXPECT_EQ(message.signalDescriptions.at(1).layout.startBit, 8);
}

// The lengths are those of CiA 301. Types for which the library has no element type are passed
// through.
TEST(EdsReader, NumericTypesAreAcceptedUpToTheirLength)
{
    const struct {
        int code;
        int bits;
        bool passThrough;
    } types[] = {{0x01, 1, true},   {0x02, 8, false},  {0x03, 16, false}, {0x10, 24, false},
                 {0x04, 32, false}, {0x12, 40, false}, {0x13, 48, true},  {0x14, 56, true},
                 {0x15, 64, false}, {0x05, 8, false},  {0x06, 16, false}, {0x16, 24, false},
                 {0x07, 32, false}, {0x18, 40, false}, {0x19, 48, false}, {0x1A, 56, true},
                 {0x1B, 64, false}, {0x08, 32, false}, {0x11, 64, false}};
    for (const auto& type : types) {
        const QByteArray object =
            "[2000]\nParameterName=Object\nDataType=" + QByteArray::number(type.code) + '\n';
        const auto mapped = [](int bits) {
            return "0x200000" + QByteArray::number(bits, 16).rightJustified(2, '0');
        };
        const Pdos pdos = read(object + pdo("0x185", "1", {mapped(type.bits)}));
        EXPECT_EQ(pdos.warnings, QString()) << type.code;
        ASSERT_EQ(pdos.messages.size(), 1) << type.code;
        const monitor::SignalLayout& layout = pdos.messages.at(0).signalDescriptions.at(0).layout;
        EXPECT_EQ(layout.length, type.bits) << type.code;
        EXPECT_EQ(layout.passThrough, type.passThrough) << type.code;
        if (type.bits == 64)
            continue; // a PDO cannot be longer
        EXPECT_TRUE(read(object + pdo("0x185", "1", {mapped(type.bits + 1)})).messages.isEmpty())
            << type.code;
    }
}

TEST(EdsReader, CobIdFlagsAreNotPartOfTheId)
{
    const QList<QByteArray> mapped{"0x20000008"};
    EXPECT_EQ(read(objects + pdo("0x40000185", "1", mapped)).messages.at(0).id, 0x185U);
    EXPECT_TRUE(read(objects + pdo("0x80000185", "1", mapped)).messages.isEmpty());
    EXPECT_TRUE(read(objects + pdo("$NODEID+0xC0000180", "1", mapped)).messages.isEmpty());
    const Pdos pdos = read(objects + pdo("0x3234567F", "1", mapped));
    EXPECT_TRUE(pdos.messages.at(0).extended);
    EXPECT_EQ(pdos.messages.at(0).id, 0x1234567FU);
}

TEST(EdsReader, InvalidCobIdIsAWarning)
{
    for (const char* cobId : {"0", "0x800", "0x40000000", "0x1FFFFFFF", "0x20000000", "none"}) {
        const Pdos pdos = read(objects + pdo(cobId, "1", {"0x20000008"}));
        EXPECT_TRUE(pdos.messages.isEmpty()) << cobId;
        EXPECT_EQ(pdos.warnings.count('\n'), 1) << cobId;
        EXPECT_TRUE(pdos.warnings.startsWith("x.eds:20: ")) << pdos.warnings.toStdString();
    }
}

TEST(EdsReader, LengthsNeedNotBeWholeBytes)
{
    EXPECT_EQ(layoutsIn(objects + pdo("0x185", "4",
                                      {"0x20020001", "0x20000003", "0x20010010", "0x20020001"})),
              (QStringList{"Bit 0 1", "Byte 1 3", "Word 4 16", "Bit 20 1"}));
}

TEST(EdsReader, DummyEntriesOnlyTakeUpSpace)
{
    EXPECT_EQ(layoutsIn(objects + pdo("0x185", "4",
                                      {"0x00010001", "0x00050008", "0x00070020", "0x20010010"})),
              QStringList{"Word 41 16"});
}

TEST(EdsReader, CountNeedNotMatchTheMappedObjects)
{
    EXPECT_EQ(layoutsIn(objects + pdo("0x185", "8", {"0x20000008", "0x20010010"})).size(), 2);
    EXPECT_EQ(layoutsIn(objects + pdo("0x185", "64", {"0x20000008", "0", "0x00000000"})).size(), 1);
    EXPECT_EQ(layoutsIn(objects + pdo("0x185", "1", {"0x20000008", "0x20010010"})).size(), 1);
    EXPECT_EQ(layoutsIn(objects + pdo("0x185", "0", {"0x20000008"})).size(), 0);
    EXPECT_EQ(layoutsIn(objects + pdo("0x185", "", {"0x20000008", "0x20010010"})).size(), 2);
}

TEST(EdsReader, ObjectsOfUncertainPositionAreNotUsed)
{
    const QByteArray last = "0x20010010";
    for (const QList<QByteArray>& mapped :
         {QList<QByteArray>{"0x20000008", "", last}, QList<QByteArray>{"0x20000008", "many", last},
          QList<QByteArray>{"0x20000008", "0x20000000", last},
          QList<QByteArray>{"0x20000008", "0x20000040", last}}) {
        const Pdos pdos = read(objects + pdo("0x185", "3", mapped));
        ASSERT_EQ(pdos.messages.at(0).signalDescriptions.size(), 1) << mapped.at(1).constData();
        EXPECT_EQ(pdos.warnings.count('\n'), 1) << pdos.warnings.toStdString();
    }
}

TEST(EdsReader, UnusableObjectStillTakesUpSpace)
{
    for (const char* mapped : {"0x20990010", "0x20000010", "0x20030010"}) {
        const Pdos pdos = read(objects + pdo("0x185", "2", {mapped, "0x20010010"}));
        ASSERT_EQ(pdos.messages.at(0).signalDescriptions.size(), 1) << mapped;
        EXPECT_EQ(pdos.messages.at(0).signalDescriptions.at(0).layout.startBit, 16);
        EXPECT_TRUE(pdos.warnings.startsWith("x.eds:24: mapped object ")) << mapped;
    }
}

TEST(EdsReader, ObjectsWithoutAnElementTypeArePassedThrough)
{
    const Pdos pdos = read(objects + pdo("0x185", "2", {"0x20040030", "0x20050010"}));
    EXPECT_EQ(pdos.warnings, QString());
    const auto& found = pdos.messages.at(0).signalDescriptions;
    ASSERT_EQ(found.size(), 2);
    EXPECT_TRUE(found.at(0).layout.passThrough);
    EXPECT_TRUE(found.at(0).layout.isSigned);
    EXPECT_EQ(found.at(0).layout.datatype, CANopenDataType::INTEGER48);
    EXPECT_TRUE(found.at(1).layout.passThrough);
}

TEST(EdsReader, ReadsCompactMappings)
{
    EXPECT_EQ(layoutsIn(objects + "[1800sub1]\nParameterValue=0x185\n[1A00]\nDataType=7\n"
                                  "CompactSubObj=2\n[1A00Value]\n1=0x20000008\n2=0x20010010\n"),
              (QStringList{"Byte 0 8", "Word 8 16"}));
}

// CiA 301: the event timer is sub-index 5, in ms. Only the transmission types 254 and 255 use
// it; others are sent after SYNC or on request.
TEST(EdsReader, EventTimerIsTheCycleTimeOfAnEventDrivenPdo)
{
    const auto cycleTime = [](const QByteArray& parameters) {
        const Pdos pdos = read(objects + pdo("0x185", "1", {"0x20000008"}) + parameters);
        EXPECT_EQ(pdos.warnings, QString());
        return pdos.messages.value(0).cycleTime;
    };
    const QByteArray timer = "[1800sub5]\nDefaultValue=0x32\n";
    EXPECT_EQ(cycleTime(timer), 50.0);
    EXPECT_EQ(cycleTime(timer + "ParameterValue=20\n"), 20.0);
    EXPECT_EQ(cycleTime("[1800sub5]\nDefaultValue=0\n"), std::nullopt);
    EXPECT_EQ(cycleTime("[1800sub5]\n"), std::nullopt);
    EXPECT_EQ(cycleTime(""), std::nullopt);
    for (const auto& [type, isUsed] : {std::pair("0xFF", true), std::pair("254", true),
                                       std::pair("253", false), std::pair("0", false)})
        EXPECT_EQ(cycleTime(timer + "[1800sub2]\nDefaultValue=" + type + "\n").has_value(), isUsed)
            << type;
    EXPECT_EQ(
        read(objects + pdo("0x185", "1", {"0x20000008"}) + "[1800sub5]\nDefaultValue=x\n").warnings,
        QString("x.eds:26: value is not a number\n"));
}

TEST(EdsReader, TruncatedFilesNeverYieldSignalsOutsideTheirPdo)
{
    const QByteArray eds =
        objects + pdo("$NODEID+0x180", "3", {"0x20000008", "0x20010010", "0x20030020"});
    for (int size = 0; size <= eds.size(); ++size) {
        for (const MessageDescription& message : read(eds.left(size)).messages) {
            for (const SignalDescription& signal : message.signalDescriptions)
                ASSERT_TRUE(monitor::fitsInto(signal.layout, 8)) << size;
        }
    }
}

TEST(EdsReader, DamagedFilesNeverYieldSignalsOutsideTheirPdo)
{
    std::mt19937 random(306);
    const QByteArray valid =
        objects + pdo("$NODEID+0x180", "3", {"0x20000008", "0x20010010", "0x20030020"});
    for (int i = 0; i < repetitions(3000); ++i) {
        QByteArray eds = valid;
        for (auto damage = 1 + random() % 8; damage > 0; --damage)
            eds[static_cast<uint>(random()) % static_cast<uint>(eds.size())] =
                static_cast<char>(random());
        for (const MessageDescription& message : read(eds).messages) {
            ASSERT_LE(message.id, message.extended ? 0x1FFFFFFFU : 0x7FFU);
            for (const SignalDescription& signal : message.signalDescriptions)
                ASSERT_TRUE(signal.layout.length > 0 && monitor::fitsInto(signal.layout, 8))
                    << eds.constData();
        }
    }
}

TEST(EdsReader, MappingUsesTheSubIndex)
{
    const QByteArray record = "[2010]\nParameterName=Motor\nObjectType=0x9\n"
                              "[2010sub0]\nParameterName=Entries\nDataType=0x0005\n"
                              "[2010sub1]\nParameterName=Speed\nDataType=0x0006\n"
                              "[2010sub2]\nParameterName=Torque\nDataType=0x0006\n";
    EXPECT_EQ(layoutsIn(record + pdo("0x185", "2", {"0x20100210", "0x20100110"})),
              (QStringList{"Torque 0 16", "Speed 16 16"}));
}
