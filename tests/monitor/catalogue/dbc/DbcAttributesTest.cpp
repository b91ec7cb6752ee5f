#include "ReadDbc.h"

#include <gtest/gtest.h>

using monitor::Protocol;

namespace
{

const QByteArray definition =
    "BA_DEF_ BO_ \"VFrameFormat\" ENUM \"StandardCAN\",\"ExtendedCAN\",\"reserved\",\"J1939PG\";\n";

QByteArray frameFormat(const QByteArray& value)
{
    return "BA_ \"VFrameFormat\" BO_ 2364540158 " + value + ";\n";
}

/// How a message with a 29-bit id is matched in a file with these attributes. Its source address is
/// the null address if \a hasPlaceholder is true.
Protocol protocolIn(const QByteArray& attributes, bool hasPlaceholder = true)
{
    const QByteArray message = hasPlaceholder ? messageLine : "BO_ 2364539904 EEC1: 8 Engine";
    const Dbc dbc = readDbc(message + "\n" + attributes);
    EXPECT_EQ(dbc.warnings, QString());
    EXPECT_EQ(dbc.messages.size(), 1);
    return dbc.messages.value(0).protocol;
}

/// The cycle time of a message in a file with these attributes.
std::optional<double> cycleTimeIn(const QByteArray& attributes)
{
    const Dbc dbc = readDbc(messageLine + "\n" + attributes);
    EXPECT_EQ(dbc.warnings, QString());
    EXPECT_EQ(dbc.messages.size(), 1);
    return dbc.messages.value(0).cycleTime;
}

} // namespace

TEST(DbcAttributes, FloatingPointSignalsAreMarked)
{
    const Dbc dbc = readDbcSignal(" SG_ F : 0|32@1- (1,0) [0|0] \"\" X\n"
                                  " SG_ I : 32|32@1- (1,0) [0|0] \"\" X\n"
                                  "BO_ 291 Other: 8 X\n"
                                  " SG_ F : 0|64@1- (1,0) [0|0] \"\" X\n"
                                  "SIG_VALTYPE_ 2364540158 F : 1;\n"
                                  "SIG_VALTYPE_ 2364540158 I : 0;\n"
                                  "SIG_VALTYPE_ 291 F 2 ;");
    EXPECT_EQ(dbc.warnings, QString());
    EXPECT_TRUE(dbc.messages.at(0).signalDescriptions.at(0).layout.isFloat);
    EXPECT_FALSE(dbc.messages.at(0).signalDescriptions.at(1).layout.isFloat);
    EXPECT_TRUE(dbc.messages.at(1).signalDescriptions.at(0).layout.isFloat);
}

TEST(DbcAttributes, FloatingPointSignalOfInvalidLengthIsDecodedAsAWholeNumberWithAWarning)
{
    const Dbc dbc = readDbcSignal(" SG_ F : 0|16@1- (1,0) [0|0] \"\" X\n"
                                  " SG_ I : 32|32@1- (1,0) [0|0] \"\" X\n"
                                  "SIG_VALTYPE_ 2364540158 F : 1;\n"
                                  "SIG_VALTYPE_ 2364540158 I : 2;\n");
    EXPECT_EQ(namesIn(dbc), (QStringList{"F", "I"}));
    for (const auto& signal : dbc.messages.at(0).signalDescriptions)
        EXPECT_FALSE(signal.layout.isFloat);
    EXPECT_EQ(dbc.warnings, QString("x.dbc:4: signal \"F\" is decoded as a whole number: it "
                                    "has 16 bits, but its floating-point type has 32\n"
                                    "x.dbc:5: signal \"I\" is decoded as a whole number: it "
                                    "has 32 bits, but its floating-point type has 64\n"));
}

TEST(DbcAttributes, MalformedValueTypeIsAWarning)
{
    for (const char* line :
         {"SIG_VALTYPE_ 1", "SIG_VALTYPE_ 2364540158 EngineSpeed : 4;",
          "SIG_VALTYPE_ 2364540158 EngineSpeed : 1 2;", "SIG_VALTYPE_ 1 A : 1;",
          "SIG_VALTYPE_ 2364540158 Other : 1;", "SIG_VALTYPE_ 99999999999 EngineSpeed : 1;"}) {
        const Dbc dbc = readDbcSignal(signalLine + "\n" + line);
        EXPECT_EQ(dbc.messages.at(0).signalDescriptions.size(), 1) << line;
        EXPECT_TRUE(dbc.warnings.startsWith("x.dbc:3: value type (SIG_VALTYPE_)")) << line;
    }
}

TEST(DbcAttributes, SpnIsAssignedToItsSignal)
{
    const Dbc dbc = readDbcSignal(signalLine + "\nBA_ \"SPN\" SG_ 2364540158 EngineSpeed 190;\n"
                                               "BA_ \"SPN\" SG_ 1 EngineSpeed 91;\n"
                                               "BA_ \"SPN\" SG_ 2364540158 EngineSpeed 524288;\n"
                                               "BA_ \"Other\" SG_ 2364540158 EngineSpeed 92;\n");
    EXPECT_EQ(dbc.messages.at(0).signalDescriptions.at(0).spn, 190U);
    EXPECT_EQ(dbc.warnings, QString("x.dbc:5: SPN (BA_) is out of range\n"
                                    "x.dbc:4: SPN (BA_) refers to an unknown signal\n"));
}

TEST(DbcAttributes, AttributeTextCanSpanSeveralLines)
{
    const Dbc dbc = readDbc("BA_ \"Note\" \"first\nBO_ 1 Hidden: 8 X\n\";\n" + messageLine);
    EXPECT_EQ(dbc.warnings, QString());
    EXPECT_EQ(dbc.messages.size(), 1);
}

TEST(DbcAttributes, FrameFormatOfAMessageDeclaresJ1939)
{
    EXPECT_EQ(protocolIn(definition + frameFormat("3")), Protocol::J1939);
    EXPECT_EQ(protocolIn(frameFormat("3") + definition), Protocol::J1939);
    EXPECT_EQ(protocolIn(definition + frameFormat("\"J1939PG\"")), Protocol::J1939);
    EXPECT_EQ(protocolIn(definition + frameFormat("1")), Protocol::CANopen);
    EXPECT_EQ(protocolIn(definition + frameFormat("9")), Protocol::CANopen);
}

TEST(DbcAttributes, DefaultFrameFormatAppliesToMessagesWithoutOne)
{
    const QByteArray j1939 = "BA_DEF_DEF_ \"VFrameFormat\" \"J1939PG\";\n";
    EXPECT_EQ(protocolIn(definition + j1939, false), Protocol::J1939);
    EXPECT_EQ(protocolIn(definition + j1939 + frameFormat("1")), Protocol::CANopen);
    EXPECT_EQ(protocolIn(definition + "BA_DEF_DEF_ \"VFrameFormat\" \"ExtendedCAN\";"),
              Protocol::CANopen);
    EXPECT_EQ(protocolIn(definition + "BA_DEF_DEF_ \"VFrameFormat\" \"\";"), Protocol::CANopen);
    EXPECT_EQ(protocolIn(definition), Protocol::CANopen);
}

TEST(DbcAttributes, FrameFormatNumbersAreInterpretedByTheirDefinitionInTheFile)
{
    const QByteArray other = "BA_DEF_ BO_ \"VFrameFormat\" ENUM \"StandardCAN\",\"J1939PG\",\"x\","
                             "\"reserved\";\n";
    EXPECT_EQ(protocolIn(other + frameFormat("1")), Protocol::J1939);
    EXPECT_EQ(protocolIn(other + frameFormat("3")), Protocol::CANopen);
    const QByteArray number = "BA_DEF_ BO_ \"VFrameFormat\" INT 0 15;\n";
    EXPECT_EQ(protocolIn(number + frameFormat("3")), Protocol::J1939);
    EXPECT_EQ(protocolIn(number + frameFormat("1")), Protocol::CANopen);
    EXPECT_EQ(protocolIn(number + "BA_DEF_DEF_ \"VFrameFormat\" 3;"), Protocol::J1939);
}

TEST(DbcAttributes, ProtocolTypeAppliesIfNoFrameFormatIsDefined)
{
    const QByteArray type = "BA_DEF_ \"ProtocolType\" STRING ;\n";
    EXPECT_EQ(protocolIn(type + "BA_ \"ProtocolType\" \"J1939\";", false), Protocol::J1939);
    EXPECT_EQ(protocolIn(type + "BA_ \"ProtocolType\" \"j1939\";", false), Protocol::J1939);
    EXPECT_EQ(protocolIn(type + "BA_DEF_DEF_ \"ProtocolType\" \"J1939\";", false), Protocol::J1939);
    EXPECT_EQ(protocolIn(type + "BA_ \"ProtocolType\" \"ISO\";"), Protocol::CANopen);
    EXPECT_EQ(protocolIn(definition + type + "BA_ \"ProtocolType\" \"J1939\";"), Protocol::CANopen);
    EXPECT_EQ(protocolIn(type + "BA_DEF_DEF_ \"ProtocolType\" \"\";"), Protocol::J1939);
    EXPECT_EQ(protocolIn(type + "BA_DEF_DEF_ \"ProtocolType\" \"\";", false), Protocol::CANopen);
}

TEST(DbcAttributes, MessagesWith11BitIdsAreNeverJ1939)
{
    const Dbc dbc = readDbc(
        definition + "BA_DEF_DEF_ \"VFrameFormat\" \"J1939PG\";\nBO_ 254 A: 8 N", Protocol::J1939);
    EXPECT_EQ(dbc.messages.at(0).protocol, Protocol::CANopen);
}

TEST(DbcAttributes, WithoutADeclarationTheNullAddressDecidesAndANoteReportsTheAssumption)
{
    const Dbc dbc =
        readDbc(messageLine + "\nBO_ 2364539904 A: 8 N\nBO_ 2364539905 B: 8 N\nBO_ 5 C: "
                              "8 N\n");
    EXPECT_EQ(dbc.messages.at(0).protocol, Protocol::J1939);
    EXPECT_EQ(dbc.messages.at(1).protocol, Protocol::CANopen);
    EXPECT_EQ(dbc.note,
              QString("x.dbc: does not declare whether 3 of its 3 message(s) with 29-bit "
                      "ids are J1939: 1 with source address 254 treated as J1939, 2 matched by "
                      "their exact ids (use --j1939 or --plain instead of --dbc to "
                      "change this)"));
    EXPECT_EQ(readDbc(definition + messageLine).note, QString());
    EXPECT_EQ(readDbc("BO_ 5 C: 8 N\n").note, QString());
}

TEST(DbcAttributes, GivenProtocolReplacesTheDeclaredOne)
{
    const Dbc plain = readDbc(definition + frameFormat("3") + messageLine, Protocol::CANopen);
    EXPECT_EQ(plain.messages.at(0).protocol, Protocol::CANopen);
    const Dbc j1939 = readDbc("BO_ 2364539904 A: 8 N\n", Protocol::J1939);
    EXPECT_EQ(j1939.messages.at(0).protocol, Protocol::J1939);
    EXPECT_EQ(j1939.note, QString());
}

TEST(DbcAttributes, CanPrecedeTheirSignals)
{
    const Dbc dbc =
        readDbc("BA_ \"SPN\" SG_ 2364540158 EngineSpeed 190;\n"
                "SG_MUL_VAL_ 2364540158 EngineSpeed Page 1-2;\n"
                "SIG_VALTYPE_ 2364540158 Page : 1;\n" +
                messageLine + " SG_ Page M : 32|32@1+ (1,0) [0|0] \"\" X\n" + signalLine);
    EXPECT_EQ(dbc.warnings, QString());
    ASSERT_EQ(namesIn(dbc), (QStringList{"Page", "EngineSpeed"}));
    EXPECT_TRUE(dbc.messages.at(0).signalDescriptions.at(0).layout.isFloat);
    EXPECT_EQ(dbc.messages.at(0).signalDescriptions.at(1).spn, 190U);
    EXPECT_EQ(dbc.messages.at(0).signalDescriptions.at(1).multiplexing.multiplexor, 0);
}

TEST(DbcAttributes, OfARefusedSignalCauseNoSecondWarning)
{
    const Dbc dbc = readDbcSignal(" SG_ Vin : 0|136@1+ (1,0) [0|0] \"\" X\n"
                                  "BA_ \"SPN\" SG_ 2364540158 Vin 237;\n");
    EXPECT_EQ(dbc.warnings.count('\n'), 1);
}

TEST(DbcAttributes, LongNamesReplaceTheShortOnes)
{
    const Dbc dbc = readDbcSignal(
        signalLine +
        "\nBA_ \"SystemMessageLongSymbol\" BO_ 2364540158 \"ElectronicEngine\";\n"
        "BA_ \"SystemSignalLongSymbol\" SG_ 2364540158 EngineSpeed \"SpeedOfTheEngine\";\n"
        "BA_ \"SPN\" SG_ 2364540158 EngineSpeed 190;\n");
    EXPECT_EQ(dbc.warnings, QString());
    EXPECT_EQ(dbc.messages.at(0).name, QString("ElectronicEngine"));
    const auto& signal = dbc.messages.at(0).signalDescriptions.at(0);
    EXPECT_EQ(signal.name, QString("SpeedOfTheEngine"));
    EXPECT_EQ(signal.shortName, QString("EngineSpeed"));
    EXPECT_EQ(signal.spn, 190U);
}

TEST(DbcAttributes, CycleTimeOfAMessageIsReadInMilliseconds)
{
    const QByteArray value = "BA_ \"GenMsgCycleTime\" BO_ 2364540158 ";
    const QByteArray defaultValue = "BA_DEF_ BO_ \"GenMsgCycleTime\" INT 0 65535;\n"
                                    "BA_DEF_DEF_ \"GenMsgCycleTime\" 100;\n";
    EXPECT_EQ(cycleTimeIn(value + "20;"), 20.0);
    EXPECT_EQ(cycleTimeIn(value + "2.5;"), 2.5);
    EXPECT_EQ(cycleTimeIn(defaultValue + value + "20;"), 20.0);
    EXPECT_EQ(cycleTimeIn(value + "20;\n" + defaultValue), 20.0);
    EXPECT_EQ(cycleTimeIn(defaultValue), 100.0);
    EXPECT_EQ(cycleTimeIn(defaultValue + "BA_ \"GenMsgCycleTime\" BO_ 5 20;"), 100.0);
}

TEST(DbcAttributes, CycleTimeIsUnknownUnlessItIsANumberAboveZero)
{
    const QByteArray definitionAlone = "BA_DEF_ BO_ \"GenMsgCycleTime\" INT 0 65535;\n";
    EXPECT_EQ(cycleTimeIn(""), std::nullopt);
    EXPECT_EQ(cycleTimeIn(definitionAlone), std::nullopt);
    EXPECT_EQ(cycleTimeIn(definitionAlone + "BA_DEF_DEF_ \"GenMsgCycleTime\" 0;"), std::nullopt);
    for (const char* number : {"0", "-1", "nan", "inf", "1e999", "\"often\"", ""})
        EXPECT_EQ(cycleTimeIn("BA_DEF_DEF_ \"GenMsgCycleTime\" 100;\n"
                              "BA_ \"GenMsgCycleTime\" BO_ 2364540158 " +
                              QByteArray(number) + ";"),
                  std::nullopt)
            << number;
}

TEST(DbcComments, BelongToTheirMessageOrSignal)
{
    const Dbc dbc =
        readDbc("CM_ SG_ 2364540158 EngineSpeed \" of the\n \\\"shaft\\\"; // fast \" ;\n" +
                messageLine + "\n" + signalLine + "\n SG_ B : 0|8@1+ (1,0) [0|0] \"\" X\n" +
                "BO_ 5 Other: 8 X\n"
                "CM_ \"of the file\";\n"
                "CM_ BU_ Engine \"of a node\";\n"
                "CM_ EV_ Variable \"of a variable\";\n"
                "CM_ BO_ 2364540158 \"Speed and torque\";\n"
                "BA_ \"SPN\" SG_ 2364540158 B 7;\n");
    EXPECT_EQ(dbc.warnings, QString());
    ASSERT_EQ(dbc.messages.size(), 2);
    EXPECT_EQ(dbc.messages.at(0).comment, QString("Speed and torque"));
    EXPECT_EQ(dbc.messages.at(1).comment, QString());
    const auto& found = dbc.messages.at(0).signalDescriptions;
    EXPECT_EQ(found.at(0).comment, QString("of the\n \"shaft\"; // fast"));
    EXPECT_EQ(found.at(1).comment, QString());
    EXPECT_EQ(found.at(1).spn, 7U);
}

TEST(DbcComments, ThatCannotBeAssignedAreSkipped)
{
    for (const char* line :
         {"CM_ SG_ 2364540158 Other \"x\";", "CM_ SG_ 7 EngineSpeed \"x\";", "CM_ BO_ 7 \"x\";",
          "CM_ BO_ \"x\";", "CM_ SG_ 2364540158 \"x\";", "CM_ SG_ 2364540158 EngineSpeed;",
          "CM_ BO_ 2364540158 7;", "CM_ ;", "CM_ BO_ 99999999999 \"x\";"}) {
        const Dbc dbc = readDbcSignal(signalLine + "\n" + line +
                                      "\nBA_ \"SPN\" SG_ 2364540158 EngineSpeed 190;");
        EXPECT_EQ(dbc.warnings, QString()) << line;
        EXPECT_EQ(dbc.messages.at(0).comment, QString()) << line;
        EXPECT_EQ(dbc.messages.at(0).signalDescriptions.at(0).comment, QString()) << line;
        EXPECT_EQ(dbc.messages.at(0).signalDescriptions.at(0).spn, 190U) << line;
    }
}

// 1.5 is 1.1 in binary: the exponent is 0, stored as 127, and the highest fraction bit is set.
TEST(DbcValueTexts, OfFloatingPointSignalsAreAssignedToIeeeNumbers)
{
    const Dbc dbc = readDbcSignal(" SG_ F : 0|32@1- (1,0) [0|0] \"\" X\n"
                                  " SG_ D : 0|64@1- (1,0) [0|0] \"\" X\n"
                                  "VAL_ 2364540158 F 1.5 \"half\" 0 \"off\";\n"
                                  "VAL_ 2364540158 D -2 \"minus two\";\n"
                                  "SIG_VALTYPE_ 2364540158 F : 1;\n"
                                  "SIG_VALTYPE_ 2364540158 D : 2;\n");
    EXPECT_EQ(dbc.warnings, QString());
    const auto& found = dbc.messages.at(0).signalDescriptions;
    using Texts = QHash<quint64, QString>;
    EXPECT_EQ(found.at(0).valueTexts, (Texts{{0x3FC00000, "half"}, {0, "off"}}));
    EXPECT_EQ(found.at(1).valueTexts, (Texts{{0xC000000000000000, "minus two"}}));
}

TEST(DbcValueTexts, OfFractionsAreReported)
{
    const Dbc dbc = readDbcSignal(" SG_ U : 0|8@1+ (1,0) [0|0] \"\" X\n"
                                  "VAL_ 2364540158 U 1.0 \"one\" 2.5 \"never\" ;\n");
    EXPECT_TRUE(dbc.warnings.contains("signal \"U\": 1 value text(s) not of whole numbers"))
        << dbc.warnings.toStdString();
    EXPECT_EQ(dbc.messages.at(0).signalDescriptions.at(0).valueTexts,
              (QHash<quint64, QString>{{1, "one"}}));
}

TEST(DbcValueTexts, AreAssignedToRawValues)
{
    const Dbc dbc = readDbcSignal(
        " SG_ U : 0|2@1+ (0.5,1) [0|0] \"\" X\n"
        " SG_ S : 8|8@1- (1,0) [0|0] \"\" X\n"
        " SG_ L : 0|64@1+ (1,0) [0|0] \"\" X\n"
        "VAL_ 2364540158 U 3 \"not\n available\" 0 \"off\" 4 \"never\" -1 \"never\" ;\n"
        "VAL_ 2364540158 S -128 \"lowest\" -1 \"minus\" 127 \"highest\" 255 \"never\";\n"
        "VAL_ 2364540158 L 18446744073709551615 \"highest\";\n"
        "VAL_ EnvironmentVariable 0 \"x\";\n");
    EXPECT_EQ(dbc.warnings, QString());
    const auto& found = dbc.messages.at(0).signalDescriptions;
    using Texts = QHash<quint64, QString>;
    EXPECT_EQ(found.at(0).valueTexts, (Texts{{3, "not available"}, {0, "off"}}));
    EXPECT_EQ(found.at(1).valueTexts,
              (Texts{{0x80, "lowest"}, {0xFF, "minus"}, {0x7F, "highest"}}));
    EXPECT_EQ(found.at(2).valueTexts, (Texts{{~quint64{0}, "highest"}}));
}

TEST(DbcValueTexts, CanComeFromATableOrBeEmpty)
{
    const Dbc dbc = readDbcSignal(signalLine + "\nVAL_ 2364540158 EngineSpeed Switch ;\n"
                                               "VAL_TABLE_ Switch 1 \"on\" 0 \"off\" ;\n");
    EXPECT_EQ(dbc.warnings, QString());
    EXPECT_EQ(dbc.messages.at(0).signalDescriptions.at(0).valueTexts.value(1), QString("on"));
    EXPECT_EQ(readDbcSignal(signalLine + "\nVAL_ 2364540158 EngineSpeed ;").warnings, QString());
}

TEST(DbcValueTexts, ThatCannotBeParsedAreAWarning)
{
    for (const char* line :
         {"VAL_ 2364540158 EngineSpeed 0 1 ;", "VAL_ 2364540158 EngineSpeed \"x\";",
          "VAL_ 2364540158", "VAL_ 1 EngineSpeed 0 \"x\";", "VAL_ 2364540158 Other 0 \"x\";"}) {
        const Dbc dbc = readDbcSignal(signalLine + "\n" + line + "\nCM_ \"x\";");
        EXPECT_TRUE(dbc.warnings.startsWith("x.dbc:3: value texts (VAL_)")) << line;
        EXPECT_EQ(dbc.warnings.count('\n'), 1) << line;
    }
}
