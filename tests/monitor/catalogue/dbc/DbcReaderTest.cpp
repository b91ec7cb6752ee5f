#include "ReadDbc.h"

#include <gtest/gtest.h>

#include <random>

using monitor::ByteOrder;
using monitor::MessageDescription;
using monitor::Multiplexing;
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
    EXPECT_EQ(signal.layout.multiplexing, Multiplexing::Plain);
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

TEST(DbcReader, UnitCanBeLatin1OrUtf8)
{
    const QByteArray before = R"( SG_ T : 0|8@1+ (1,-40) [0|0] ")";
    EXPECT_EQ(signalIn(before + "\xB0"
                                "C\" X")
                  .scaling.unit,
              QString::fromUtf8("°C"));
    EXPECT_EQ(signalIn(before + "\xC2\xB0"
                                "C\" X")
                  .scaling.unit,
              QString::fromUtf8("°C"));
}

TEST(DbcReader, ReadsMultiplexingMarkers)
{
    const Dbc dbc = readDbcSignal(" SG_ Page M : 0|8@1+ (1,0) [0|0] \"\" X\n"
                                  " SG_ A m0 : 8|8@1+ (1,0) [0|0] \"\" X\n"
                                  " SG_ B m17 : 8|8@1+ (1,0) [0|0] \"\" X");
    EXPECT_EQ(dbc.warnings, QString());
    const auto& found = dbc.messages.at(0).signalDescriptions;
    ASSERT_EQ(found.size(), 3);
    EXPECT_EQ(found.at(0).layout.multiplexing, Multiplexing::Multiplexor);
    EXPECT_EQ(found.at(1).layout.multiplexing, Multiplexing::Multiplexed);
    EXPECT_EQ(found.at(1).layout.multiplexorValue, 0U);
    EXPECT_EQ(found.at(2).layout.multiplexorValue, 17U);
}

TEST(DbcReader, MultiplexedSignalsAreOmittedIfMultiplexingIsNested)
{
    const Dbc dbc = readDbcSignal(" SG_ Page M : 0|8@1+ (1,0) [0|0] \"\" X\n"
                                  " SG_ Plain : 8|8@1+ (1,0) [0|0] \"\" X\n"
                                  " SG_ Sub m1M : 16|8@1+ (1,0) [0|0] \"\" X\n"
                                  " SG_ Deep m2 : 24|8@1+ (1,0) [0|0] \"\" X");
    const auto& found = dbc.messages.at(0).signalDescriptions;
    ASSERT_EQ(found.size(), 2);
    EXPECT_EQ(found.at(0).name, QString("Page"));
    EXPECT_EQ(found.at(1).name, QString("Plain"));
    EXPECT_EQ(dbc.warnings.count('\n'), 1);
    EXPECT_TRUE(dbc.warnings.startsWith("x.dbc:1: ")) << dbc.warnings.toStdString();
}

TEST(DbcReader, MultiplexedSignalsAreOmittedIfThereAreTwoMultiplexors)
{
    const Dbc dbc = readDbcSignal(" SG_ Page M : 0|8@1+ (1,0) [0|0] \"\" X\n"
                                  " SG_ Part M : 8|8@1+ (1,0) [0|0] \"\" X\n"
                                  " SG_ Deep m1 : 16|8@1+ (1,0) [0|0] \"\" X");
    EXPECT_EQ(dbc.messages.at(0).signalDescriptions.size(), 2);
    EXPECT_TRUE(dbc.warnings.contains("it needs exactly one multiplexor"));
}

TEST(DbcReader, MultiplexedSignalWithoutAMultiplexorIsAWarning)
{
    const Dbc dbc = readDbcSignal(" SG_ A m0 : 8|8@1+ (1,0) [0|0] \"\" X");
    EXPECT_TRUE(dbc.messages.at(0).signalDescriptions.isEmpty());
    EXPECT_EQ(dbc.warnings.count('\n'), 1);
}

TEST(DbcReader, OtherSectionsAreSkipped)
{
    const Dbc dbc =
        readDbc("VERSION \"\"\n\nNS_ "
                ":\n\tSG_MUL_VAL_\n\tBA_\n\tSIG_VALTYPE_\n\tBO_TX_BU_\nBS_:\nBU_: A B\n" +
                messageLine + "\n" + signalLine +
                "\nBO_TX_BU_ 1 : A,B;\nVAL_ 1 S 0 \"off\" 1 \"on\" ;\n"
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
    const Dbc another = readDbc(QByteArray("BO_ 3221225472 VECTOR__INDEPENDENT_SIG_MSG: 0 X\n"
                                           "BO_ x\n") +
                                signalLine);
    EXPECT_TRUE(another.warnings.contains("x.dbc:3: signal (SG_) without a message"));
}

TEST(DbcReader, MalformedMessageAndItsSignalsAreWarnings)
{
    for (const char* line :
         {"BO_", "BO_ x EEC1: 8 E", "BO_ -1 EEC1: 8 E", "BO_ 1 EEC1 8 E", "BO_ 1 EE C1: 8 E",
          "BO_ 1 EEC1: E", "BO_ 1 EEC1: 99999 E", "BO_ 2048 EEC1: 8 E", "BO_ 536870912 EEC1: 8 E",
          "BO_ 2684354560 EEC1: 8 E", "BO_ 99999999999 EEC1: 8 E"}) {
        const Dbc dbc = readDbc(QByteArray("\n") + line + "\n" + signalLine);
        EXPECT_TRUE(dbc.messages.isEmpty()) << line;
        EXPECT_EQ(dbc.warnings.count('\n'), 2) << line;
        EXPECT_TRUE(dbc.warnings.startsWith("x.dbc:2: message (BO_)")) << line;
        EXPECT_TRUE(dbc.warnings.contains("x.dbc:3: signal (SG_) without a message")) << line;
    }
}

TEST(DbcReader, MalformedSignalIsAWarningAndTheRestIsUsed)
{
    for (const char* line : {R"(SG_)",
                             R"(SG_ A)",
                             R"(SG_ A : 0|0@1+ (1,0) [0|0] "")",
                             R"(SG_ A : 0|65@1+ (1,0) [0|0] "")",
                             R"(SG_ A : 64|1@1+ (1,0) [0|0] "")",
                             R"(SG_ A : 60|8@1+ (1,0) [0|0] "")",
                             R"(SG_ A : 56|9@0+ (1,0) [0|0] "")",
                             R"(SG_ A : -1|8@1+ (1,0) [0|0] "")",
                             R"(SG_ A : 99999999999|8@1+ (1,0) [0|0] "")",
                             R"(SG_ A : 0|8@2+ (1,0) [0|0] "")",
                             R"(SG_ A : 0|8@1* (1,0) [0|0] "")",
                             R"(SG_ A : 0|8@1+ (x,0) [0|0] "")",
                             R"(SG_ A : 0|8@1+ (nan,0) [0|0] "")",
                             R"(SG_ A : 0|8@1+ (1,inf) [0|0] "")",
                             R"(SG_ A : 0|8@1+ (0,0) [0|0] "")",
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
        EXPECT_TRUE(dbc.warnings.startsWith("x.dbc:2: signal (SG_)")) << line;
    }
}

TEST(DbcReader, SignalTruncatedBeforeTheEndOfItsUnitIsAWarning)
{
    const int complete = signalLine.lastIndexOf('"') + 1;
    for (int size = signalLine.indexOf("SG_") + 3; size <= signalLine.size(); ++size) {
        const Dbc dbc = readDbcSignal(signalLine.left(size));
        EXPECT_EQ(dbc.messages.at(0).signalDescriptions.size(), size >= complete ? 1 : 0) << size;
        EXPECT_EQ(dbc.warnings.isEmpty(), size >= complete) << size;
    }
}

TEST(DbcReader, MessageTruncatedBeforeItsSizeIsAWarning)
{
    const int complete = messageLine.indexOf(": 8") + 3;
    for (int size = 3; size <= messageLine.size(); ++size) {
        const Dbc dbc = readDbc(messageLine.left(size));
        EXPECT_EQ(dbc.messages.size(), size >= complete ? 1 : 0) << size;
        EXPECT_EQ(dbc.warnings.isEmpty(), size >= complete) << size;
    }
}

TEST(DbcReader, DamagedLinesNeverYieldSignalsOutsideTheirMessage)
{
    std::mt19937 random(190);
    for (int i = 0; i < 20000; ++i) {
        QByteArray line = signalLine;
        for (auto damage = 1 + random() % 3; damage > 0; --damage)
            line[static_cast<uint>(random()) % static_cast<uint>(line.size())] =
                static_cast<char>(random());
        const Dbc dbc = readDbcSignal(line.replace('\n', ' '));
        for (const auto& message : dbc.messages) {
            for (const auto& signal : message.signalDescriptions)
                ASSERT_TRUE(monitor::fitsInto(signal.layout, 8)) << line.toHex().constData();
        }
    }
}
