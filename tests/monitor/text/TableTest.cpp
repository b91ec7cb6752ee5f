#include <text/Table.h>
#include <views/ReportTable.h>

#include <gtest/gtest.h>

using monitor::Alignment;
using monitor::formatTable;

TEST(Table, AlignsItsColumns)
{
    EXPECT_EQ(
        formatTable({{"name", Alignment::Left}, {"n", Alignment::Right}, {"u", Alignment::Left}},
                    {{"Speed", "1", "rpm"}, {"T", "1234", QString::fromUtf8("°C")}}),
        QString::fromUtf8("name      n  u\n"
                          "Speed     1  rpm\n"
                          "T      1234  °C\n"));
}

TEST(Table, EmptyCellIsADash)
{
    EXPECT_EQ(formatTable({{"a", Alignment::Left}, {"b", Alignment::Right}}, {{"", ""}}),
              QString("a  b\n-  -\n"));
}

TEST(Table, ControlCharactersDoNotReachTheTerminal)
{
    EXPECT_EQ(formatTable({{"a", Alignment::Left}}, {{"x\x1B[2J\ny"}}), QString("a\nx [2J y\n"));
}

TEST(ReportTable, SignalWithoutValuesShowsDashesForItsFigures)
{
    monitor::SignalReport report;
    report.name = "Sensor";
    report.source = quint8{3};
    report.unit = "V";
    report.notAvailable = 7;
    report.errors = 2;
    const QString row = monitor::formatReports({report}).section('\n', 1, 1).simplified();
    EXPECT_EQ(row, QString("Sensor 3 0 - - - - - - - - - V 7 2"));
}

TEST(ReportTable, SummaryCountsWhatWasNotDecoded)
{
    const QString summary = monitor::formatSummary({10, 7, 5, 4, 2}, 2.5);
    EXPECT_EQ(summary, QString("band        average -/+ 2.5 deviations\n"
                               "frames      10\n"
                               "decoded     7\n"
                               "undecoded   3\n"
                               "dropped     5\n"
                               "errors      4\n"
                               "no frame    2\n"));
}
