#include <text/Table.h>

#include <gtest/gtest.h>

using monitor::Alignment;
using monitor::formatTable;

TEST(Table, AlignsColumns)
{
    EXPECT_EQ(
        formatTable({{"name", Alignment::Left}, {"n", Alignment::Right}, {"u", Alignment::Left}},
                    {{"Speed", "1", "rpm"}, {"T", "1234", QString::fromUtf8("°C")}}),
        QString::fromUtf8("name      n  u\n"
                          "Speed     1  rpm\n"
                          "T      1234  °C\n"));
}

TEST(Table, EmptyCellsAreShownAsDashes)
{
    EXPECT_EQ(formatTable({{"a", Alignment::Left}, {"b", Alignment::Right}}, {{"", ""}}),
              QString("a  b\n-  -\n"));
}

TEST(Table, ControlCharactersDoNotReachTheTerminal)
{
    EXPECT_EQ(formatTable({{"a", Alignment::Left}}, {{"x\x1B[2J\ny"}}), QString("a\nx [2J y\n"));
}
