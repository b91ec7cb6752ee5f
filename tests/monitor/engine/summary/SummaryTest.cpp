#include "../../catalogue/Descriptions.h"
#include "../../sources/FrameList.h"
#include "summaries.h"

#include <outputs/printedOutputs.h>

#include <limits>

using monitor::CatalogueMessage;
using monitor::CatalogueSignal;
using monitor::Frame;
using monitor::MergedRun;
using monitor::Session;

namespace
{

constexpr quint32 engineId = 0x18FE0031;

CatalogueMessage engineMessage()
{
    CatalogueSignal speed = describedSignal(0, 16);
    speed.reportedName = "Speed";
    speed.scaling = {0.125, 0, "rpm"};
    CatalogueSignal state = describedSignal(16, 8);
    state.reportedName = "State";
    state.layout.isSigned = true;
    state.valueTexts = {{0, "off"}, {1, "on"}, {0x80, "lowest"}};
    state.comment = "of the engine";
    return describedMessage(engineId, {speed, state});
}

Frame frameOf(quint8 byte, std::optional<qint64> nanoseconds = 1000, quint16 bus = 0)
{
    Frame frame;
    frame.id = engineId;
    frame.extended = true;
    frame.length = 8;
    frame.bus = bus;
    frame.data[0] = frame.data[2] = byte;
    frame.nanoseconds = nanoseconds;
    return frame;
}

class Summary : public SummaryFiles
{
protected:
    std::unique_ptr<Session> record(const QVector<Frame>& frames,
                                    const CatalogueMessage& message = engineMessage())
    {
        auto session = std::make_unique<Session>(QVector<CatalogueMessage>{message}, 3);
        FrameList source(frames, {"can0", "can1"});
        session->takeAll(source);
        return session;
    }

    QString summaryOf(const QVector<Frame>& frames,
                      const CatalogueMessage& message = engineMessage())
    {
        return write(*record(frames, message));
    }

    static QString textOf(Session& session) { return formatJson(session.calcSnapshot()); }
};

} // namespace

TEST_F(Summary, YieldsTheStatisticsOfTheRun)
{
    Frame unknown = frameOf(1);
    unknown.id = 0x123;
    unknown.extended = false;
    const auto session = record({frameOf(7), frameOf(0x80, 3000), frameOf(0xFF, 3500),
                                 frameOf(0xFE, 3500), unknown, frameOf(1, 4000)});
    const QString text = textOf(*session);
    MergedRun shown(3);
    ASSERT_EQ(read(write(*session), shown), QString());
    EXPECT_EQ(textOf(shown.session()), text);
    EXPECT_TRUE(text.contains("\"newestText\": \"on\""));
    EXPECT_TRUE(text.contains("\"bus\": null"));
    EXPECT_TRUE(shown.notes().isEmpty());
}

TEST_F(Summary, NamesTheBusesIfThereAreSeveral)
{
    const QString first = summaryOf({frameOf(1, 1000, 0)});
    const QString second = summaryOf({frameOf(2, 1000, 1)});
    MergedRun merged(3);
    ASSERT_EQ(read(first, merged), QString());
    EXPECT_FALSE(textOf(merged.session()).contains("can0"));
    ASSERT_EQ(read(second, merged), QString());
    const QString text = textOf(merged.session());
    EXPECT_EQ(text.count("\"bus\": \"can0\""), 2);
    EXPECT_EQ(text.count("\"bus\": \"can1\""), 2);
    EXPECT_TRUE(merged.notes().isEmpty());
}

// Of several values at the latest time, the one with the greatest raw value is the newest.
TEST_F(Summary, NewestValueHasTheLatestTime)
{
    const QString late = summaryOf({frameOf(4, 9000), frameOf(6, 9000), frameOf(5, 9000)});
    const QString early = summaryOf({frameOf(9, 8000)});
    for (const QStringList& order : {QStringList{late, early}, QStringList{early, late}}) {
        MergedRun merged(3);
        for (const QString& file : order)
            ASSERT_EQ(read(file, merged), QString());
        EXPECT_EQ(merged.session().calcSnapshot().rows.at(1).statistics->newest, 6);
    }
}

TEST_F(Summary, NewestValueIsUnknownWithoutTimes)
{
    const QString file = summaryOf({frameOf(4, std::nullopt)});
    MergedRun shown(3);
    ASSERT_EQ(read(file, shown), QString());
    const monitor::Snapshot snapshot = shown.session().calcSnapshot();
    EXPECT_FALSE(snapshot.rows.at(1).statistics->isNewestKnown);
    const QString text = formatJson(snapshot);
    EXPECT_EQ(text.count("\"newest\": null"), 2);
    EXPECT_EQ(text.count("\"rating\": null"), 2);
    EXPECT_EQ(text.count("\"count\": 1"), 2);
    EXPECT_TRUE(formatTable(snapshot).contains("State       49      1       -        4"));
    MergedRun merged(3);
    ASSERT_EQ(read(file, merged), QString());
    ASSERT_EQ(read(summaryOf({frameOf(5, 1000)}), merged), QString());
    EXPECT_EQ(merged.session().calcSnapshot().rows.at(1).statistics->newest, 5);
}

TEST_F(Summary, SignalsWithDifferentDefinitionsAreKeptApart)
{
    const QString file = summaryOf({frameOf(1)});
    const auto changed = [](auto change) {
        CatalogueMessage message = engineMessage();
        change(message, message.catalogueSignals[0]);
        return message;
    };
    const QVector<QPair<CatalogueMessage, QString>> cases{
        {changed([](auto&, auto& signal) { signal.scaling.factor = 0.25; }),
         "factor: \"0.125\" and \"0.25\""},
        {changed([](auto&, auto& signal) { signal.scaling.offset = 1; }), "offset"},
        {changed([](auto&, auto& signal) { signal.scaling.unit = "1/s"; }),
         "unit: \"rpm\" and \"1/s\""},
        {changed([](auto&, auto& signal) { signal.layout.startBit = 1; }), "start_bit"},
        {changed([](auto&, auto& signal) { signal.layout.length = 15; }), "length"},
        {changed([](auto&, auto& signal) { signal.layout.isSigned = true; }), "signed"},
        {changed([](auto&, auto& signal) {
             signal.rules.limits = monitor::ValueRange{1, 2};
         }),
         "lower_limit"},
        {changed([](auto&, auto& signal) { signal.rules.reservesRawValues = false; }),
         "reserved_values"},
        {changed([](auto& message, auto&) { message.name = "Other"; }),
         "message: \"Message\" and \"Other\""},
    };
    for (const auto& [message, difference] : cases) {
        MergedRun merged(3);
        ASSERT_EQ(read(file, merged), QString());
        ASSERT_EQ(read(summaryOf({frameOf(1)}, message), merged), QString());
        const monitor::Snapshot snapshot = merged.session().calcSnapshot();
        EXPECT_EQ(snapshot.rows.at(0).statistics->name, QString("Speed"));
        EXPECT_EQ(snapshot.rows.at(1).statistics->name, QString("Speed"));
        EXPECT_EQ(snapshot.rows.at(0).statistics->count, 1);
        EXPECT_EQ(snapshot.rows.at(1).statistics->count, 1);
        ASSERT_GE(merged.notes().size(), 1);
        EXPECT_TRUE(merged.notes().at(0).contains(difference))
            << merged.notes().at(0).toStdString();
        EXPECT_TRUE(merged.notes().at(0).contains("\"Speed\" of source 49 on bus can0"));
    }
}

// The message is part of a name only if the descriptions have another signal of the same name.
TEST_F(Summary, SignalWithAndWithoutTheNameOfItsMessageIsKeptApartWithANote)
{
    const QString file = summaryOf({frameOf(1)});
    for (const char* name : {"Message.Speed", "Message(0x18FE0031).Speed"}) {
        CatalogueMessage message = engineMessage();
        message.catalogueSignals[0].reportedName = name;
        const QString other = summaryOf({frameOf(1)}, message);
        MergedRun merged(3);
        ASSERT_EQ(read(file, merged), QString());
        ASSERT_EQ(read(other, merged), QString());
        ASSERT_EQ(merged.notes().size(), 1);
        EXPECT_TRUE(merged.notes().at(0).contains(
            QString("signal \"%1\" of source 49 on bus can0 is not merged").arg(name)));
        EXPECT_TRUE(merged.notes().at(0).contains(
            QString("their definitions differ (name: \"Speed\" and \"%1\")").arg(name)));
    }
    CatalogueMessage message = engineMessage();
    message.catalogueSignals[0].reportedName = "MessageOf.Speed";
    MergedRun merged(3);
    ASSERT_EQ(read(file, merged), QString());
    ASSERT_EQ(read(summaryOf({frameOf(1)}, message), merged), QString());
    EXPECT_EQ(merged.notes(), QStringList());
}

TEST_F(Summary, ValueTextsAreUnited)
{
    CatalogueMessage other = engineMessage();
    other.catalogueSignals[1].valueTexts = {{1, "ein"}, {2, "zwei"}};
    other.catalogueSignals[1].comment = "Motor";
    const QString first = summaryOf({frameOf(1)});
    const QString second = summaryOf({frameOf(2)}, other);
    for (const QStringList& order : {QStringList{first, second}, QStringList{second, first}}) {
        MergedRun merged(3);
        for (const QString& file : order)
            ASSERT_EQ(read(file, merged), QString());
        const int number = merged.session().registry().sorted().at(1);
        const CatalogueSignal& signal = merged.session().registry().at(number).description();
        EXPECT_EQ(signal.comment, QString("Motor"));
        EXPECT_EQ(signal.valueTexts,
                  (QHash<quint64, QString>{{0, "off"}, {1, "ein"}, {2, "zwei"}, {0x80, "lowest"}}));
        EXPECT_EQ(merged.session().calcSnapshot().rows.at(1).statistics->valueTexts.size(), 4);
    }
}

TEST_F(Summary, LongTextsAreShortened)
{
    constexpr int longest = 65536;
    CatalogueMessage message = engineMessage();
    const QString longText = QString("ab").repeated(1 << 20);
    message.catalogueSignals[1].comment = longText;
    message.catalogueSignals[1].valueTexts = {
        {1, longText}, {2, QString(longest - 1, 'x') + QString::fromUtf8("\U0001F600")}};
    MergedRun shown(3);
    ASSERT_EQ(read(summaryOf({frameOf(1)}, message), shown), QString());
    const int number = shown.session().registry().sorted().at(1);
    const CatalogueSignal& signal = shown.session().registry().at(number).description();
    EXPECT_EQ(signal.comment, longText.left(longest));
    EXPECT_EQ(signal.valueTexts.value(1), longText.left(longest));
    EXPECT_EQ(signal.valueTexts.value(2), QString(longest - 1, 'x'));
    EXPECT_EQ(read(merge({write(shown.session())}), shown), QString());
}

TEST_F(Summary, IncompleteRunMakesTheResultIncomplete)
{
    const QString whole = summaryOf({frameOf(1)});
    const auto ended = record({frameOf(1)});
    ended->setIncomplete();
    const QString merged = merge({whole, write(*ended)});
    MergedRun read(3);
    ASSERT_EQ(Summary::read(merged, read), QString());
    EXPECT_FALSE(read.session().isComplete());
}

TEST_F(Summary, CountsThatWouldOverflowAreRefused)
{
    const auto session = record({frameOf(1)});
    monitor::SignalValues& values =
        session->registry().at(session->registry().sorted().at(0)).values();
    values.addCount(0, quint64{1} << 62);
    const QString file = write(*session);
    MergedRun merged(3);
    ASSERT_EQ(read(file, merged), QString());
    EXPECT_EQ(read(file, merged),
              QString("cannot be merged: the number of values of signal \"Speed\" would exceed "
                      "2^63 - 1"));
}

TEST_F(Summary, FrameCountsOfGroupsWhoseSumWouldOverflowAreRefused)
{
    const auto session = record({frameOf(1)});
    monitor::FrameCounts many;
    many.total = many.decoded = std::numeric_limits<qint64>::max() - 1;
    session->addCounts(many);
    const QString file = write(*session);
    const auto totals = std::make_shared<monitor::MergeTotals>();
    MergedRun first(3, totals);
    MergedRun second(3, totals);
    ASSERT_EQ(read(file, first), QString());
    EXPECT_EQ(read(file, second),
              QString("cannot be merged: a count of frames would exceed 2^63 - 1"));
}

TEST_F(Summary, MoreDecodedThanReceivedFramesAreRefused)
{
    const auto session = record({frameOf(1)});
    monitor::FrameCounts more;
    more.decoded = 1;
    session->addCounts(more);
    MergedRun shown(3);
    EXPECT_EQ(read(write(*session), shown),
              QString("invalid content: more frames are decoded than received"));
}

TEST_F(Summary, FilesThatAreNotSummariesAreRefused)
{
    const auto errorOf = [this](const QByteArray& content) {
        QFile file(path("other"));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(content);
        file.close();
        MergedRun merged(3);
        return read(path("other"), merged);
    };
    const QByteArray summary = contentOf(summaryOf({frameOf(1)}));
    EXPECT_EQ(errorOf(summary), QString());
    EXPECT_EQ(errorOf(""), QString("not a summary"));
    EXPECT_EQ(errorOf("(1.0) can0 123#00\n"), QString("not a summary"));
    QByteArray foreign = summary;
    foreign[68] = 0; // the application id
    EXPECT_EQ(errorOf(foreign), QString("not a summary, but a database of another program"));
    QByteArray newer = summary;
    newer[63] = 2; // the user version
    EXPECT_EQ(errorOf(newer), QString("was written by a newer version of this program (format 2, "
                                      "but this version reads format 1)"));
    QByteArray older = summary;
    older[63] = 0;
    EXPECT_EQ(errorOf(older), QString("not a summary of this version, but of format 0"));
    MergedRun merged(3);
    EXPECT_EQ(read(path("missing"), merged), QString("cannot be read: No such file or directory"));
    EXPECT_EQ(read(path("."), merged), QString("not a summary: not a regular file"));
}

// A change is either reported, or has no effect because the byte is not used. Every third byte is
// tried.
TEST_F(Summary, DamagedByteNeverChangesTheStatistics)
{
    const QByteArray summary = contentOf(summaryOf(
        {frameOf(1), frameOf(0x80, 3000), frameOf(1, 4000), frameOf(7, 2000, 1), frameOf(0xFF)}));
    const auto readBytes = [](const QByteArray& content, QString& text) {
        monitor::SummaryReader reader;
        QString error = reader.open(content);
        MergedRun merged(3);
        for (const monitor::SummaryRun& run : reader.runs())
            error += error.isEmpty() ? reader.addTo(merged, run, "file") : QString();
        text = textOf(merged.session());
        return error;
    };
    QString expected;
    ASSERT_EQ(readBytes(summary, expected), QString());
    int refused = 0;
    for (int place = 0; place < summary.size(); place += 3) {
        QByteArray damaged = summary;
        damaged[place] = static_cast<char>(damaged.at(place) ^ (1 << place % 8));
        QString text;
        if (readBytes(damaged, text).isEmpty())
            ASSERT_EQ(text, expected) << place;
        else
            ++refused;
    }
    EXPECT_GT(refused, 700);
    for (int size = 0; size < summary.size(); size += 97) {
        QString text;
        EXPECT_NE(readBytes(summary.left(size), text), QString()) << size;
    }
}
