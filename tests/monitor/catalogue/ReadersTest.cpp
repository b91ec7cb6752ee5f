#include <catalogue/readers.h>

#include <gtest/gtest.h>

#include <QtCore/QSet>
#include <QtCore/QTemporaryDir>

using monitor::DescriptionReader;
using monitor::descriptionReaders;
using monitor::findDescriptionReader;
using monitor::Protocol;
using monitor::ReadDescription;
using monitor::readNodeId;

namespace
{

ReadDescription readText(const char* format, const QByteArray& text, std::optional<quint8> node)
{
    const QTemporaryDir directory;
    QFile file(directory.filePath("description"));
    EXPECT_TRUE(file.open(QIODevice::WriteOnly) && file.write(text) == text.size());
    file.close();
    return findDescriptionReader(format)->read({file.fileName(), node});
}

} // namespace

TEST(DescriptionReaders, EveryFormatHasAUniqueNameAndHelp)
{
    QSet<QString> names;
    for (const DescriptionReader& reader : descriptionReaders()) {
        names.insert(reader.name);
        EXPECT_EQ(findDescriptionReader(reader.name), &reader);
        EXPECT_TRUE(QString(reader.fileHint).startsWith("FILE")) << reader.name;
        EXPECT_TRUE(QString(reader.help).endsWith('.')) << reader.name;
    }
    EXPECT_EQ(names.size(), descriptionReaders().size());
    EXPECT_EQ(findDescriptionReader("none"), nullptr);
}

TEST(DescriptionReaders, UnreadableFileIsAnErrorInEveryFormat)
{
    for (const DescriptionReader& reader : descriptionReaders()) {
        const ReadDescription read = reader.read({"/nowhere/x", quint8{5}});
        EXPECT_TRUE(read.error.startsWith("/nowhere/x: ")) << read.error.toStdString();
        EXPECT_TRUE(read.messages.isEmpty());
    }
}

TEST(DescriptionReaders, NonsenseIsReportedAsProblemsInEveryFormat)
{
    for (const DescriptionReader& reader : descriptionReaders()) {
        const ReadDescription read = readText(reader.name, "BO_ \xFF\n\0[\n", quint8{5});
        EXPECT_TRUE(read.error.isEmpty() || read.error.endsWith("Is it a DBC file?"));
        EXPECT_GE(read.problems.count(), 1) << reader.name;
        EXPECT_TRUE(read.problems.total().contains("problem(s) found")) << reader.name;
        EXPECT_TRUE(read.messages.isEmpty()) << reader.name;
    }
}

TEST(DescriptionReaders, DbcFileYieldsItsMessages)
{
    const ReadDescription read = readText("dbc", "BO_ 291 Drive: 8 X\n", std::nullopt);
    EXPECT_EQ(read.error, QString());
    ASSERT_EQ(read.messages.size(), 1);
    EXPECT_EQ(read.messages.at(0).name, QString("Drive"));
}

TEST(DescriptionReaders, EdsFileYieldsThePdosOfTheNode)
{
    const QByteArray eds = "[2000]\nParameterName=Byte\nDataType=5\n"
                           "[1800sub1]\nDefaultValue=$NODEID+0x180\n"
                           "[1A00sub0]\nDefaultValue=1\n[1A00sub1]\nDefaultValue=0x20000008\n";
    const ReadDescription read = readText("eds", eds, quint8{5});
    ASSERT_EQ(read.messages.size(), 1);
    EXPECT_EQ(read.messages.at(0).id, 0x185U);
    EXPECT_EQ(read.messages.at(0).node, quint8{5});
    const ReadDescription nodeless = readText("eds", eds, std::nullopt);
    EXPECT_TRUE(nodeless.error.endsWith(": no node id given"));
    EXPECT_TRUE(nodeless.messages.isEmpty());
}

TEST(DescriptionReaders, DbcCanBeReadAsJ1939OrPlain)
{
    const char* text = "BO_ 2364539904 A: 8 X\nBO_ 2364540158 B: 8 X\n";
    const QVector<std::pair<const char*, QVector<Protocol>>> expected{
        {"dbc", {Protocol::CANopen, Protocol::J1939}},
        {"j1939", {Protocol::J1939, Protocol::J1939}},
        {"plain", {Protocol::CANopen, Protocol::CANopen}}};
    for (const auto& [name, protocols] : expected) {
        const ReadDescription read = readText(name, text, std::nullopt);
        ASSERT_EQ(read.messages.size(), 2);
        for (int i = 0; i < 2; ++i)
            EXPECT_EQ(read.messages.at(i).protocol, protocols.at(i)) << name;
    }
}

TEST(DescriptionReaders, EdsSaysThatAllItsPdosAreDisabled)
{
    QByteArray eds;
    for (const char* index : {"1800", "1801", "19FF"})
        eds += QByteArray("[") + index + "sub1]\nDefaultValue=$NODEID+0x80000180\n";
    ReadDescription read = readText("eds", eds, quint8{5});
    EXPECT_EQ(read.error, QString());
    EXPECT_TRUE(read.note.endsWith(": describes no PDO that node 5 sends: 3 TPDOs are disabled by "
                                   "bit 31 of their COB-ID"))
        << read.note.toStdString();
    read = readText("eds", "[2000]\nParameterName=Byte\n", quint8{5});
    EXPECT_TRUE(read.note.endsWith(": describes no PDO that node 5 sends"));
}

TEST(DescriptionReaders, XddIsRefusedWithAnExplanation)
{
    const ReadDescription read =
        readText("eds", "<?xml version=\"1.0\"?>\n<ISO15745ProfileContainer>\n", quint8{5});
    EXPECT_TRUE(read.error.contains("XDD")) << read.error.toStdString();
    EXPECT_EQ(read.problems.count(), 0);
}

TEST(NodeId, IsDecimalOrHexadecimalFrom1To127)
{
    EXPECT_EQ(readNodeId("1"), quint8{1});
    EXPECT_EQ(readNodeId("127"), quint8{127});
    EXPECT_EQ(readNodeId("0x7F"), quint8{127});
    EXPECT_EQ(readNodeId("0X0a"), quint8{10});
    EXPECT_EQ(readNodeId("010"), quint8{10});
    for (const char* text : {"", "0", "128", "0x80", "0x", "five", "-1", "+5", "0x+5", " 5", "5 ",
                             "5;", "4294967297", "1.5", "$NODEID"})
        EXPECT_EQ(readNodeId(text), std::nullopt) << text;
}
