#include "ReadDbc.h"

#include <gtest/gtest.h>

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

TEST(DbcAttributes, FloatingPointSignalOfWrongLengthIsOmittedWithAWarning)
{
    const Dbc dbc = readDbcSignal(" SG_ F : 0|16@1- (1,0) [0|0] \"\" X\n"
                                  " SG_ I : 32|32@1- (1,0) [0|0] \"\" X\n"
                                  "SIG_VALTYPE_ 2364540158 F : 1;\n"
                                  "SIG_VALTYPE_ 2364540158 I : 2;\n");
    EXPECT_TRUE(dbc.messages.at(0).signalDescriptions.isEmpty());
    EXPECT_EQ(dbc.warnings.count("floating-point signal is not decoded: "), 2);
    EXPECT_TRUE(dbc.warnings.startsWith("x.dbc:4: ")) << dbc.warnings.toStdString();
}

TEST(DbcAttributes, MalformedValueTypeIsAWarning)
{
    for (const char* line :
         {"SIG_VALTYPE_ 1", "SIG_VALTYPE_ 2364540158 EngineSpeed : 4;",
          "SIG_VALTYPE_ 2364540158 EngineSpeed : 1", "SIG_VALTYPE_ 1 A : 1;",
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
    EXPECT_EQ(dbc.warnings, QString("x.dbc:4: SPN out of range, or no such signal\n"
                                    "x.dbc:5: SPN out of range, or no such signal\n"));
}

TEST(DbcAttributes, AttributeTextCanSpanSeveralLines)
{
    const Dbc dbc = readDbc("BA_ \"Note\" \"first\nBO_ 1 Hidden: 8 X\n\";\n" + messageLine);
    EXPECT_EQ(dbc.warnings, QString());
    EXPECT_EQ(dbc.messages.size(), 1);
}
