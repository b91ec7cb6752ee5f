#include <displays/terminal/LiveScreen.h>

#include <gtest/gtest.h>

#include <QtCore/QRegularExpression>

using monitor::Key;
using monitor::LiveHeader;
using monitor::LiveRow;
using monitor::LiveScreen;
using monitor::LiveView;

namespace
{

LiveRow rowOf(const QString& name, int rating, bool silent = false)
{
    LiveRow row;
    row.report.name = name;
    row.report.count = 1000;
    row.report.newest = 1234567;
    row.report.rating = rating;
    row.silent = silent;
    return row;
}

LiveHeader header()
{
    LiveHeader header;
    header.bus = "virtualcan can0";
    header.seconds = 1.25;
    header.counts.total = 30;
    header.counts.decoded = 10;
    header.counts.dropped = 4;
    header.counts.errors = 5;
    header.load = 12.345;
    header.bitRate = 250000;
    return header;
}

QStringList drawn(LiveScreen& screen, const QVector<LiveRow>& rows, const LiveView& view = {},
                  const QSize& size = {200, 24})
{
    return screen.draw(header(), rows, rows.size(), view, size).split('\n');
}

QString withoutStyle(QString line)
{
    return line.remove(QRegularExpression("\x1b\\[[0-9;]*m"));
}

} // namespace

TEST(LiveScreen, HeaderHasTheCountsAndTheLoad)
{
    LiveScreen screen(50);
    EXPECT_EQ(drawn(screen, {}).first(),
              QString("virtualcan can0  1.3 s  frames 30  undecoded 20  dropped 4  errors 5  load "
                      "12.3 % of 250 kbit/s"));
}

TEST(LiveScreen, PlaceMarkersInTheNameOfTheBusStayAsTheyAre)
{
    LiveScreen screen(50);
    LiveHeader live = header();
    live.bus = "virtualcan tcp://host%2Fcan0";
    EXPECT_TRUE(screen.draw(live, {}, 0, {}, {200, 24}).startsWith(live.bus + "  1.3 s"));
}

TEST(LiveScreen, RowsStandBelowTheTitlesAndKeysBelowThem)
{
    LiveScreen screen(50);
    const QStringList lines = drawn(screen, {rowOf("Speed", 100), rowOf("Torque", 100)});
    ASSERT_EQ(lines.size(), 6);
    EXPECT_TRUE(withoutStyle(lines.at(2)).startsWith("   signal  source  count"));
    EXPECT_TRUE(lines.at(3).startsWith("   Speed "));
    EXPECT_TRUE(lines.at(4).startsWith("   Torque "));
    EXPECT_TRUE(lines.at(5).startsWith("signals 1-2 of 2  q quit"));
}

TEST(LiveScreen, LowRatingAndSilenceAreMarkedAndColoured)
{
    LiveScreen screen(50);
    const QStringList lines = drawn(screen, {rowOf("A", 49), rowOf("B", 50), rowOf("C", 49, true)});
    EXPECT_TRUE(lines.at(3).startsWith("\x1b[1;31m!  A"));
    EXPECT_TRUE(lines.at(3).endsWith("\x1b[0m"));
    EXPECT_TRUE(lines.at(4).startsWith("   B"));
    EXPECT_FALSE(lines.at(4).contains('\x1b'));
    EXPECT_TRUE(lines.at(5).startsWith("\x1b[33m~  C"));
}

TEST(LiveScreen, RatingThatSignalsDoNotHaveIsNotLow)
{
    LiveScreen screen(50);
    LiveRow empty = rowOf("A", 0);
    empty.report.count = 0;
    LiveRow carried = rowOf("B", 0);
    carried.report.carried = true;
    for (const QString& line : drawn(screen, {empty, carried}).mid(3, 2))
        EXPECT_FALSE(line.contains('\x1b')) << line.toStdString();
}

TEST(LiveScreen, ColumnsStayWhereTheyWere)
{
    LiveScreen screen(50);
    const QString before = drawn(screen, {rowOf("ALongName", 100)}).at(2);
    LiveRow row = rowOf("B", 100);
    row.report.newest = 1;
    row.report.count = 1;
    EXPECT_EQ(drawn(screen, {row}).at(2), before);
}

TEST(LiveScreen, LinesAreCutAtTheWidthAndScrolledBesideTheNames)
{
    LiveScreen screen(50);
    const QVector<LiveRow> rows{rowOf("Speed", 10)};
    for (const QString& line : drawn(screen, rows, {}, {40, 24}))
        EXPECT_LE(withoutStyle(line).size(), 40);
    LiveView view;
    view.press({Key::Right});
    const QStringList lines = drawn(screen, rows, view, {40, 24});
    EXPECT_TRUE(withoutStyle(lines.at(3)).startsWith("!  Speed        -"));
    EXPECT_FALSE(withoutStyle(lines.at(2)).contains(" count"));
    EXPECT_TRUE(lines.first().startsWith("virtualcan"));
}

TEST(LiveScreen, PauseAndFilterAreSaid)
{
    LiveScreen screen(50);
    LiveView view;
    for (const char character : {'p', '/', 'x'})
        view.press({Key::Character, QChar(character)});
    EXPECT_EQ(drawn(screen, {}, view).at(1), QString("paused  /x_"));
    view.press({Key::Enter});
    EXPECT_EQ(drawn(screen, {}, view).at(1), QString("paused  only /x"));
}

TEST(LiveScreen, ControlCharactersInNamesDoNotReachTheTerminal)
{
    LiveScreen screen(50);
    EXPECT_FALSE(drawn(screen, {rowOf("A\x1b[2J\nB", 100)}).at(3).contains('\x1b'));
}
