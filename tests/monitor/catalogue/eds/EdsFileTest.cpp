#include "../../text/problemText.h"

#include <catalogue/eds/EdsDictionary.h>

#include <gtest/gtest.h>

using monitor::EdsDictionary;
using monitor::EdsFile;
using monitor::readEdsNumber;

namespace
{

struct Eds {
    EdsFile file;
    QString warnings;
};

Eds read(const QByteArray& content)
{
    Eds eds;
    monitor::Problems problems("x.eds");
    qint64 number = 0;
    for (const QByteArray& line : content.split('\n'))
        eds.file.readLine(++number, line, problems);
    eds.warnings = textOf(problems);
    return eds;
}

} // namespace

TEST(EdsNumber, ReadsDecimalHexadecimalAndOctal)
{
    EXPECT_EQ(readEdsNumber("10", 0), 10U);
    EXPECT_EQ(readEdsNumber("0x10", 0), 16U);
    EXPECT_EQ(readEdsNumber("0XfF", 0), 255U);
    EXPECT_EQ(readEdsNumber("010", 0), 8U);
    EXPECT_EQ(readEdsNumber("0", 0), 0U);
    EXPECT_EQ(readEdsNumber("0xFFFFFFFF", 0), 0xFFFFFFFFU);
    EXPECT_EQ(readEdsNumber(" 7 ; seven", 0), 7U);
}

TEST(EdsNumber, NodeIdCanComeFirstOrLast)
{
    EXPECT_EQ(readEdsNumber("$NODEID+0x180", 5), 0x185U);
    EXPECT_EQ(readEdsNumber("0x180+$NODEID", 5), 0x185U);
    EXPECT_EQ(readEdsNumber("$NodeId + 512", 5), 517U);
    EXPECT_EQ(readEdsNumber("0x40000180 + $nodeid", 127), 0x400001FFU);
    EXPECT_EQ(readEdsNumber("$NODEID", 5), 5U);
}

TEST(EdsNumber, TextThatIsNotANumberIsRejected)
{
    for (const char* text : {"",
                             " ",
                             "x",
                             "0x",
                             "0xG",
                             "1x",
                             "08",
                             "0x100000000",
                             "4294967296",
                             "-1",
                             "+1",
                             "0x-1",
                             "0x+1",
                             "1 2",
                             "1+2",
                             "$NODEID+$NODEID",
                             "$NODEID+1+2",
                             "$NODEID+",
                             "+$NODEID",
                             "$NODEID-1",
                             "$NODE+1",
                             "$NODEID+0xFFFFFFFF",
                             "1.5",
                             ";1"})
        EXPECT_EQ(readEdsNumber(text, 5), std::nullopt) << text;
}

TEST(EdsFile, CaseAndBlanksInSectionsAndKeysAreIgnored)
{
    const Eds eds = read("[1A00SUB0A]\nParameterName = Speed, actual\\ \r\n"
                         "  [ DeviceInfo ] ; comment\n;no=entry\n\n  VENDORNAME=A;B=C  \n"
                         "[01a00sub1]\nDataType=5");
    EXPECT_EQ(eds.warnings, QString());
    EXPECT_EQ(eds.file.entry("1a00suba", "parametername").value, QString("Speed, actual\\"));
    EXPECT_EQ(eds.file.entry("1a00suba", "parametername").line, 2);
    EXPECT_EQ(eds.file.entry("deviceinfo", "vendorname").value, QString("A;B=C"));
    EXPECT_EQ(eds.file.entry(EdsFile::sectionOf(0x1A00, 1), "datatype").value, QString("5"));
    EXPECT_EQ(eds.file.entry("none", "datatype").line, 0);
}

TEST(EdsFile, MalformedLinesAreWarningsAndTheRestIsUsed)
{
    const Eds eds = read("[1000]\nnonsense\n=1\nDataType=7\nDataType=8\n[2000\nDataType=5\n"
                         "[]\n[3000] x\n[4000]\nDataType=6\n[1000]\nAccessType=ro");
    EXPECT_EQ(eds.file.entry("1000", "datatype").value, QString("7"));
    EXPECT_EQ(eds.file.entry("1000", "accesstype").value, QString("ro"));
    EXPECT_EQ(eds.file.entry("4000", "datatype").value, QString("6"));
    EXPECT_FALSE(eds.file.hasSection("2000"));
    QStringList lines;
    for (const QString& warning : eds.warnings.trimmed().split('\n'))
        lines += warning.section(':', 1, 1);
    EXPECT_EQ(lines.join(' '), QString("2 3 5 6 8 9 12"));
}

TEST(EdsDictionary, ParameterValueTakesPrecedenceOverTheDefault)
{
    const EdsDictionary dictionary(read("[1000]\nDataType=7\nDefaultValue=1\nParameterValue=2\n"
                                        "[1001]\nDataType=7\nDefaultValue=1\nParameterValue=\n")
                                       .file);
    EXPECT_EQ(dictionary.object(0x1000, 0)->value.value, QString("2"));
    EXPECT_EQ(dictionary.object(0x1001, 0)->value.value, QString("1"));
    EXPECT_FALSE(dictionary.object(0x1000, 1));
    EXPECT_FALSE(dictionary.object(0x1002, 0));
}

TEST(EdsDictionary, AmbiguousNameIsPrefixedWithItsObject)
{
    const EdsDictionary dictionary(
        read("[6000]\nParameterName=Inputs\n[6000sub1]\nParameterName=Value\n"
             "[6001]\nParameterName=Outputs\n[6001sub1]\nParameterName=Value\n"
             "[6001sub2]\nParameterName=Error\n[6001sub3]\nDataType=5\n")
            .file);
    EXPECT_EQ(dictionary.object(0x6000, 1)->name, QString("Inputs.Value"));
    EXPECT_EQ(dictionary.object(0x6001, 1)->name, QString("Outputs.Value"));
    EXPECT_EQ(dictionary.object(0x6001, 2)->name, QString("Error"));
    EXPECT_EQ(dictionary.object(0x6001, 3)->name, QString("6001sub3"));
}

TEST(EdsDictionary, NameThatIsStillAmbiguousGetsANumber)
{
    const EdsDictionary dictionary(
        read("[6000]\nParameterName=Inputs\n[6000sub1]\nParameterName=Input\n"
             "[6000subA]\nParameterName=Input\n[6000subB]\nParameterName=Other\n"
             "[7000]\nParameterName=Same\nDataType=5\n[7001]\nParameterName=Same\nDataType=5\n")
            .file);
    EXPECT_EQ(dictionary.object(0x6000, 1)->name, QString("Inputs.Input 1"));
    EXPECT_EQ(dictionary.object(0x6000, 10)->name, QString("Inputs.Input 10"));
    EXPECT_EQ(dictionary.object(0x6000, 11)->name, QString("Other"));
    EXPECT_EQ(dictionary.object(0x7000, 0)->name, QString("Same 7000"));
    EXPECT_EQ(dictionary.object(0x7001, 0)->name, QString("Same 7001"));
}

TEST(EdsDictionary, CompactSubObjectsDifferOnlyInNameAndValue)
{
    const EdsDictionary dictionary(read("[6401]\nParameterName=Analog\nDataType=0x0003\n"
                                        "DefaultValue=9\nCompactSubObj=0x0B\n"
                                        "[6401Name]\nNrOfEntries=1\n2=Pressure\n"
                                        "[6401VALUE]\nNrOfEntries=1\n11=0x20\n")
                                       .file);
    EXPECT_EQ(dictionary.object(0x6401, 0)->value.value, QString("0x0B"));
    EXPECT_EQ(dictionary.object(0x6401, 1)->name, QString("Analog.1"));
    EXPECT_EQ(dictionary.object(0x6401, 2)->name, QString("Analog.Pressure"));
    EXPECT_EQ(dictionary.object(0x6401, 2)->datatype.value, QString("0x0003"));
    EXPECT_EQ(dictionary.object(0x6401, 2)->value.value, QString("9"));
    EXPECT_EQ(dictionary.object(0x6401, 11)->value.value, QString("0x20"));
    EXPECT_FALSE(dictionary.object(0x6401, 12));
}
