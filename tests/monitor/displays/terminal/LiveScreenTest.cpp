#include <displays/terminal/LiveScreen.h>

#include <gtest/gtest.h>

#include <QtCore/QRegularExpression>

using monitor::BusState;
using monitor::Key;
using monitor::LiveScreen;
using monitor::LiveTable;
using monitor::LiveView;
using monitor::SignalStatistics;
using monitor::Snapshot;

namespace
{

struct Row {
    SignalStatistics statistics;
    bool isSilent = false;
};

Row rowOf(const QString& name, int rating, bool isSilent = false)
{
    Row row;
    row.statistics.name = name;
    row.statistics.count = 1000;
    row.statistics.newest = 1234567;
    row.statistics.rating = rating;
    row.isSilent = isSilent;
    return row;
}

BusState busState()
{
    return {"virtualcan can0", 1250000, 12.345, 250000};
}

Snapshot snapshotOf(const QVector<Row>& rows)
{
    Snapshot snapshot;
    snapshot.counts.total = 30;
    snapshot.counts.decoded = 10;
    snapshot.counts.dropped = 4;
    snapshot.counts.errors = 5;
    for (const Row& row : rows)
        snapshot.rows.append({static_cast<int>(snapshot.rows.size()),
                              std::make_shared<SignalStatistics>(row.statistics), row.isSilent});
    return snapshot;
}

QStringList drawn(LiveScreen& screen, const QVector<Row>& rows, const QVector<Key>& keys = {},
                  const QSize& size = {200, 24})
{
    LiveTable table(50);
    LiveView view(table);
    table.update(snapshotOf(rows), busState());
    for (const Key& key : keys)
        view.press(key);
    return screen.draw(table, view, size).split('\n');
}

QString withoutStyle(QString line)
{
    return line.remove(QRegularExpression("\x1b\\[[0-9;]*m"));
}

} // namespace

TEST(LiveScreen, HeaderShowsCountsAndBusLoad)
{
    LiveScreen screen;
    EXPECT_EQ(drawn(screen, {}).first(),
              QString("virtualcan can0  1.3 s  frames 30  undecoded 20  dropped 4  errors 5  load "
                      "12.3 % of 250 kbit/s"));
}

TEST(LiveScreen, PlaceMarkersInTheBusNameAreKept)
{
    LiveScreen screen;
    BusState bus = busState();
    bus.name = "virtualcan tcp://host%2Fcan0";
    LiveTable table(50);
    table.update({}, bus);
    EXPECT_TRUE(screen.draw(table, LiveView(table), {200, 24}).startsWith(bus.name + "  1.3 s"));
}

TEST(LiveScreen, RowsFollowTheTitlesAndKeysFollowTheRows)
{
    LiveScreen screen;
    const QStringList lines = drawn(screen, {rowOf("Speed", 100), rowOf("Torque", 100)});
    ASSERT_EQ(lines.size(), 6);
    EXPECT_TRUE(withoutStyle(lines.at(2)).startsWith("   signal  source  count"));
    EXPECT_TRUE(lines.at(3).startsWith("   Speed "));
    EXPECT_TRUE(lines.at(4).startsWith("   Torque "));
    EXPECT_TRUE(lines.at(5).startsWith("signals 1-2 of 2  q quit"));
}

// Rows that have not changed are not formatted again.
TEST(LiveScreen, ChangedRowsAreDrawn)
{
    LiveScreen screen;
    Snapshot snapshot = snapshotOf({rowOf("A", 100), rowOf("B", 100)});
    LiveTable table(50);
    LiveView view(table);
    const auto rows = [&](int height) {
        table.update(snapshot, busState());
        view.fitTo(table.rowCount(), LiveScreen::rowsOn({200, height}));
        QStringList names;
        for (const QString& line : screen.draw(table, view, {200, height}).split('\n').mid(3))
            names += withoutStyle(line).left(4).trimmed();
        return names.mid(0, names.size() - 1);
    };
    EXPECT_EQ(rows(24), (QStringList{"A", "B"}));
    EXPECT_EQ(rows(24), (QStringList{"A", "B"}));
    snapshot.rows[0].isSilent = true;
    EXPECT_EQ(rows(24), (QStringList{"~  A", "B"}));
    snapshot.rows[1].statistics = std::make_shared<SignalStatistics>(rowOf("C", 49).statistics);
    EXPECT_EQ(rows(24), (QStringList{"~  A", "!  C"}));
    EXPECT_EQ(rows(5), QStringList("~  A"));
    view.press({Key::Down});
    EXPECT_EQ(rows(5), QStringList("!  C"));
    EXPECT_EQ(rows(24), (QStringList{"~  A", "!  C"}));
    snapshot.rows.clear();
    EXPECT_EQ(rows(24), QStringList());
}

TEST(LiveScreen, LowRatingAndSilenceAreMarkedAndColoured)
{
    LiveScreen screen;
    const QStringList lines = drawn(screen, {rowOf("A", 49), rowOf("B", 50), rowOf("C", 49, true)});
    EXPECT_TRUE(lines.at(3).startsWith("\x1b[1;31m!  A"));
    EXPECT_TRUE(lines.at(3).endsWith("\x1b[0m"));
    EXPECT_TRUE(lines.at(4).startsWith("   B"));
    EXPECT_FALSE(lines.at(4).contains('\x1b'));
    EXPECT_TRUE(lines.at(5).startsWith("\x1b[33m~  C"));
}

TEST(LiveScreen, SignalsWithoutARatingAreNotHighlighted)
{
    LiveScreen screen;
    Row empty = rowOf("A", 0);
    empty.statistics.count = 0;
    Row passedThrough = rowOf("B", 0);
    passedThrough.statistics.isPassedThrough = true;
    for (const QString& line : drawn(screen, {empty, passedThrough}).mid(3, 2))
        EXPECT_FALSE(line.contains('\x1b')) << line.toStdString();
}

TEST(LiveScreen, ColumnsStayInPlaceWhenTheirContentShrinks)
{
    LiveScreen screen;
    const QString before = drawn(screen, {rowOf("ALongName", 100)}).at(2);
    Row row = rowOf("B", 100);
    row.statistics.newest = 1;
    row.statistics.count = 1;
    EXPECT_EQ(drawn(screen, {row}).at(2), before);
}

TEST(LiveScreen, LinesFitTheWidthAndScrollNextToTheNames)
{
    LiveScreen screen;
    const QVector<Row> rows{rowOf("Speed", 10)};
    for (const QString& line : drawn(screen, rows, {}, {40, 24}))
        EXPECT_LE(withoutStyle(line).size(), 40);
    const QStringList lines = drawn(screen, rows, {{Key::Right}}, {40, 24});
    EXPECT_TRUE(withoutStyle(lines.at(3)).startsWith("!  Speed        -"));
    EXPECT_FALSE(withoutStyle(lines.at(2)).contains(" count"));
    EXPECT_TRUE(lines.first().startsWith("virtualcan"));
}

TEST(LiveScreen, ScrollingMovesTheColumnsAfterTheSource)
{
    LiveScreen screen;
    const QVector<Row> rows{rowOf("Speed", 100)};
    LiveTable table(50);
    LiveView view(table);
    view.press({Key::Right});
    const QStringList before = drawn(screen, rows);
    const QStringList after = drawn(screen, rows, {{Key::Right}});
    ASSERT_GT(view.firstColumn(), 0);
    const auto fixed = withoutStyle(before.at(2)).indexOf("source  ") + 8;
    for (const int line : {2, 3}) {
        const QString whole = withoutStyle(before.at(line));
        EXPECT_EQ(withoutStyle(after.at(line)),
                  whole.left(fixed) + whole.mid(fixed + view.firstColumn()));
    }
}

TEST(LiveScreen, PauseAndFilterAreShown)
{
    LiveScreen screen;
    QVector<Key> keys;
    for (const char character : {'p', '/', 'x'})
        keys.append(Key{Key::Character, QChar(character)});
    EXPECT_EQ(drawn(screen, {}, keys).at(1), QString("paused  /x_"));
    keys.append(Key{Key::Enter});
    EXPECT_EQ(drawn(screen, {}, keys).at(1), QString("paused  filter /x"));
}

TEST(LiveScreen, RemarksFollowTheFilterAsFarAsTheyFit)
{
    LiveScreen screen;
    LiveTable table(50);
    LiveView view(table);
    const QStringList remarks{"run: cannot be written: \x1b[2J", "second"};
    const auto lineOn = [&](int width) {
        return screen.draw(table, view, {width, 24}, remarks).split('\n').at(1);
    };
    EXPECT_EQ(lineOn(200), QString("run: cannot be written:  [2J  second"));
    table.setFilter("x");
    table.setPaused(true);
    EXPECT_EQ(lineOn(200), QString("paused  filter /x  run: cannot be written:  [2J  second"));
    EXPECT_EQ(lineOn(25), QString("paused  filter /x  run: c"));
}

TEST(LiveScreen, ControlCharactersInNamesDoNotReachTheTerminal)
{
    LiveScreen screen;
    EXPECT_FALSE(drawn(screen, {rowOf("A\x1b[2J\nB", 100)}).at(3).contains('\x1b'));
}
