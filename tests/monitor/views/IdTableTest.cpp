#include <views/idTable.h>

#include <gtest/gtest.h>

using monitor::IdStatistics;
using monitor::UndecodedId;

namespace
{

UndecodedId undecodedId(quint32 id, qint64 frames, const QString& bus = QString())
{
    return {bus, id, false, frames};
}

IdStatistics statisticsOfId()
{
    IdStatistics id;
    id.id = 0x18FEEE31;
    id.extended = true;
    id.message = "ET1";
    id.cycleTime = 1000.5;
    id.frames = 5;
    id.remoteFrames = 1;
    id.shortest = 2;
    id.longest = 8;
    id.changing = {0, 1, 2, 5};
    id.periods = 3;
    id.averagePeriod = 10.25;
    id.deviation = 0.5;
    id.minimum = 9;
    id.maximum = 11;
    return id;
}

/// The words of line \a number of \a text, counted from 0.
QStringList wordsOf(const QString& text, int number)
{
    return text.split('\n').value(number).split(' ', Qt::SkipEmptyParts);
}

} // namespace

TEST(IdTable, IdHasThreeOrEightHexadecimalDigits)
{
    EXPECT_EQ(monitor::formatId(0, false), QString("000"));
    EXPECT_EQ(monitor::formatId(0x7FF, false), QString("7FF"));
    EXPECT_EQ(monitor::formatId(0xA, true), QString("0000000A"));
    EXPECT_EQ(monitor::formatId(0x1FFFFFFF, true), QString("1FFFFFFF"));
}

TEST(IdTable, NeighbouringPositionsAreARange)
{
    const auto format = [](const QVector<int>& bytes) { return monitor::formatPositions(bytes); };
    EXPECT_EQ(format({}), QString());
    EXPECT_EQ(format({0}), QString("0"));
    EXPECT_EQ(format({63}), QString("63"));
    EXPECT_EQ(format({0, 1}), QString("0-1"));
    EXPECT_EQ(format({0, 2}), QString("0,2"));
    EXPECT_EQ(format({0, 1, 2, 5}), QString("0-2,5"));
    EXPECT_EQ(format({1, 3, 4, 6, 8, 9, 10}), QString("1,3-4,6,8-10"));
}

TEST(IdTable, NothingIsPrintedIfEverythingWasDecoded)
{
    EXPECT_EQ(monitor::formatUndecoded({}), QString());
}

TEST(IdTable, UndecodedIdsArePrintedWithTheirBus)
{
    EXPECT_EQ(monitor::formatUndecoded({undecodedId(0x123, 7), {"can1", 0x18FEEE31, true, 2}}),
              QString("undecoded   123: 7 frame(s)\n"
                      "undecoded   18FEEE31 on bus can1: 2 frame(s)\n"));
}

TEST(IdTable, TenUndecodedIdsArePrintedAndTheOthersCounted)
{
    QVector<UndecodedId> ids;
    for (quint32 id = 1; id <= 10; ++id)
        ids.append(undecodedId(id, 100 - static_cast<int>(id)));
    QStringList lines = monitor::formatUndecoded(ids).split('\n', Qt::SkipEmptyParts);
    ASSERT_EQ(lines.size(), 10);
    EXPECT_EQ(lines.at(9), QString("undecoded   00A: 90 frame(s)"));
    ids.append(undecodedId(11, 1));
    ids.append(undecodedId(12, 1));
    lines = monitor::formatUndecoded(ids).split('\n', Qt::SkipEmptyParts);
    ASSERT_EQ(lines.size(), 11);
    EXPECT_EQ(lines.at(9), QString("undecoded   00A: 90 frame(s)"));
    EXPECT_TRUE(lines.at(10).startsWith("undecoded   2 more id(s)")) << lines.at(10).toStdString();
}

TEST(IdTable, ControlCharactersInBusNamesAreNotPrinted)
{
    const QString text = monitor::formatUndecoded({undecodedId(1, 1, "can\x1B[2J\n0")});
    EXPECT_FALSE(text.contains('\x1B'));
    EXPECT_EQ(text.count('\n'), 1);
}

TEST(IdTable, BusColumnIsShownOnlyIfBusesAreNamed)
{
    IdStatistics id = statisticsOfId();
    QString table = monitor::formatIds({id});
    EXPECT_EQ(wordsOf(table, 0).value(0), QString("id"));
    EXPECT_EQ(wordsOf(table, 1).join(' '),
              QString("18FEEE31 ET1 5 10.25 0.5 9 11 1000.5 2-8 0-2,5"));
    id.bus = "can1";
    table = monitor::formatIds({id});
    EXPECT_EQ(wordsOf(table, 0).value(0), QString("bus"));
    EXPECT_EQ(wordsOf(table, 1).join(' '),
              QString("can1 18FEEE31 ET1 5 10.25 0.5 9 11 1000.5 2-8 0-2,5"));
}

TEST(IdTable, UnknownFieldsAreDashesOrNull)
{
    IdStatistics id;
    id.id = 0x123;
    id.frames = 1;
    id.shortest = id.longest = 3;
    EXPECT_EQ(wordsOf(monitor::formatIds({id}), 1).join(' '), QString("123 - 1 - - - - - 3 -"));
    const QVector<QJsonValue> fields = monitor::idFieldsOf(id);
    ASSERT_EQ(fields.size(), monitor::idFieldNames().size());
    for (const char* name :
         {"bus", "message", "averagePeriod", "deviation", "minimum", "maximum", "cycleTime"})
        EXPECT_TRUE(fields.at(monitor::idFieldNames().indexOf(name)).isNull()) << name;
}

TEST(IdTable, FieldsHaveTheirDocumentedNamesAndOrder)
{
    IdStatistics id = statisticsOfId();
    id.bus = "can1";
    id.isTransported = true;
    EXPECT_EQ(monitor::idFieldNames().join(' '),
              QString("bus id extended transported message frames remoteFrames shortest longest "
                      "changingBytes periods averagePeriod deviation minimum maximum cycleTime"));
    EXPECT_EQ(monitor::idFieldsOf(id),
              (QVector<QJsonValue>{"can1", "18FEEE31", true, true, "ET1", 5, 1, 2, 8, "0-2,5", 3,
                                   10.25, 0.5, 9, 11, 1000.5}));
}
