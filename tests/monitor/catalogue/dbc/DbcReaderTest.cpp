#include "ReadDbc.h"

#include <gtest/gtest.h>

#include <random>

using monitor::ByteOrder;
using monitor::MessageDescription;
using monitor::SignalDescription;

namespace
{

SignalDescription signalIn(const QByteArray& line)
{
    const Dbc dbc = readDbcSignal(line);
    EXPECT_EQ(dbc.warnings, QString());
    if (dbc.messages.size() == 1 && dbc.messages.at(0).signalDescriptions.size() == 1)
        return dbc.messages.at(0).signalDescriptions.at(0);
    ADD_FAILURE() << "not read: " << line.constData();
    return SignalDescription();
}

} // namespace

TEST(DbcReader, ReadsAMessageWithItsSignal)
{
    const Dbc dbc = readDbc(messageLine + "\n" + signalLine + "\n");
    EXPECT_EQ(dbc.warnings, QString());
    ASSERT_EQ(dbc.messages.size(), 1);
    const MessageDescription& message = dbc.messages.at(0);
    EXPECT_EQ(message.name, QString("EEC1"));
    EXPECT_EQ(message.id, 0x0CF004FEU);
    EXPECT_TRUE(message.extended);
    EXPECT_EQ(message.size, 8);
    ASSERT_EQ(message.signalDescriptions.size(), 1);
    const SignalDescription& signal = message.signalDescriptions.at(0);
    EXPECT_EQ(signal.name, QString("EngineSpeed"));
    EXPECT_EQ(signal.layout.startBit, 24);
    EXPECT_EQ(signal.layout.length, 16);
    EXPECT_EQ(signal.layout.byteOrder, ByteOrder::Intel);
    EXPECT_FALSE(signal.layout.isSigned);
    EXPECT_EQ(signal.scaling.factor, 0.125);
    EXPECT_EQ(signal.scaling.offset, 0);
    EXPECT_EQ(signal.lowerLimit, 0);
    EXPECT_EQ(signal.upperLimit, 8031.875);
    EXPECT_EQ(signal.scaling.unit, QString("rpm"));
    EXPECT_EQ(signal.multiplexing.multiplexor, -1);
}

TEST(DbcReader, IdWithoutBit31Has11Bits)
{
    const Dbc dbc = readDbc("BO_ 291 Drive : 4 Node");
    ASSERT_EQ(dbc.messages.size(), 1);
    EXPECT_EQ(dbc.messages.at(0).id, 0x123U);
    EXPECT_FALSE(dbc.messages.at(0).extended);
}

TEST(DbcReader, ReadsMotorolaSignedSignalsAndExponents)
{
    const auto signal = signalIn(R"(SG_ T:7|12@0- ( 1e-3 , -2.5E+1 ) [ -1 | 1.5 ] "" A,B)");
    EXPECT_EQ(signal.layout.byteOrder, ByteOrder::Motorola);
    EXPECT_TRUE(signal.layout.isSigned);
    EXPECT_EQ(signal.scaling.factor, 0.001);
    EXPECT_EQ(signal.scaling.offset, -25);
    EXPECT_EQ(signal.lowerLimit, -1);
    EXPECT_EQ(signal.upperLimit, 1.5);
    EXPECT_EQ(signal.scaling.unit, QString());
}

TEST(DbcReader, LineBreaksAreNotSignificant)
{
    const QByteArray tight = R"(SG_ B:8|8@1+(2,0)[0|0]"x" N SG_ C : 16|8@1+ (3,0) [0|0] "" N)";
    const QByteArray loose = "SG_\nA\n:\n0|8@1+\n(1,\n0)\n[0|0]\n\"\"\nN,\nM\n";
    const QByteArray before = R"(VERSION "" NS_ : CM_ BA_ BS_: BU_: N M )";
    const Dbc dbc = readDbc(before + messageLine + ' ' + loose + tight + " BO_ 5 D: 1 N " +
                            R"(SG_ E : 0|1@1+ (1,0) [0|0] "" N CM_ "text";)");
    EXPECT_EQ(dbc.warnings, QString());
    EXPECT_EQ(namesIn(dbc), (QStringList{"A", "B", "C"}));
    EXPECT_EQ(dbc.messages.at(0).signalDescriptions.at(2).scaling.factor, 3);
    ASSERT_EQ(dbc.messages.size(), 2);
    EXPECT_EQ(dbc.messages.at(1).signalDescriptions.at(0).name, QString("E"));
}

TEST(DbcReader, WarningsHaveTheLineNumbersOfTheFile)
{
    const Dbc dbc = readDbc("CM_ \"a\nb\nc\"; // comment\n\n" + messageLine + "\n SG_ A : x\n");
    EXPECT_EQ(dbc.warnings, QString("x.dbc:6: signal (SG_) cannot be parsed\n"));
}

TEST(DbcReader, ReceiversCanBeMissingOrSeparatedByBlanks)
{
    const QByteArray begin = R"(SG_ A : 0|8@1+ (1,0) [0|0] "")";
    for (const char* receivers : {"", " ", " N", " N M", " N,M", " N , M", " Vector__XXX"}) {
        const Dbc dbc = readDbcSignal(begin + receivers + "\n" + signalLine);
        EXPECT_EQ(dbc.warnings, QString()) << receivers;
        EXPECT_EQ(namesIn(dbc), (QStringList{"A", "EngineSpeed"})) << receivers;
    }
}

TEST(DbcReader, NumbersAreReadInAllCommonNotations)
{
    for (const char* number : {"0.5", ".5", "+.5", "5E-001", "0.5e+0", "0.50"})
        EXPECT_EQ(
            signalIn(QByteArray("SG_ A : 0|8@1+ (") + number + R"(,0) [0|0] "" N)").scaling.factor,
            0.5)
            << number;
    EXPECT_EQ(signalIn(R"(SG_ A : 0|8@1+ (1,+127) [1.|-3.4E+038] "" N)").scaling.offset, 127);
}

TEST(DbcReader, UnitCanContainEscapedQuotationMarks)
{
    EXPECT_EQ(signalIn(R"(SG_ A : 0|8@1+ (1,0) [0|0] "3 \" // \x" N)").scaling.unit,
              QString(R"(3 " // \x)"));
}

TEST(DbcReader, SignalsCanExtendBeyondTheEndOfTheirMessage)
{
    for (const char* place : {"64|1@1+", "60|8@1+", "56|9@0+"}) {
        const Dbc dbc = readDbcSignal(QByteArray("SG_ A : ") + place + R"( (1,0) [0|0] "")");
        EXPECT_EQ(namesIn(dbc), QStringList{"A"}) << place;
        EXPECT_EQ(dbc.warnings,
                  QString("x.dbc:2: signal \"A\" extends beyond its message of 8 bytes: "
                          "it is only decoded from longer frames\n"));
    }
    EXPECT_EQ(readDbc(R"(BO_ 5 D: 0 N SG_ A : 0|8@1+ (1,0) [0|0] "")").warnings, QString());
    EXPECT_EQ(namesIn(readDbc(R"(BO_ 5 D: 0 N SG_ A : 14279|1@1+ (1,0) [0|0] "")")).size(), 1);
}

TEST(DbcReader, SignalOfMoreThan64BitsIsRefusedForThatReason)
{
    const Dbc dbc = readDbcSignal(R"(SG_ Vin : 0|136@1+ (1,0) [0|0] "")");
    EXPECT_EQ(dbc.warnings,
              QString("x.dbc:2: signal \"Vin\" is not decoded: it is longer than 64 bits\n"));
    EXPECT_EQ(namesIn(readDbcSignal(R"(SG_ A : 0|64@1+ (1,0) [0|0] "")")).size(), 1);
}

TEST(DbcReader, FactorZeroYieldsAConstantAndAWarning)
{
    const Dbc dbc = readDbcSignal(R"(SG_ A : 0|8@1+ (0,5) [0|0] "")");
    EXPECT_EQ(namesIn(dbc), QStringList{"A"});
    EXPECT_EQ(dbc.warnings, QString("x.dbc:2: signal \"A\" has a factor of 0, so its value is "
                                    "always 5\n"));
}

TEST(DbcReader, LongIdWithoutBit31IsTakenAsA29BitIdWithAWarning)
{
    const Dbc dbc = readDbc("BO_ 2047 A: 8 N\nBO_ 2048 B: 8 N\n" + signalLine +
                            "\nBA_ \"SPN\" SG_ 2048 EngineSpeed 190;");
    ASSERT_EQ(dbc.messages.size(), 2);
    EXPECT_FALSE(dbc.messages.at(0).extended);
    EXPECT_TRUE(dbc.messages.at(1).extended);
    EXPECT_EQ(dbc.messages.at(1).id, 2048U);
    EXPECT_EQ(dbc.messages.at(1).signalDescriptions.at(0).spn, 190U);
    EXPECT_EQ(dbc.warnings.count('\n'), 1);
    EXPECT_EQ(dbc.warnings, QString("x.dbc:2: message \"B\" is decoded with the 29-bit id 0x800: "
                                    "its id has more than 11 bits, although bit 31 is 0\n"));
    const Dbc masked = readDbc("BO_ 3221229124 C: 8 N\n" + signalLine);
    ASSERT_EQ(masked.messages.size(), 1);
    EXPECT_EQ(masked.messages.at(0).id, 0xE44U);
    EXPECT_TRUE(masked.warnings.contains("bits 29 and 30 of its id are ignored"));
}

TEST(DbcReader, SecondMessageWithTheSameIdIsNotDecoded)
{
    const Dbc dbc = readDbc("BO_ 5 A: 8 N\nBO_ 5 B: 8 N\n" + signalLine +
                            "\nBO_ 2147483653 C: 8 N\nBO_ 2147485696 D: 8 N\nBO_ 2048 E: 8 N\n"
                            "BA_ \"SPN\" SG_ 5 EngineSpeed 190;\n");
    ASSERT_EQ(dbc.messages.size(), 3);
    EXPECT_TRUE(dbc.messages.at(0).signalDescriptions.isEmpty());
    EXPECT_EQ(dbc.messages.at(1).name, QString("C"));
    EXPECT_EQ(dbc.messages.at(2).name, QString("D"));
    EXPECT_TRUE(dbc.warnings.startsWith(
        "x.dbc:2: message \"B\" is not decoded: it has the same id as \"A\"\n"));
    EXPECT_TRUE(
        dbc.warnings.endsWith("message \"E\" is not decoded: it has the same id as \"D\"\n"));
    EXPECT_EQ(dbc.warnings.count('\n'), 3);
}

TEST(DbcReader, SignalsWithTheSameNameInAMessageAreAWarning)
{
    const Dbc dbc = readDbcSignal(signalLine + "\n" + signalLine);
    EXPECT_EQ(namesIn(dbc), (QStringList{"EngineSpeed", "EngineSpeed"}));
    EXPECT_EQ(dbc.warnings, QString("x.dbc:3: signal \"EngineSpeed\" has the same name as another "
                                    "signal of its message\n"));
    const Dbc named = readDbcSignal(signalLine + "\n" + signalLine +
                                    "\nBA_ \"SPN\" SG_ 2364540158 EngineSpeed 190;");
    EXPECT_EQ(named.messages.at(0).signalDescriptions.at(0).spn, 190U);
    EXPECT_EQ(named.messages.at(0).signalDescriptions.at(1).spn, std::nullopt);
}

TEST(DbcReader, FileWithoutMessagesIsAnError)
{
    for (const char* content : {"", "VERSION \"\"", "(1.0) can0 123#00\n(2.0) can0 123#00\n"})
        EXPECT_EQ(readDbc(content).error,
                  QString("x.dbc: describes no messages. Is it a DBC file?"));
    EXPECT_EQ(readDbc(messageLine).error, QString());
}

TEST(DbcReader, MissingSemicolonAffectsOnlyItsSection)
{
    const Dbc dbc =
        readDbc("BU_: N\nVAL_TABLE_ T 0 \"off\" 1 \"on\"\n" + messageLine + "\n" + signalLine +
                "\nCM_ \"no end\"\nBA_ \"SPN\" SG_ 2364540158 EngineSpeed "
                "190\nVAL_ 2364540158 EngineSpeed 0 \"off\" ;\n");
    ASSERT_EQ(namesIn(dbc), QStringList{"EngineSpeed"});
    EXPECT_EQ(dbc.messages.at(0).signalDescriptions.at(0).spn, 190U);
}

TEST(DbcReader, OtherSectionsAreSkipped)
{
    const Dbc dbc =
        readDbc("VERSION \"\"\n\nNS_ "
                ":\n\tSG_MUL_VAL_\n\tBA_\n\tSIG_VALTYPE_\n\tBO_TX_BU_\nBS_:\nBU_: A B\n" +
                messageLine + "\n" + signalLine +
                "\nBO_TX_BU_ 1 : A,B;\nVAL_ x 0 \"off\" 1 \"on\" ;\n"
                "BA_DEF_ SG_  \"SPN\" INT 0 524287;\n"
                "BA_ \"SPN\" SG_ 2364540158 EngineSpeed 190;\n");
    EXPECT_EQ(dbc.warnings, QString());
    ASSERT_EQ(dbc.messages.size(), 1);
    EXPECT_EQ(dbc.messages.at(0).signalDescriptions.size(), 1);
}

TEST(DbcReader, MessageInsideAMultilineCommentIsIgnored)
{
    const Dbc dbc =
        readDbc("CM_ \"A 3.5 \\\" disk:\nBO_ 1 Hidden: 8 X\n SG_ broken\n\";\n" + messageLine);
    EXPECT_EQ(dbc.warnings, QString());
    ASSERT_EQ(dbc.messages.size(), 1);
    EXPECT_EQ(dbc.messages.at(0).name, QString("EEC1"));
}

TEST(DbcReader, UnterminatedTextIsAWarningAtItsFirstLine)
{
    const Dbc dbc = readDbc("VERSION \"\"\nCM_ \"never ends\nBO_ 1 Hidden: 8 X\n");
    EXPECT_TRUE(dbc.messages.isEmpty());
    EXPECT_EQ(dbc.warnings, QString("x.dbc:2: missing closing quotation mark\n"));
}

TEST(DbcReader, PseudoMessageOfIndependentSignalsIsSkipped)
{
    EXPECT_TRUE(
        readDbc("BO_ 3221225472 VECTOR__INDEPENDENT_SIG_MSG: 0 Vector__XXX").messages.isEmpty());
}

TEST(DbcReader, IndependentSignalsAreSkippedWithoutAWarning)
{
    const Dbc dbc = readDbc(
        QByteArray("BO_ 3221225472 VECTOR__INDEPENDENT_SIG_MSG: 0 Vector__XXX\n") + signalLine +
        "\nSIG_VALTYPE_ 3221225472 EngineSpeed : 1;\n"
        "BA_ \"SPN\" SG_ 3221225472 EngineSpeed 190;\n");
    EXPECT_TRUE(dbc.messages.isEmpty());
    EXPECT_EQ(dbc.warnings, QString());
}

TEST(DbcReader, MalformedMessageIsAWarningAndItsSignalsAreSkipped)
{
    for (const char* line : {"BO_", "BO_ x EEC1: 8 E", "BO_ -1 EEC1: 8 E", "BO_ 1 EEC1 8 E",
                             "BO_ 1 EE C1: 8 E", "BO_ 1 EEC1: E", "BO_ 1 EEC1: 99999 E",
                             "BO_ 536870912 EEC1: 8 E", "BO_ 99999999999 EEC1: 8 E"}) {
        const Dbc dbc = readDbc(QByteArray("\n") + line + "\n" + signalLine);
        EXPECT_TRUE(dbc.messages.isEmpty()) << line;
        EXPECT_EQ(dbc.warnings.count('\n'), 1) << line;
        EXPECT_TRUE(dbc.warnings.startsWith("x.dbc:2: message (BO_)")) << line;
        EXPECT_TRUE(dbc.warnings.endsWith("; its signals are skipped\n")) << line;
    }
}

TEST(DbcReader, SignalWithoutAMessageIsAWarning)
{
    EXPECT_EQ(readDbc(signalLine).warnings, QString("x.dbc:1: signal (SG_) without a message\n"));
}

TEST(DbcReader, MalformedSignalIsAWarningAndTheRestIsUsed)
{
    for (const char* line : {R"(SG_)",
                             R"(SG_ A)",
                             R"(SG_ A : 0|0@1+ (1,0) [0|0] "")",
                             R"(SG_ A : 0|65@1+ (1,0) [0|0] "")",
                             R"(SG_ A : 14280|1@1+ (1,0) [0|0] "")",
                             R"(SG_ A : -1|8@1+ (1,0) [0|0] "")",
                             R"(SG_ A : 99999999999|8@1+ (1,0) [0|0] "")",
                             R"(SG_ A : 0|8@2+ (1,0) [0|0] "")",
                             R"(SG_ A : 0|8@1* (1,0) [0|0] "")",
                             R"(SG_ A : 0|8@1+ (x,0) [0|0] "")",
                             R"(SG_ A : 0|8@1+ (nan,0) [0|0] "")",
                             R"(SG_ A : 0|8@1+ (1,inf) [0|0] "")",
                             R"(SG_ A : 0|64@1+ (1e300,0) [0|0] "")",
                             R"(SG_ A : 0|8@1+ (1) [0|0] "")",
                             R"(SG_ A : 0|8@1+ (1,0) [0] "")",
                             R"(SG_ A : 0|8@1+ (1,0) [0|0])",
                             R"(SG_ A : 0|8@1+ (1,0) [0|0] "never ends)",
                             R"(SG_ A m : 0|8@1+ (1,0) [0|0] "")",
                             R"(SG_ A m99999999999999999999 : 0|8@1+ (1,0) [0|0] "")",
                             R"(SG_ A X : 0|8@1+ (1,0) [0|0] "")"}) {
        const Dbc dbc = readDbcSignal(QByteArray(line) + "\n" + signalLine);
        ASSERT_EQ(dbc.messages.at(0).signalDescriptions.size(), 1) << line;
        EXPECT_EQ(dbc.messages.at(0).signalDescriptions.at(0).name, QString("EngineSpeed"));
        EXPECT_EQ(dbc.warnings.count('\n'), 1) << line;
        EXPECT_TRUE(dbc.warnings.startsWith("x.dbc:2: signal ")) << line;
    }
}

TEST(DbcReader, SignalTruncatedBeforeTheEndOfItsUnitIsAWarning)
{
    const auto complete = signalLine.lastIndexOf('"') + 1;
    for (auto size = signalLine.indexOf("SG_") + 3; size <= signalLine.size(); ++size) {
        const Dbc dbc = readDbcSignal(signalLine.left(size));
        EXPECT_EQ(dbc.messages.at(0).signalDescriptions.size(), size >= complete ? 1 : 0) << size;
        EXPECT_EQ(dbc.warnings.isEmpty(), size >= complete) << size;
    }
}

TEST(DbcReader, MessageTruncatedBeforeItsSizeIsAWarning)
{
    const auto complete = messageLine.indexOf(": 8") + 3;
    for (int size = 3; size <= messageLine.size(); ++size) {
        const Dbc dbc = readDbc(messageLine.left(size));
        EXPECT_EQ(dbc.messages.size(), size >= complete ? 1 : 0) << size;
        EXPECT_EQ(dbc.warnings.isEmpty(), size >= complete) << size;
    }
}

TEST(DbcReader, DamagedLinesNeverYieldSignalsOutOfRange)
{
    std::mt19937 random(190);
    for (int i = 0; i < 20000; ++i) {
        QByteArray line = signalLine;
        for (auto damage = 1 + random() % 3; damage > 0; --damage)
            line[static_cast<uint>(random()) % static_cast<uint>(line.size())] =
                static_cast<char>(random());
        const Dbc dbc = readDbcSignal(line);
        ASSERT_GE(dbc.messages.size(), 1) << line.toHex().constData();
        for (const auto& message : dbc.messages) {
            for (const auto& signal : message.signalDescriptions) {
                ASSERT_GE(signal.layout.length, 1) << line.toHex().constData();
                ASSERT_LE(signal.layout.length, 64) << line.toHex().constData();
                ASSERT_TRUE(monitor::fitsInto(signal.layout, 1785 + 64))
                    << line.toHex().constData();
            }
        }
    }
}
