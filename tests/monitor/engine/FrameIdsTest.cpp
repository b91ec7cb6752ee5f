#include <engine/FrameIds.h>

#include <gtest/gtest.h>

#include <cmath>

using monitor::BusId;
using monitor::CatalogueMessage;
using monitor::Frame;
using monitor::FrameIds;
using monitor::IdStatistics;
using monitor::Payload;
using monitor::UndecodedFrames;
using monitor::UndecodedId;

namespace
{

constexpr qint64 millisecond = 1000000;

Frame frameOf(quint32 id, std::optional<qint64> nanoseconds,
              std::initializer_list<quint8> bytes = {})
{
    Frame frame;
    frame.id = id;
    frame.nanoseconds = nanoseconds;
    for (const quint8 byte : bytes)
        frame.data.at(frame.length++) = byte;
    return frame;
}

/// The only id after \a frames.
IdStatistics statisticsAfter(const QVector<Frame>& frames)
{
    FrameIds ids;
    for (const Frame& frame : frames)
        ids.take(frame, -1);
    const QVector<IdStatistics> statistics = ids.calcStatistics({}, {});
    EXPECT_EQ(statistics.size(), 1);
    return statistics.value(0);
}

/// The same for frames at \a nanoseconds.
IdStatistics statisticsAt(const QVector<std::optional<qint64>>& nanoseconds)
{
    QVector<Frame> frames;
    for (const auto& time : nanoseconds)
        frames.append(frameOf(0x123, time));
    return statisticsAfter(frames);
}

QVector<Frame> framesWith(std::initializer_list<std::initializer_list<quint8>> data)
{
    QVector<Frame> frames;
    for (const auto& bytes : data)
        frames.append(frameOf(0x123, 0, bytes));
    return frames;
}

Payload transported(quint32 id, const QByteArray& data, qint64 nanoseconds = 0, quint16 bus = 0)
{
    Payload payload;
    payload.id = id;
    payload.extended = true;
    payload.data = reinterpret_cast<const quint8*>(data.constData());
    payload.length = static_cast<int>(data.size());
    payload.nanoseconds = nanoseconds;
    payload.transported = true;
    payload.bus = bus;
    return payload;
}

/// "bus:id" for each of \a ids, with an x after a 29-bit id and a t after a transported one.
QStringList labelsOf(const QVector<IdStatistics>& ids)
{
    QStringList labels;
    for (const IdStatistics& id : ids)
        labels += QString("%1:%2%3%4")
                      .arg(id.bus)
                      .arg(id.id, 0, 16)
                      .arg(id.extended ? "x" : "", id.isTransported ? "t" : "");
    return labels;
}

QStringList labelsOf(const QVector<UndecodedId>& ids)
{
    QStringList labels;
    for (const UndecodedId& id : ids)
        labels += QString("%1:%2%3=%4")
                      .arg(id.bus)
                      .arg(id.id, 0, 16)
                      .arg(id.extended ? "x" : "")
                      .arg(id.frames);
    return labels;
}

} // namespace

// Periods of 1, 2, 3 and 4 ms have the average 2.5 and the squared distances 2.25, 0.25, 0.25 and
// 2.25, whose mean is 1.25.
TEST(FrameIds, PeriodsHaveAnAverageAndAPopulationDeviation)
{
    const IdStatistics id =
        statisticsAt({0, 1 * millisecond, 3 * millisecond, 6 * millisecond, 10 * millisecond});
    EXPECT_EQ(id.frames, 5);
    EXPECT_EQ(id.periods, 4);
    EXPECT_DOUBLE_EQ(id.averagePeriod, 2.5);
    EXPECT_DOUBLE_EQ(id.deviation, std::sqrt(1.25));
    EXPECT_EQ(id.minimum, 1);
    EXPECT_EQ(id.maximum, 4);
}

// One period of 1000000.2 ms, then 500 times 1000000.1 and 1000000.3 ms. The squared distances from
// the average, 1000000.2, are 0.01 each, except for the first, which is 0.
TEST(FrameIds, SmallJitterOfLongPeriodsIsExact)
{
    QVector<std::optional<qint64>> times{1635188455000000001};
    times.append(*times.last() + 1000000200000);
    for (int i = 0; i < 500; ++i) {
        times.append(*times.last() + 1000000100000);
        times.append(*times.last() + 1000000300000);
    }
    const IdStatistics id = statisticsAt(times);
    EXPECT_EQ(id.periods, 1001);
    EXPECT_NEAR(id.averagePeriod, 1000000.2, 1e-9);
    EXPECT_NEAR(id.deviation, 0.1 * std::sqrt(1000.0 / 1001), 1e-9);
    EXPECT_EQ(id.minimum, 1000000.1);
    EXPECT_EQ(id.maximum, 1000000.3);
}

TEST(FrameIds, PeriodsAreExactToTheNanosecond)
{
    EXPECT_EQ(statisticsAt({1635188455000000000, 1635188455000000001}).averagePeriod, 1e-6);
}

TEST(FrameIds, FramesAtTheSameTimeHaveThePeriodZero)
{
    const IdStatistics id = statisticsAt({5, 5, 5 + 2 * millisecond});
    EXPECT_EQ(id.periods, 2);
    EXPECT_EQ(id.minimum, 0);
    EXPECT_EQ(id.averagePeriod, 1);
}

TEST(FrameIds, SingleFrameHasNoPeriod)
{
    const IdStatistics id = statisticsAt({millisecond});
    EXPECT_EQ(id.frames, 1);
    EXPECT_EQ(id.periods, 0);
    EXPECT_EQ(id.averagePeriod, 0);
    EXPECT_EQ(id.deviation, 0);
    EXPECT_EQ(id.minimum, 0);
    EXPECT_EQ(id.maximum, 0);
}

TEST(FrameIds, StepBackInTimeIsNotAPeriod)
{
    const IdStatistics id =
        statisticsAt({10 * millisecond, 20 * millisecond, 5 * millisecond, 8 * millisecond});
    EXPECT_EQ(id.frames, 4);
    EXPECT_EQ(id.periods, 2);
    EXPECT_EQ(id.averagePeriod, 6.5); // of 10 and 3
    EXPECT_EQ(id.minimum, 3);
}

TEST(FrameIds, UnknownTimeEndsThePeriod)
{
    const IdStatistics id =
        statisticsAt({10 * millisecond, std::nullopt, 30 * millisecond, 40 * millisecond});
    EXPECT_EQ(id.frames, 4);
    EXPECT_EQ(id.periods, 1);
    EXPECT_EQ(id.averagePeriod, 10);
    EXPECT_EQ(statisticsAt({std::nullopt, std::nullopt}).periods, 0);
}

TEST(FrameIds, RemoteFramesAreOnlyCounted)
{
    Frame remote = frameOf(0x123, 5 * millisecond);
    remote.remote = true;
    const IdStatistics id =
        statisticsAfter({remote, frameOf(0x123, 6 * millisecond, {1, 2}), remote,
                         frameOf(0x123, 16 * millisecond, {1, 3}), remote});
    EXPECT_EQ(id.frames, 5);
    EXPECT_EQ(id.remoteFrames, 3);
    EXPECT_EQ(id.shortest, 2);
    EXPECT_EQ(id.changing, QVector<int>{1});
    EXPECT_EQ(id.periods, 1);
    EXPECT_EQ(id.averagePeriod, 10);
}

TEST(FrameIds, IdWithOnlyRemoteFramesHasNoData)
{
    Frame remote = frameOf(0x123, 5);
    remote.remote = true;
    const IdStatistics id = statisticsAfter({remote, remote});
    EXPECT_EQ(id.remoteFrames, 2);
    EXPECT_EQ(id.shortest, 0);
    EXPECT_EQ(id.longest, 0);
    EXPECT_EQ(id.changing, QVector<int>());
    EXPECT_EQ(id.periods, 0);
}

TEST(FrameIds, BytesWithSeveralValuesAreChanging)
{
    EXPECT_EQ(statisticsAfter(framesWith({{1, 2, 3}, {1, 2, 3}})).changing, QVector<int>());
    EXPECT_EQ(statisticsAfter(framesWith({{1, 2, 3}, {1, 5, 3}, {1, 2, 4}, {1, 2, 3}})).changing,
              (QVector<int>{1, 2}));
}

TEST(FrameIds, LastByteOfALongFdFrameCanChange)
{
    Frame first = frameOf(0x123, 0);
    first.fd = true;
    first.length = 64;
    Frame second = first;
    second.data[0] = second.data[63] = 1;
    const IdStatistics id = statisticsAfter({first, second});
    EXPECT_EQ(id.shortest, 64);
    EXPECT_EQ(id.longest, 64);
    EXPECT_EQ(id.changing, (QVector<int>{0, 63}));
}

TEST(FrameIds, BytesThatOnlySomeFramesHaveAreChanging)
{
    for (const auto& frames : {framesWith({{1, 2, 3, 4}, {1, 2}, {1, 2, 3, 4}}),
                               framesWith({{1, 2}, {1, 2, 3, 4}, {1, 2, 3}})}) {
        const IdStatistics id = statisticsAfter(frames);
        EXPECT_EQ(id.shortest, 2);
        EXPECT_EQ(id.longest, 4);
        EXPECT_EQ(id.changing, (QVector<int>{2, 3}));
    }
    const IdStatistics emptied = statisticsAfter(framesWith({{7, 7}, {}, {7, 7}}));
    EXPECT_EQ(emptied.shortest, 0);
    EXPECT_EQ(emptied.changing, (QVector<int>{0, 1}));
}

TEST(FrameIds, IdsOfElevenAndTwentyNineBitsStayApart)
{
    FrameIds ids;
    Frame frame = frameOf(0x123, 0);
    ids.take(frame, -1);
    frame.extended = true;
    ids.take(frame, -1);
    ids.take(frame, -1);
    const auto statistics = ids.calcStatistics({}, {});
    ASSERT_EQ(labelsOf(statistics), (QStringList{":123", ":123x"}));
    EXPECT_EQ(statistics.at(0).frames, 1);
    EXPECT_EQ(statistics.at(1).frames, 2);
}

TEST(FrameIds, PeriodsOfTwoBusesDoNotMix)
{
    FrameIds ids;
    for (int i = 0; i < 4; ++i) {
        Frame frame = frameOf(0x123, i * 10 * millisecond);
        ids.take(frame, -1);
        frame.bus = 1;
        frame.nanoseconds = (i * 20 + 3) * millisecond;
        ids.take(frame, -1);
    }
    const auto statistics = ids.calcStatistics({}, {"can0", "can1"});
    ASSERT_EQ(labelsOf(statistics), (QStringList{"can0:123", "can1:123"}));
    EXPECT_EQ(statistics.at(0).averagePeriod, 10);
    EXPECT_EQ(statistics.at(0).deviation, 0);
    EXPECT_EQ(statistics.at(1).averagePeriod, 20);
    EXPECT_EQ(statistics.at(1).deviation, 0);
}

TEST(FrameIds, AreSortedByBusAndIdWithTransportedMessagesLast)
{
    const QByteArray data(9, 'a');
    FrameIds ids;
    ids.take(transported(0x0EE00000, data), -1);
    for (const quint16 bus : {quint16{1}, quint16{0}}) {
        for (const quint32 id : {0x7FFU, 0x10U}) {
            Frame frame = frameOf(id, 0);
            frame.bus = bus;
            frame.extended = true;
            ids.take(frame, -1);
            frame.extended = false;
            ids.take(frame, -1);
        }
    }
    EXPECT_EQ(labelsOf(ids.calcStatistics({}, {"can0", "can1"})),
              (QStringList{"can0:10", "can0:7ff", "can0:10x", "can0:7ffx", "can1:10", "can1:7ff",
                           "can1:10x", "can1:7ffx", "can0:ee00000xt"}));
}

TEST(FrameIds, TransportedMessageIsSeparateFromAFrameWithItsId)
{
    const QByteArray data = "0123456789";
    const QByteArray changed = "0123456x89abc";
    FrameIds ids;
    Frame frame = frameOf(0x00FEE300, 0, {1});
    frame.extended = true;
    ids.take(frame, -1);
    ids.take(transported(0x00FEE300, data, 0), -1);
    ids.take(transported(0x00FEE300, changed, 7 * millisecond), -1);
    const auto statistics = ids.calcStatistics({}, {});
    ASSERT_EQ(labelsOf(statistics), (QStringList{":fee300x", ":fee300xt"}));
    EXPECT_EQ(statistics.at(0).frames, 1);
    EXPECT_EQ(statistics.at(1).frames, 2);
    EXPECT_EQ(statistics.at(1).shortest, 10);
    EXPECT_EQ(statistics.at(1).longest, 13);
    EXPECT_EQ(statistics.at(1).changing, (QVector<int>{7, 10, 11, 12}));
    EXPECT_EQ(statistics.at(1).averagePeriod, 7);
}

TEST(FrameIds, BytesAtTheEndOfALongMessageCanChange)
{
    const QByteArray data(1785, 'a');
    QByteArray changed = data;
    changed[3] = changed[64] = changed[1784] = 'b';
    FrameIds ids;
    ids.take(transported(0x00FEE300, data), -1);
    ids.take(transported(0x00FEE300, changed), -1);
    EXPECT_EQ(ids.calcStatistics({}, {}).at(0).changing, (QVector<int>{3, 64, 1784}));
}

TEST(FrameIds, DescribedIdHasTheNameAndCycleTimeOfItsMessage)
{
    CatalogueMessage first;
    first.name = "First";
    CatalogueMessage second;
    second.name = "Second";
    second.cycleTime = 12.5;
    FrameIds ids;
    ids.take(frameOf(1, 0), 1);
    ids.take(frameOf(2, 0), 0);
    ids.take(frameOf(3, 0), -1);
    const auto statistics = ids.calcStatistics({first, second}, {});
    ASSERT_EQ(statistics.size(), 3);
    EXPECT_EQ(statistics.at(0).message, QString("Second"));
    EXPECT_EQ(statistics.at(0).cycleTime, 12.5);
    EXPECT_EQ(statistics.at(1).message, QString("First"));
    EXPECT_EQ(statistics.at(1).cycleTime, std::nullopt);
    EXPECT_EQ(statistics.at(2).message, QString());
}

TEST(FrameIds, StatisticsStartAgainAfterClearing)
{
    FrameIds ids;
    ids.take(frameOf(1, 0, {1}), -1);
    ids.clear();
    EXPECT_TRUE(ids.calcStatistics({}, {}).isEmpty());
    ids.take(frameOf(1, millisecond, {2}), -1);
    const auto statistics = ids.calcStatistics({}, {});
    ASSERT_EQ(statistics.size(), 1);
    EXPECT_EQ(statistics.at(0).frames, 1);
    EXPECT_EQ(statistics.at(0).periods, 0);
    EXPECT_EQ(statistics.at(0).changing, QVector<int>());
}

TEST(UndecodedFrames, AreSortedByFrequencyThenBusAndId)
{
    UndecodedFrames undecoded;
    undecoded.add({1, 0x10, false}, 5);
    undecoded.add({0, 0x10, true}, 5);
    undecoded.add({0, 0x20, false}, 5);
    undecoded.add({0, 0x10, false}, 5);
    undecoded.add({1, 0x7FF, false}, 2);
    undecoded.add({1, 0x7FF, false}, 4);
    undecoded.add({0, 0x1FFFFFFF, true}, 1);
    EXPECT_EQ(labelsOf(undecoded.sorted({"can0", "can1"})),
              (QStringList{"can1:7ff=6", "can0:10=5", "can0:20=5", "can0:10x=5", "can1:10=5",
                           "can0:1fffffffx=1"}));
}

TEST(UndecodedFrames, LastBusAndIdAreKept)
{
    UndecodedFrames undecoded;
    undecoded.add({1023, 0x1FFFFFFF, true}, 1);
    QStringList names;
    for (int i = 0; i < 1024; ++i)
        names += QString::number(i);
    EXPECT_EQ(labelsOf(undecoded.sorted(names)), QStringList("1023:1fffffffx=1"));
}

TEST(UndecodedFrames, DecodedFramesAreTakenBack)
{
    UndecodedFrames undecoded;
    undecoded.add({0, 1, false}, 3);
    undecoded.add({0, 2, false}, 3);
    undecoded.add({0, 1, false}, -3);
    undecoded.add({0, 2, false}, -1);
    EXPECT_EQ(labelsOf(undecoded.sorted({})), QStringList(":2=2"));
    undecoded.clear();
    EXPECT_TRUE(undecoded.sorted({}).isEmpty());
}
