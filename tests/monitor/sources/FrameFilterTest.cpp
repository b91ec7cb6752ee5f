#include "FrameList.h"

#include <sources/FrameFilter.h>

#include <gtest/gtest.h>

#include <vector>

using monitor::Frame;
using monitor::FrameChoice;
using monitor::FrameFilter;
using monitor::Moment;

namespace
{

constexpr qint64 second = 1000000000;
constexpr qint64 october = 1635188455 * second; // 2021-10-25 19:00:55 UTC

Frame frameOn(quint16 bus, std::optional<qint64> nanoseconds = std::nullopt)
{
    Frame frame;
    frame.bus = bus;
    frame.nanoseconds = nanoseconds;
    return frame;
}

/// A frame of the first bus for each of \a times.
QVector<Frame> framesAt(std::initializer_list<std::optional<qint64>> times)
{
    QVector<Frame> frames;
    for (const auto& time : times)
        frames.append(frameOn(0, time));
    return frames;
}

/// The positions of the frames that \a choice leaves, and the notes afterwards.
struct Filtered {
    QVector<quint32> positions;
    QStringList notes;
};

bool operator==(const Filtered& left, const Filtered& right)
{
    return left.positions == right.positions && left.notes == right.notes;
}

Filtered filteredInBatches(const QVector<Frame>& frames, const FrameChoice& choice,
                           const QStringList& buses, int batchSize)
{
    FrameList source(frames, buses);
    FrameFilter filter(source, choice);
    Filtered result;
    std::vector<Frame> batch(static_cast<size_t>(batchSize));
    while (const int count = filter.read(batch.data(), batchSize)) {
        for (int i = 0; i < count; ++i)
            result.positions.append(batch[static_cast<size_t>(i)].id);
    }
    result.notes = filter.notes();
    return result;
}

/// The same for frames that are read one by one and in batches.
Filtered filtered(QVector<Frame> frames, const FrameChoice& choice,
                  const QStringList& buses = {"can0", "can1", "can2"})
{
    quint32 position = 0;
    for (Frame& frame : frames)
        frame.id = position++;
    FrameList source(frames, buses);
    FrameFilter filter(source, choice);
    Filtered result;
    for (Frame frame; filter.next(frame);)
        result.positions.append(frame.id);
    result.notes = filter.notes();
    for (const int batchSize : {2, 3, 5000})
        EXPECT_EQ(filteredInBatches(frames, choice, buses, batchSize), result) << batchSize;
    return result;
}

FrameChoice between(std::optional<Moment> from, std::optional<Moment> to)
{
    return {{}, from, to};
}

Moment absolute(qint64 nanoseconds)
{
    return {nanoseconds, true};
}

Moment relative(qint64 nanoseconds)
{
    return {nanoseconds, false};
}

using Positions = QVector<quint32>;

} // namespace

TEST(FrameFilter, WithoutAChoiceAllFramesPass)
{
    const Filtered all = filtered({frameOn(0, 5), frameOn(1), frameOn(0, 3)}, {});
    EXPECT_EQ(all.positions, (Positions{0, 1, 2}));
    EXPECT_EQ(all.notes, QStringList());
}

TEST(FrameFilter, OnlyFramesOfTheChosenBusesPass)
{
    const QVector<Frame> frames{frameOn(0), frameOn(1), frameOn(2), frameOn(1), frameOn(0)};
    EXPECT_EQ(filtered(frames, {{"can1"}, {}, {}}).positions, (Positions{1, 3}));
    EXPECT_EQ(filtered(frames, {{"can2", "can0"}, {}, {}}).positions, (Positions{0, 2, 4}));
}

TEST(FrameFilter, BusMayAppearAfterManyFramesOfOthers)
{
    QVector<Frame> frames(1000, frameOn(0));
    frames << frameOn(1) << frameOn(2) << frameOn(0) << frameOn(2);
    const Filtered late = filtered(frames, {{"can2"}, {}, {}});
    EXPECT_EQ(late.positions, (Positions{1001, 1003}));
    EXPECT_EQ(late.notes, QStringList());
}

TEST(FrameFilter, BusWithoutFramesIsReportedWithTheExistingBuses)
{
    const Filtered none = filtered({frameOn(0), frameOn(1)}, {{"can1", "can7"}, {}, {}});
    EXPECT_EQ(none.positions, Positions{1});
    ASSERT_EQ(none.notes.size(), 1);
    EXPECT_TRUE(none.notes.at(0).contains("\"can7\"")) << none.notes.at(0).toStdString();
    EXPECT_TRUE(none.notes.at(0).contains("can0, can1")) << none.notes.at(0).toStdString();
}

TEST(FrameFilter, AbsoluteTimesIncludeBothEnds)
{
    const auto frames =
        framesAt({october - 1, october, october + 5, october + second, october + second + 1});
    const Moment from = absolute(october);
    const Moment to = absolute(october + second);
    EXPECT_EQ(filtered(frames, between(from, to)).positions, (Positions{1, 2, 3}));
    EXPECT_EQ(filtered(frames, between(from, {})).positions, (Positions{1, 2, 3, 4}));
    EXPECT_EQ(filtered(frames, between({}, to)).positions, (Positions{0, 1, 2, 3}));
    EXPECT_EQ(filtered(frames, between(from, to)).notes, QStringList());
}

TEST(FrameFilter, RelativeTimesCountFromTheFirstFrameAndIncludeBothEnds)
{
    for (const qint64 first : {qint64{0}, 7 * second, october}) {
        const auto frames = framesAt({first, first + second - 1, first + second, first + 2 * second,
                                      first + 2 * second + 1});
        const auto choice = between(relative(second), relative(2 * second));
        EXPECT_EQ(filtered(frames, choice).positions, (Positions{2, 3})) << first;
        EXPECT_EQ(filtered(frames, choice).notes, QStringList()) << first;
    }
}

TEST(FrameFilter, RelativeTimesCountFromTheFirstFrameOfAnyBus)
{
    const QVector<Frame> frames{frameOn(0, october), frameOn(1, october + second),
                                frameOn(1, october + 2 * second)};
    EXPECT_EQ(filtered(frames, {{"can1"}, relative(2 * second), {}}).positions, Positions{2});
}

TEST(FrameFilter, RelativeAndAbsoluteTimesCanBeCombined)
{
    const auto frames = framesAt({october, october + 1, october + 2, october + 3});
    EXPECT_EQ(filtered(frames, between(relative(1), absolute(october + 2))).positions,
              (Positions{1, 2}));
}

TEST(FrameFilter, EarlierFrameAfterALaterOneIsFound)
{
    const auto frames = framesAt({october, october + 9, october + 1, october + 9, october + 2});
    EXPECT_EQ(filtered(frames, between({}, relative(2))).positions, (Positions{0, 2, 4}));
}

TEST(FrameFilter, FramesWithoutATimeAreLeftOutAndCountedIfATimeIsChosen)
{
    const auto frames = framesAt({{}, october, {}, october + second});
    for (const auto& choice : {between(relative(0), {}), between({}, absolute(october + second))}) {
        const Filtered timed = filtered(frames, choice);
        EXPECT_EQ(timed.positions, (Positions{1, 3}));
        ASSERT_EQ(timed.notes.size(), 1);
        EXPECT_TRUE(timed.notes.at(0).startsWith("2 frame(s) without a time"))
            << timed.notes.at(0).toStdString();
    }
    const Filtered untimed = filtered(frames, {{"can0"}, {}, {}});
    EXPECT_EQ(untimed.positions, (Positions{0, 1, 2, 3}));
    EXPECT_EQ(untimed.notes, QStringList());
}

// The note gives the times as the reason, but frames of other buses are left out anyway.
TEST(FrameFilter, FramesWithoutATimeOnOtherBusesAreNotCounted)
{
    const QVector<Frame> frames{frameOn(0, october), frameOn(1), frameOn(0), frameOn(1)};
    const Filtered timed = filtered(frames, {{"can0"}, relative(0), {}});
    EXPECT_EQ(timed.positions, Positions{0});
    ASSERT_EQ(timed.notes.size(), 1);
    EXPECT_TRUE(timed.notes.at(0).startsWith("1 frame(s)")) << timed.notes.at(0).toStdString();
}

TEST(FrameFilter, TimesThatLeaveOutEveryFrameAreNoted)
{
    EXPECT_EQ(filtered(framesAt({0, second}), between(relative(2 * second), {})).notes,
              QStringList("no frames in the time chosen by --from and --to"));
    EXPECT_EQ(filtered(framesAt({}), between(relative(2 * second), {})).notes, QStringList());
}

TEST(FrameFilter, AbsoluteTimesInARecordingWithoutADateAreNoted)
{
    const Filtered dateless = filtered(framesAt({0, second}), between(absolute(october), {}));
    EXPECT_EQ(dateless.positions, Positions());
    ASSERT_EQ(dateless.notes.size(), 1);
    EXPECT_TRUE(dateless.notes.at(0).contains("not absolute"))
        << dateless.notes.at(0).toStdString();
    EXPECT_EQ(filtered(framesAt({0, second}), between(relative(1), {})).notes, QStringList());
}

TEST(FrameFilter, FrameIsUnchangedAtTheEnd)
{
    FrameList source({frameOn(1)}, {"can0", "can1"});
    FrameFilter filter(source, {{"can0"}, {}, {}});
    Frame frame;
    frame.id = 77;
    EXPECT_FALSE(filter.next(frame));
    EXPECT_EQ(frame.id, 77U);
    EXPECT_EQ(frame.bus, 0);
}

TEST(FrameFilter, CountsProblemsNotesAndErrorsAreThoseOfTheSource)
{
    FrameList source({frameOn(0)}, {"can0"});
    source.sourceCounts = {3, 2, 1};
    source.sourceProblems = {monitor::Problems("x.log", "problems")};
    source.sourceProblems[0].add(4, "odd");
    source.sourceNotes = QStringList("x.log: a remark");
    source.sourceError = "x.log: damaged";
    FrameFilter filter(source, {{"can9"}, relative(0), {}});
    for (Frame frame; filter.next(frame);) {
    }
    EXPECT_EQ(filter.counts().errorFrames, 3);
    EXPECT_EQ(filter.counts().lost, 2);
    EXPECT_EQ(filter.counts().unreadable, 1);
    ASSERT_EQ(filter.problems().size(), 1);
    EXPECT_EQ(filter.problems().at(0).count(), 1);
    EXPECT_EQ(filter.notes().value(0), QString("x.log: a remark"));
    EXPECT_EQ(filter.error(), QString("x.log: damaged"));
    EXPECT_EQ(filter.buses(), QStringList("can0"));
}
