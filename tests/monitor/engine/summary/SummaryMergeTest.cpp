#include "../../catalogue/Descriptions.h"
#include "../../sources/FrameList.h"
#include "summaries.h"

#include <cmath>
#include <cstring>
#include <random>

using monitor::CatalogueMessage;
using monitor::CatalogueSignal;
using monitor::Frame;
using monitor::Session;

namespace
{

constexpr quint32 firstId = 0x18FE0031;
constexpr quint32 nextMessage = 0x100; // ids of successive messages differ by it

/// A recording, as frames, and the messages that describe it.
struct Recording {
    QVector<CatalogueMessage> messages;
    QVector<Frame> frames;
};

CatalogueSignal randomSignal(std::mt19937_64& random, int number)
{
    const bool isFloat = random() % 4 == 0;
    const int length =
        isFloat ? (random() % 2 == 0 ? 32 : 64) : static_cast<int>(random() % 64) + 1;
    CatalogueSignal signal = describedSignal(0, length);
    signal.reportedName = signal.name = QString("Signal%1").arg(number);
    signal.layout.isFloat = isFloat;
    signal.layout.isSigned = !isFloat && random() % 2 == 0;
    if (random() % 2 == 0)
        signal.scaling = {random() % 2 == 0 ? 0.125 : -3, double(random() % 100), "km"};
    if (random() % 3 == 0)
        signal.rules.limits = monitor::ValueRange{-10, 1000};
    if (random() % 3 == 0)
        signal.valueTexts = {{1, "one"}, {0, "zero"}};
    signal.rules.keptRecords = random() % 5 == 0 ? 10 : 0;
    signal.rules.reservesRawValues = random() % 2 == 0;
    return signal;
}

QVector<CatalogueMessage> randomMessages(std::mt19937_64& random)
{
    QVector<CatalogueMessage> messages;
    for (int i = 0; i < 8; ++i) {
        messages.append(describedMessage(firstId + nextMessage * static_cast<quint32>(i),
                                         {randomSignal(random, i)}));
        if (random() % 2 == 0)
            messages.last().protocol = monitor::Protocol::CANopen;
    }
    CatalogueSignal passed = describedSignal(0, 64);
    passed.reportedName = "Passed";
    passed.layout.passThrough = true;
    passed.layout.datatype = CAN::CANopenDataType::VISIBLE_STRING;
    messages.append(describedMessage(firstId + nextMessage * 8, {passed}));
    return messages;
}

/// Some raw values: few or many different ones, and those of special floating-point numbers.
quint64 randomBits(std::mt19937_64& random)
{
    const auto bitsOf = [](double number) {
        quint64 bits = 0;
        std::memcpy(&bits, &number, sizeof bits);
        return bits;
    };
    switch (random() % 8) {
    case 0:
        return random();
    case 1:
        return bitsOf(double(random() % 1000) / 7 - 50);
    case 2:
        return random() % 2 == 0 ? bitsOf(-0.0) : quint64{1} << 31;
    case 3:
        return bitsOf(std::ldexp(1.0, static_cast<int>(random() % 600) - 300));
    default:
        return random() % (random() % 2 == 0 ? 4 : 100000);
    }
}

/// \a times selects the times of frames: 0 unknown, 1 increasing, 2 many equal, 3 in any order.
Recording randomRecording(std::mt19937_64& random, int count, int times)
{
    Recording recording;
    recording.messages = randomMessages(random);
    qint64 time = 1600000000000000000;
    for (int i = 0; i < count; ++i) {
        Frame frame;
        frame.bus = static_cast<quint16>(random() % 3);
        frame.extended = true;
        frame.id = firstId + nextMessage * static_cast<quint32>(random() % 11) +
                   static_cast<quint32>(random() % 2);
        if (times == 1)
            time += static_cast<qint64>(random() % 3000000) + 1000;
        else if (times == 2)
            time += random() % 20 == 0 ? 1000000 : 0;
        else
            time += static_cast<qint64>(random() % 3000000) - 1400000;
        if (times != 0 && random() % 20 > 0)
            frame.nanoseconds = time;
        frame.length = 8;
        const quint64 bits = randomBits(random);
        for (size_t byte = 0; byte < 8; ++byte)
            frame.data.at(byte) = static_cast<quint8>(bits >> (8 * byte) & 0xFF);
        recording.frames.append(frame);
    }
    return recording;
}

class SummaryMerge : public SummaryFiles
{
protected:
    /// The summary of a replay of \a frames, whose buses are numbered in a random order.
    QString summaryOf(std::mt19937_64& random, const QVector<CatalogueMessage>& messages,
                      QVector<Frame> frames, qint64 lost)
    {
        QVector<quint16> order{0, 1, 2};
        std::shuffle(order.begin(), order.end(), random);
        QStringList names{"", "", ""};
        for (int bus = 0; bus < 3; ++bus)
            names[order.at(bus)] = QString("can%1").arg(bus);
        for (Frame& frame : frames)
            frame.bus = order.at(frame.bus);
        FrameList source(frames, names);
        source.sourceCounts.lost = lost;
        source.sourceCounts.unreadable = 2 * lost;
        Session session(messages, 3);
        session.origin().labels["vehicle"] = "17";
        session.origin().programs.insert("1.0");
        session.origin().descriptions.insert({"bus.dbc", QByteArray(32, 'x')});
        session.takeAll(source, 2);
        return write(session);
    }

    /// Merges the summaries in a tree of random shape. Returns the path of the root.
    QString mergeInRandomTree(std::mt19937_64& random, QStringList summaries)
    {
        while (summaries.size() > 1) {
            std::shuffle(summaries.begin(), summaries.end(), random);
            const int count = 2 + static_cast<int>(random() % 3);
            const QString merged = merge(summaries.mid(0, count));
            summaries = summaries.mid(count);
            summaries.append(merged);
        }
        return summaries.first();
    }
};

} // namespace

TEST_F(SummaryMerge, HasTheBytesOfTheWholeHoweverTheRecordingIsCut)
{
    for (quint64 seed = 1; seed <= 12; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937_64 random(seed);
        const int count = seed % 4 == 0 ? 60000 : 3000;
        const Recording recording = randomRecording(random, count, static_cast<int>(seed % 4));
        QVector<int> cuts{0, count};
        for (quint64 i = random() % 8 + 1; i > 0; --i)
            cuts.append(static_cast<int>(random() % static_cast<quint64>(count + 1)));
        std::sort(cuts.begin(), cuts.end());
        QStringList parts;
        for (int i = 1; i < cuts.size(); ++i)
            parts +=
                summaryOf(random, recording.messages,
                          recording.frames.mid(cuts.at(i - 1), cuts.at(i) - cuts.at(i - 1)), i);
        const auto lost = static_cast<qint64>(parts.size() * (parts.size() + 1) / 2);
        const QString whole = summaryOf(random, recording.messages, recording.frames, lost);
        const QString merged = mergeInRandomTree(random, parts);
        ASSERT_TRUE(contentOf(merged) == contentOf(whole));
        monitor::MergedRun shown(3);
        ASSERT_EQ(read(merged, shown), QString());
        EXPECT_GT(shown.session().calcSnapshot().rows.size(), 20);
    }
}
