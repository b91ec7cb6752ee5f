#include "ReadDbc.h"

#include <gtest/gtest.h>

namespace
{

QByteArray signal(const char* nameAndMarker, int startBit = 0)
{
    return QByteArray(" SG_ ") + nameAndMarker + " : " + QByteArray::number(startBit) +
           "|8@1+ (1,0) [0|0] \"\" X\n";
}

QByteArray values(const char* text)
{
    return QByteArray("SG_MUL_VAL_ 2364540158 ") + text + ";\n";
}

/// "signal multiplexor ranges" for each signal.
QStringList multiplexingIn(const Dbc& dbc)
{
    QStringList texts;
    const auto found = dbc.messages.value(0).signalDescriptions;
    for (const auto& signal : found) {
        QString text = signal.name;
        if (signal.multiplexing.multiplexor >= 0)
            text += ' ' + found.at(signal.multiplexing.multiplexor).name;
        for (const monitor::RawRange& range : signal.multiplexing.values)
            text += QString(" %1-%2").arg(range.lowest).arg(range.highest);
        texts += text;
    }
    return texts;
}

} // namespace

TEST(DbcMultiplexing, MarkersGiveTheValueOfTheOnlyMultiplexor)
{
    const Dbc dbc =
        readDbcSignal(signal("A m0") + signal("Page M") + signal("B m17") + signal("C"));
    EXPECT_EQ(dbc.warnings, QString());
    EXPECT_EQ(multiplexingIn(dbc), (QStringList{"A Page 0-0", "Page", "B Page 17-17", "C"}));
}

TEST(DbcMultiplexing, RangesAndNestedMultiplexorsAreRead)
{
    const Dbc dbc = readDbcSignal(signal("k M") + signal("j m2M") + signal("a m1") +
                                  signal("b m5") + values("j k 2-2") +
                                  values("a j 1-1, 3-7 ,65000 - 65535") + values("b k 5-5,9"));
    EXPECT_EQ(dbc.warnings, QString());
    EXPECT_EQ(multiplexingIn(dbc),
              (QStringList{"k", "j k 2-2", "a j 1-1 3-7 65000-65535", "b k 5-5 9-9"}));
}

TEST(DbcMultiplexing, MarkerValueIsAddedToTheRangesOfTheOnlyMultiplexor)
{
    EXPECT_EQ(multiplexingIn(readDbcSignal(signal("M M") + signal("a m4") + values("a M 1-2"))),
              (QStringList{"M", "a M 1-2 4-4"}));
    EXPECT_EQ(multiplexingIn(readDbcSignal(signal("M M") + signal("N m9M") + signal("a m4") +
                                           values("N M 9-9") + values("a M 1-2"))),
              (QStringList{"M", "N M 9-9", "a M 1-2"}));
}

TEST(DbcMultiplexing, SignalWithoutRangesDependsOnTheOnlyTopLevelMultiplexor)
{
    EXPECT_EQ(multiplexingIn(readDbcSignal(signal("k M") + signal("j m2M") + signal("a m1") +
                                           signal("b m7") + values("j k 2-2") + values("a j 1-1"))),
              (QStringList{"k", "j k 2-2", "a j 1-1", "b k 7-7"}));
}

TEST(DbcMultiplexing, SignalsThatCouldDependOnSeveralMultiplexorsAreNotDecoded)
{
    const Dbc nested =
        readDbcSignal(signal("Page M") + signal("Plain") + signal("Sub m1M") + signal("Deep m2"));
    EXPECT_EQ(multiplexingIn(nested), (QStringList{"Page", "Plain"}));
    EXPECT_TRUE(nested.warnings.startsWith(
        "x.dbc:4: signal \"Sub\" is not decoded: its message has 2 multiplexors, but no "
        "SG_MUL_VAL_ says which one it depends on\nx.dbc:5: signal \"Deep\" is not decoded: "))
        << nested.warnings.toStdString();
    const Dbc both = readDbcSignal(signal("Page M") + signal("Part M") + signal("Deep m1"));
    EXPECT_EQ(multiplexingIn(both), (QStringList{"Page", "Part"}));
    EXPECT_EQ(both.warnings.count('\n'), 1);
}

TEST(DbcMultiplexing, SignalWithoutAMultiplexorIsNotDecoded)
{
    const Dbc dbc = readDbcSignal(signal("A m0") + signal("B"));
    EXPECT_EQ(namesIn(dbc), QStringList{"B"});
    EXPECT_EQ(dbc.warnings, QString("x.dbc:2: signal \"A\" is not decoded: its message has no "
                                    "multiplexor that is always present (M)\n"));
    const Dbc other = readDbcSignal(signal("M M") + signal("A m0") + values("A Missing 0-0"));
    EXPECT_EQ(namesIn(other), QStringList{"M"});
    EXPECT_TRUE(other.warnings.contains("its multiplexor \"Missing\" is not in the message"));
}

TEST(DbcMultiplexing, CircularMultiplexorsAndTheirDependentsAreNotDecoded)
{
    const Dbc dbc = readDbcSignal(signal("a m1M") + signal("b m1M") + signal("c m1") + signal("d") +
                                  signal("e m1M") + values("a b 1-1") + values("b a 1-1") +
                                  values("c a 1-1") + values("e e 1-1"));
    EXPECT_EQ(namesIn(dbc), QStringList{"d"});
    EXPECT_EQ(dbc.warnings.count("in a cycle"), 3);
    EXPECT_TRUE(
        dbc.warnings.contains("x.dbc:4: signal \"c\" is not decoded: its multiplexor is not "
                              "decoded"));
}

TEST(DbcMultiplexing, SignalWithMalformedRangesIsNotDecoded)
{
    for (const char* text : {"A", "A M", "A M 2-1", "A M 1-", "A M -1", "A M 1-2 3", "A M x",
                             "A M 1-99999999999999999999"}) {
        const Dbc dbc = readDbcSignal(signal("M M") + signal("A m0") + values(text));
        EXPECT_EQ(namesIn(dbc), QStringList{"M"}) << text;
        EXPECT_EQ(dbc.warnings, QString("x.dbc:4: multiplexing (SG_MUL_VAL_) cannot be parsed\n"
                                        "x.dbc:3: signal \"A\" is not decoded: its SG_MUL_VAL_ "
                                        "cannot be parsed\n"))
            << text;
    }
    EXPECT_TRUE(readDbcSignal(signal("A") + values("")).warnings.startsWith("x.dbc:3: multi"));
    EXPECT_TRUE(readDbcSignal(signal("M M") + values("Other M 1-2"))
                    .warnings.contains("multiplexing (SG_MUL_VAL_) refers to an unknown signal"));
}
