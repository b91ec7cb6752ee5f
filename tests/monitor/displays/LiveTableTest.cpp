#include <displays/LiveTable.h>

#include <gtest/gtest.h>

using monitor::Highlight;
using monitor::LiveTable;
using monitor::SignalStatistics;
using monitor::Snapshot;

namespace
{

/// Signals with these names, each with \a count values and a rating of 100.
Snapshot snapshotOf(const QStringList& names, qint64 count = 1)
{
    Snapshot snapshot;
    for (const QString& name : names) {
        SignalStatistics statistics;
        statistics.name = name;
        statistics.count = count;
        statistics.rating = 100;
        snapshot.rows.append({static_cast<int>(snapshot.rows.size()),
                              std::make_shared<SignalStatistics>(statistics), false});
    }
    return snapshot;
}

QStringList namesIn(const LiveTable& table)
{
    QStringList names;
    for (int row = 0; row < table.rowCount(); ++row)
        names += table.row(row).statistics->name;
    return names;
}

} // namespace

TEST(LiveTable, FilterMatchesPartsOfNamesIgnoringCase)
{
    LiveTable table(50);
    table.update(snapshotOf({"EngineSpeed", "EngineTorque", "WheelSpeed"}), {});
    table.setFilter("SPEED");
    EXPECT_EQ(namesIn(table), (QStringList{"EngineSpeed", "WheelSpeed"}));
    EXPECT_EQ(table.row(1).signal, 2);
    table.update(snapshotOf({"WheelSpeed"}), {});
    EXPECT_EQ(namesIn(table), QStringList("WheelSpeed"));
    table.setFilter(QString());
    EXPECT_EQ(table.rowCount(), 1);
}

TEST(LiveTable, PausedTableIsFrozenUntilItResumes)
{
    LiveTable table(50);
    table.update(snapshotOf({"Speed"}, 1), {"bus", 1000000, 0, 0});
    table.setPaused(true);
    table.update(snapshotOf({"Speed", "Torque"}, 2), {"bus", 2000000, 0, 0});
    EXPECT_EQ(table.rowCount(), 1);
    EXPECT_EQ(table.row(0).statistics->count, 1);
    EXPECT_EQ(table.bus().now, 1000000);
    table.setFilter("speed");
    EXPECT_EQ(table.row(0).statistics->count, 1);
    table.setPaused(false);
    EXPECT_EQ(table.row(0).statistics->count, 2);
    EXPECT_EQ(table.bus().now, 2000000);
    EXPECT_EQ(table.snapshot().rows.size(), 2);
}

TEST(LiveTable, ReplacedSnapshotIsShownWithTheNewestBusStateEvenWhilePaused)
{
    LiveTable table(50);
    table.update(snapshotOf({"Speed"}, 7), {"bus", 1000000, 0, 0});
    table.setPaused(true);
    table.update(snapshotOf({"Speed"}, 8), {"bus", 2000000, 0, 0});
    EXPECT_EQ(table.newestBus().now, 2000000);
    table.replace(snapshotOf({"Speed"}, 0));
    EXPECT_TRUE(table.isPaused());
    EXPECT_EQ(table.row(0).statistics->count, 0);
    EXPECT_EQ(table.bus().now, 2000000);
}

TEST(LiveTable, FirstCellIsTheHighlightMark)
{
    LiveTable table(50);
    Snapshot snapshot = snapshotOf({"A", "B", "C"});
    auto low = std::make_shared<SignalStatistics>(*snapshot.rows.at(1).statistics);
    low->rating = 49;
    snapshot.rows[1].statistics = low;
    snapshot.rows[2].isSilent = true;
    table.update(snapshot, {});
    EXPECT_EQ(table.highlight(0), Highlight::None);
    EXPECT_EQ(table.highlight(1), Highlight::LowRating);
    EXPECT_EQ(table.highlight(2), Highlight::Silence);
    EXPECT_EQ(table.cells(0).mid(0, 2), (QStringList{" ", "A"}));
    EXPECT_EQ(table.cells(1).mid(0, 2), (QStringList{"!", "B"}));
    EXPECT_EQ(table.cells(2).mid(0, 2), (QStringList{"~", "C"}));
}

TEST(LiveTable, CopyHasTheSameRowsUntilRowsOrFilterChange)
{
    LiveTable table(50);
    LiveTable before = table;
    EXPECT_TRUE(table.hasSameRows(before));
    const Snapshot snapshot = snapshotOf({"Speed", "Torque"});
    table.update(snapshot, {});
    EXPECT_FALSE(table.hasSameRows(before));
    before = table;
    table.update(snapshot, {"bus", 1000000, 0, 0});
    EXPECT_TRUE(table.hasSameRows(before));
    EXPECT_EQ(table.bus().now, 1000000);
    table.setFilter("e");
    EXPECT_FALSE(table.hasSameRows(before)) << "even if all rows pass";
    before = table;
    Snapshot changed = snapshot;
    changed.rows[1].isSilent = true;
    table.setPaused(true);
    table.update(changed, {});
    EXPECT_TRUE(table.hasSameRows(before));
    table.setPaused(false);
    EXPECT_FALSE(table.hasSameRows(before));
    EXPECT_TRUE(table.row(1).isSilent);
}
