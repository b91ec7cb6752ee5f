#include <publishers/mqtt/PendingUpdates.h>

#include <gtest/gtest.h>

#include <memory>

using monitor::PendingUpdates;
using monitor::SignalStatistics;
using monitor::Snapshot;

namespace
{

/// Signals 0, 1, ... of a run.
class Signals
{
public:
    explicit Signals(int number)
    {
        for (int signal = 0; signal < number; ++signal)
            all.rows.append({signal, std::make_shared<SignalStatistics>(), false});
    }

    const Snapshot& snapshot() const { return all; }

    void change(int signal) { all.rows[signal].statistics = std::make_shared<SignalStatistics>(); }

private:
    Snapshot all;
};

QVector<int> signalsOf(const QVector<PendingUpdates::Update>& updates)
{
    QVector<int> signalNumbers;
    for (const PendingUpdates::Update& update : updates)
        signalNumbers.append(update.signal);
    return signalNumbers;
}

} // namespace

TEST(PendingUpdates, AreTheSignalsThatHaveChanged)
{
    PendingUpdates updates;
    Signals run(3);
    EXPECT_TRUE(updates.isEmpty());
    EXPECT_EQ(updates.note(run.snapshot()), 0);
    EXPECT_FALSE(updates.isEmpty());
    EXPECT_EQ(signalsOf(updates.take()), (QVector<int>{0, 1, 2}));
    for (int signal = 0; signal < 3; ++signal)
        updates.acknowledge(signal);
    EXPECT_TRUE(updates.isEmpty());
    run.change(1);
    EXPECT_EQ(updates.note(run.snapshot()), 0);
    const QVector<PendingUpdates::Update> taken = updates.take();
    ASSERT_EQ(signalsOf(taken), QVector<int>{1});
    EXPECT_EQ(taken.at(0).statistics, run.snapshot().rows.at(1).statistics);
    EXPECT_EQ(signalsOf(updates.take()), QVector<int>());
    EXPECT_FALSE(updates.isEmpty()); // not acknowledged
}

TEST(PendingUpdates, WaitForTheAcknowledgementOfEarlierOnesAndReplaceEachOther)
{
    PendingUpdates updates;
    Signals run(2);
    updates.note(run.snapshot());
    updates.take();
    qint64 skipped = 0;
    for (int i = 0; i < 5; ++i) {
        run.change(1);
        skipped += updates.note(run.snapshot());
    }
    EXPECT_EQ(skipped, 4);
    EXPECT_EQ(signalsOf(updates.take()), QVector<int>());
    updates.acknowledge(1);
    const QVector<PendingUpdates::Update> taken = updates.take();
    ASSERT_EQ(signalsOf(taken), QVector<int>{1});
    EXPECT_EQ(taken.at(0).statistics, run.snapshot().rows.at(1).statistics);
}

TEST(PendingUpdates, IncludeAllSignalsAfterTheConnectionWasLost)
{
    PendingUpdates updates;
    Signals run(3);
    updates.note(run.snapshot());
    updates.take();
    updates.acknowledge(0);
    updates.acknowledge(1);
    updates.loseConnection();
    run.change(0);
    EXPECT_EQ(updates.note(run.snapshot()), 0); // the previous one was acknowledged
    run.change(2);
    EXPECT_EQ(updates.note(run.snapshot()), 1);
    EXPECT_EQ(signalsOf(updates.take()), (QVector<int>{0, 1, 2}));
}
