#include "RecordedSeries.h"
#include "savedRunBytes.h"

#include <engine/saving/SavedRunReader.h>

#include <gtest/gtest.h>

#include <QtCore/QBuffer>

using monitor::Moment;
using monitor::MonitoredSignal;
using monitor::SavedRunReader;
using monitor::Session;

namespace
{

constexpr quint32 newest = 3;
constexpr qint64 october = 1635188455000000; // 2021-10-25 19:00:55 UTC, in microseconds
constexpr std::array<quint32, 3> versions{1, 2, 3};

/// A run that was read, and the error if there was one.
struct ReadRun {
    explicit ReadRun(const QByteArray& content, const std::optional<Moment>& from = {},
                     const std::optional<Moment>& to = {})
    {
        QBuffer buffer;
        buffer.setData(content);
        SavedRunReader reader(buffer);
        error = reader.open();
        session = std::make_unique<Session>(QVector<monitor::CatalogueMessage>(), reader.k());
        session->addValueSink(recorded);
        if (error.isEmpty())
            error = reader.restore(*session, from, to);
        isWhole = reader.isWhole();
        hasValues = reader.hasValues();
    }

    MonitoredSignal& signal(int position) const
    {
        return session->registry().at(session->registry().sorted().at(position));
    }

    RecordedSeries::Series series(int position) const
    {
        return recorded.newest(session->registry().sorted().at(position));
    }

    QString error;
    RecordedSeries recorded;
    std::unique_ptr<Session> session;
    bool isWhole = false;
    bool hasValues = false;
};

QString errorOf(const QByteArray& content)
{
    return ReadRun(content).error;
}

/// The error of \a run in the newest version, which must be about its content.
QString errorIn(const FileRun& run)
{
    const QString error = errorOf(hashed(bytesOf(run, newest)));
    EXPECT_TRUE(error.isEmpty() || error.startsWith("invalid content: ")) << error.toStdString();
    return error.section(": ", 1).section(" (byte", 0, 0);
}

/// Two signals in the order of their names.
FileRun smallRun()
{
    FileRun run;
    run.k = 2.5;
    run.counts = {9, 7, 3, 2, 1, 4, 5, 6, 8};
    run.firstTime = 1000000;
    FileSignal speed;
    speed.source = 255;
    speed.name = QByteArray("Geschwindigkeit \xC3\xA4\0"
                            "1",
                            20);
    speed.bus = "can0";
    speed.comment = "of the \xC3\xA4 shaft\n<b>";
    speed.texts = {{3, "three"}, {16, "idle"}, {0xFFFF, ""}};
    speed.unit = "rpm";
    speed.factor = 0.125;
    speed.offset = -40;
    speed.limits = {-1.5, 8000};
    speed.notAvailable = 3;
    speed.errors = 4;
    speed.values = {{1000000, 8}, {500000, 16}, {std::nullopt, 0xFFFE}};
    FileSignal text;
    text.isJ1939 = false;
    text.name = "Text";
    text.passThrough = true;
    text.datatype = 9; // VISIBLE_STRING
    text.values = {{std::nullopt, 0x6B4F, QString("Ok")}};
    run.all = {speed, text};
    run.isComplete = false;
    run.undecoded = {{"can1", true, 0x18FEF100, 7}, {"", false, 0x701, 1}};
    return run;
}

/// A run with one signal with the values 0, 1, 2, ... at \a microseconds.
FileRun runAt(const QVector<std::optional<qint64>>& microseconds)
{
    FileRun run;
    run.firstTime = microseconds.value(0);
    FileSignal signal;
    for (const auto& time : microseconds)
        signal.values.append({time, static_cast<quint64>(signal.values.size())});
    run.all = {signal};
    return run;
}

using Bits = QVector<quint64>;

/// The values at \a microseconds that are read, which is the same in all versions.
Bits chosen(const QVector<std::optional<qint64>>& microseconds, std::optional<Moment> from,
            std::optional<Moment> to)
{
    std::optional<Bits> bits;
    for (const quint32 version : versions) {
        const ReadRun run(hashed(bytesOf(runAt(microseconds), version)), from, to);
        EXPECT_EQ(run.error, QString());
        const RecordedSeries::Series records = run.series(0);
        EXPECT_EQ(run.isWhole, records.bits.size() == microseconds.size());
        EXPECT_EQ(run.hasValues, !records.bits.isEmpty());
        EXPECT_EQ(bits.value_or(records.bits), records.bits) << version;
        bits = records.bits;
        for (int i = 0; i < records.bits.size(); ++i)
            EXPECT_EQ(records.microseconds.at(i),
                      microseconds.at(static_cast<int>(records.bits.at(i)))
                          .value_or(monitor::SignalSeries::noTime));
    }
    return *bits;
}

std::optional<Moment> absolute(qint64 nanoseconds)
{
    return Moment{nanoseconds, true};
}

std::optional<Moment> relative(qint64 nanoseconds)
{
    return Moment{nanoseconds, false};
}

constexpr std::nullopt_t noTime = std::nullopt;

} // namespace

TEST(SavedRunReader, EveryFieldIsRead)
{
    for (const quint32 version : versions) {
        const ReadRun run(hashed(bytesOf(smallRun(), version)));
        ASSERT_EQ(run.error, QString()) << version;
        EXPECT_EQ(run.session->k(), 2.5);
        const monitor::FrameCounts counts = run.session->counts();
        EXPECT_EQ(counts.total, 9);
        EXPECT_EQ(counts.decoded, 7);
        EXPECT_EQ(counts.dropped, 3);
        EXPECT_EQ(counts.errors, 2);
        EXPECT_EQ(counts.unreadable, 1);
        EXPECT_EQ(counts.transport.messages, 4);
        EXPECT_EQ(counts.transport.lost, 5);
        EXPECT_EQ(counts.transport.outOfOrder, 6);
        EXPECT_EQ(counts.transport.interrupted, 8);
        EXPECT_EQ(run.session->registry().firstTime(), 1000000);
        ASSERT_EQ(run.session->registry().sorted().size(), 2);
        const MonitoredSignal& speed = run.signal(0);
        EXPECT_EQ(speed.identity().protocol, monitor::Protocol::J1939);
        EXPECT_EQ(speed.identity().source, quint8{255});
        EXPECT_EQ(speed.identity().name,
                  QString::fromUtf8("Geschwindigkeit \u00e4") + QChar(0) + "1");
        EXPECT_EQ(speed.identity().unit, QString("rpm"));
        EXPECT_EQ(speed.description().layout.length, 16);
        EXPECT_EQ(speed.description().scaling.factor, 0.125);
        EXPECT_EQ(speed.description().scaling.offset, -40);
        EXPECT_EQ(speed.description().rules.limits->lowest, -1.5);
        EXPECT_EQ(speed.description().rules.limits->highest, 8000);
        EXPECT_EQ(speed.description().layout.datatype, std::nullopt);
        const RecordedSeries::Series records = run.series(0);
        EXPECT_EQ(records.bits, (Bits{8, 16, 0xFFFE}));
        EXPECT_EQ(records.microseconds,
                  (QVector<qint64>{1000000, 500000, monitor::SignalSeries::noTime}));
        EXPECT_EQ(speed.values().notAvailableCount(), 3);
        EXPECT_EQ(speed.values().errorCount(), 4);
        const MonitoredSignal& text = run.signal(1);
        EXPECT_EQ(text.identity().protocol, monitor::Protocol::CANopen);
        EXPECT_EQ(text.identity().source, std::nullopt);
        EXPECT_TRUE(text.description().layout.passThrough);
        EXPECT_EQ(text.description().layout.datatype, CAN::CANopenDataType::VISIBLE_STRING);
        EXPECT_FALSE(text.description().rules.limits.has_value());
        EXPECT_EQ(run.series(1).bits, Bits{0x6B4F});
    }
}

TEST(SavedRunReader, TextsUndecodedIdsAndAnEarlyEndAreReadFromVersion2On)
{
    const ReadRun old(hashed(bytesOf(smallRun(), 1)));
    EXPECT_EQ(old.signal(0).description().comment, QString());
    EXPECT_TRUE(old.session->isComplete());
    EXPECT_TRUE(old.session->undecodedIds().isEmpty());
    for (const quint32 version : {2U, 3U}) {
        const ReadRun run(hashed(bytesOf(smallRun(), version)));
        const MonitoredSignal& speed = run.signal(0);
        EXPECT_EQ(speed.identity().bus, QString("can0"));
        EXPECT_EQ(speed.description().comment, QString::fromUtf8("of the \u00e4 shaft\n<b>"));
        EXPECT_EQ(speed.description().valueTexts,
                  (QHash<quint64, QString>{{3, "three"}, {16, "idle"}, {0xFFFF, ""}}));
        EXPECT_FALSE(run.session->isComplete());
        const auto undecoded = run.session->undecodedIds();
        ASSERT_EQ(undecoded.size(), 2);
        EXPECT_EQ(undecoded.at(0).bus, QString("can1"));
        EXPECT_EQ(undecoded.at(0).id, 0x18FEF100U);
        EXPECT_EQ(undecoded.at(0).frames, 7);
        EXPECT_TRUE(undecoded.at(0).extended);
        EXPECT_FALSE(undecoded.at(1).extended);
    }
}

TEST(SavedRunReader, TruncatedFileIsAnError)
{
    for (const quint32 version : versions) {
        const QByteArray content = hashed(bytesOf(smallRun(), version));
        ASSERT_EQ(errorOf(content), QString());
        for (int length = 0; length < content.size(); ++length)
            EXPECT_EQ(errorOf(content.left(length)),
                      QString(length < 8 ? "not a saved run" : "is damaged or truncated"))
                << version << ' ' << length;
    }
}

TEST(SavedRunReader, TruncatedFileWithACorrectHashIsAnError)
{
    for (const quint32 version : versions) {
        const QByteArray content = bytesOf(smallRun(), version);
        for (int length = 12; length < content.size(); ++length) {
            const QString error = errorOf(hashed(content.left(length)));
            EXPECT_NE(error, QString()) << version << ' ' << length;
            EXPECT_FALSE(error.contains("unexpected data")) << version << ' ' << length;
        }
        if (version < newest) {
            EXPECT_TRUE(errorOf(hashed(content + '\0')).contains("unexpected data at the end"));
        }
    }
}

TEST(SavedRunReader, AnyChangedByteIsAnError)
{
    const QByteArray content = hashed(bytesOf(smallRun(), newest));
    for (int i = 0; i < content.size(); ++i) {
        QByteArray changed = content;
        changed[i] = static_cast<char>(changed.at(i) ^ 0x10);
        EXPECT_NE(errorOf(changed), QString()) << i;
    }
}

TEST(SavedRunReader, ErrorDistinguishesOtherFilesFromOtherVersions)
{
    EXPECT_EQ(errorOf("(1.0) can0 123#11 and so on"), QString("not a saved run"));
    for (const quint32 version : {0U, 4U, 0x80000001U})
        EXPECT_EQ(errorOf(hashed(bytesOf(smallRun(), version))),
                  QString("has version %1; this program reads versions 1 to 3").arg(version));
}

// With a correct hash, so that only the parser can reject the content.
TEST(SavedRunReader, HostileBytesAreReadOrRejected)
{
    for (const quint32 version : versions) {
        const QByteArray content = bytesOf(smallRun(), version);
        int rejected = 0;
        for (int i = 12; i < content.size(); ++i) {
            for (const int byte : {0x00, 0x7F, 0x80, 0xFF}) {
                QByteArray hostile = content;
                hostile[i] = static_cast<char>(byte);
                rejected += errorOf(hashed(hostile)).isEmpty() ? 0 : 1;
            }
        }
        EXPECT_GT(rejected, content.size()) << version;
    }
}

TEST(SavedRunReader, RecordOfUnsupportedTypeIsRejectedBeforeItIsRead)
{
    QByteArray content = bytesOf(smallRun(), 2);
    const QByteArray text("\0\0\0\x0A\0\0\0\0\x04\0O\0k", 13); // a QString
    const auto place = content.indexOf(text);
    ASSERT_GT(place, 0);
    content[place + 3] = 9; // a QVariantList
    EXPECT_TRUE(errorOf(hashed(content))
                    .startsWith("invalid content: truncated record, or unsupported type (byte "));
}

TEST(SavedRunReader, RecordOfAnotherTypeThanItsSignalIsRejected)
{
    FileRun run = runAt({1, 2});
    run.all[0].values[1].raw = 2.0;
    EXPECT_TRUE(errorOf(hashed(bytesOf(run, 2)))
                    .contains("a raw value does not have the type of its signal"));
}

TEST(SavedRunReader, InvalidDescriptionsAreRejected)
{
    const auto errorWith = [](auto change) {
        FileRun run = smallRun();
        change(run.all[1]);
        return errorIn(run);
    };
    EXPECT_EQ(errorWith([](auto&) {}), QString());
    const QString invalid("invalid signal description");
    EXPECT_EQ(errorWith([](auto& signal) { signal.length = 0; }), invalid);
    EXPECT_EQ(errorWith([](auto& signal) { signal.length = 65; }), invalid);
    EXPECT_EQ(errorWith([](auto& signal) { signal.isFloat = true; }), invalid);
    EXPECT_EQ(errorWith([](auto& signal) { signal.factor = qInf(); }), invalid);
    EXPECT_EQ(errorWith([](auto& signal) { signal.offset = qQNaN(); }), invalid);
    EXPECT_EQ(errorWith([](auto& signal) { signal.datatype.reset(); }), invalid);
    EXPECT_EQ(errorWith([](auto& signal) { signal.limits = {2, 1}; }), invalid);
    EXPECT_EQ(errorWith([](auto& signal) { signal.source = 256; }),
              QString("invalid protocol or source"));
    EXPECT_EQ(errorWith([](auto& signal) { signal.errors = -1; }),
              QString("invalid counts of a signal"));
}

TEST(SavedRunReader, InvalidRunsAreRejected)
{
    FileRun run = smallRun();
    run.k = -1;
    EXPECT_EQ(errorIn(run), QString("invalid k"));
    run = smallRun();
    run.counts[1] = 10; // more decoded frames than frames
    EXPECT_EQ(errorIn(run), QString("invalid frame counts"));
    run = smallRun();
    run.undecoded[1].id = 0x800; // more than 11 bits
    EXPECT_EQ(errorIn(run), QString("invalid undecoded id"));
}

TEST(SavedRunReader, ValueTextsOutOfOrderOrRangeAreRejected)
{
    const auto errorWith = [](const QVector<std::pair<quint64, QByteArray>>& texts) {
        FileRun run = smallRun();
        run.all[0].texts = texts;
        return errorIn(run);
    };
    const QString invalid("invalid texts of a signal");
    EXPECT_EQ(errorWith({{0, "x"}, {0xFFFF, "y"}}), QString());
    EXPECT_EQ(errorWith({{2, "a"}, {1, "b"}}), invalid);
    EXPECT_EQ(errorWith({{2, "a"}, {2, "b"}}), invalid);
    EXPECT_EQ(errorWith({{0, "a"}, {0x10000, "b"}}), invalid); // of 16 bits
}

TEST(SavedRunReader, StatedSizesAreNotTrusted)
{
    FileRun run;
    run.all = {FileSignal()};
    run.all[0].comment = "comment";
    const QByteArray content = bytesOf(run, newest);
    const auto errorWith = [&](int place) {
        QByteArray changed = content;
        changed.replace(place, 4, QByteArray(4, '\xFF'));
        return errorOf(hashed(changed));
    };
    const auto comment = static_cast<int>(content.indexOf("comment"));
    ASSERT_GT(comment, 0);
    EXPECT_TRUE(errorWith(comment - 4).contains("invalid texts of a signal"));
    EXPECT_TRUE(errorWith(comment + 11).contains("invalid texts of a signal")); // after the bus
    constexpr int signalCount = 16 + 8 + 72 + 9;
    EXPECT_TRUE(errorWith(signalCount).contains("invalid signal description"));
    const int undecoded = static_cast<int>(content.size()) - 12;
    EXPECT_TRUE(errorWith(undecoded).contains("invalid undecoded id"));
}

TEST(SavedRunReader, TimesBeyondTheRangeOfNanosecondsAreRejected)
{
    constexpr qint64 farthest = std::numeric_limits<qint64>::max() / 1000;
    for (const qint64 time : {farthest, -farthest}) {
        EXPECT_EQ(errorIn(runAt({time})), QString());
        const qint64 next = time + (time < 0 ? -1 : 1);
        FileRun run = runAt({0, next});
        for (const quint32 version : versions)
            EXPECT_TRUE(errorOf(hashed(bytesOf(run, version))).contains("time out of range"));
        run = runAt({0});
        run.firstTime = next;
        EXPECT_EQ(errorIn(run), QString("time out of range"));
    }
}

TEST(SavedRunReader, ValuesThatAreNotFiniteAreRejected)
{
    FileRun run = runAt({1});
    run.all[0].length = 32;
    run.all[0].isFloat = true;
    for (const auto& [bits, isFinite] :
         {std::pair(0x7F7FFFFFU, true), std::pair(0x7F800000U, false),
          std::pair(0xFFC00000U, false)}) {
        run.all[0].values[0].bits = bits;
        EXPECT_EQ(errorIn(run), QString(isFinite ? "" : "a value is not finite"));
    }
}

TEST(SavedRunReader, InvalidBlocksAreRejected)
{
    FileRun run = runAt({1});
    const auto errorWith = [&run](const QByteArray& block) {
        return errorOf(hashed(bytesOf(run, newest, block)));
    };
    const QByteArray valid("\1\2\0\0", 4); // signal 0, 1 microsecond, 2 bytes
    EXPECT_EQ(errorWith(valid), QString());
    EXPECT_EQ(errorWith(QByteArray("\3\2\0\0", 4)),
              QString("invalid content: a value of an unknown signal (byte 18)"));
    EXPECT_TRUE(errorWith(valid.left(3)).contains("truncated value"));
    EXPECT_TRUE(errorWith(valid.left(1)).contains("truncated value"));
    EXPECT_TRUE(errorWith("\x81").contains("truncated value"));
    EXPECT_TRUE(errorWith(valid + valid).contains("a signal has more values than stated"));
    EXPECT_TRUE(errorWith({}).contains("a signal has fewer values than stated"));
    const QByteArray longest(9, '\xFF'); // and one more bit of 64, which make the lowest number
    EXPECT_TRUE(errorWith('\1' + longest + QByteArray("\2\0\0", 3)).contains("truncated value"));
    EXPECT_TRUE(errorWith('\1' + longest + QByteArray("\1\0\0", 3)).contains("time out of range"));
    run.all[0].length = 15;
    EXPECT_TRUE(errorWith(QByteArray("\1\2\x80\0", 4))
                    .contains("a raw value exceeds the length of its signal"));
    EXPECT_EQ(errorWith(QByteArray("\1\2\x7F\xFF", 4)), QString());
}

TEST(SavedRunReader, BlocksMayNotBeTooLarge)
{
    FileRun run = runAt({});
    for (int i = 0; i < 65536 / 4; ++i)
        run.all[0].values.append({i == 0 ? 1 : 2, 0});
    QByteArray block = blockOf(run.all);
    ASSERT_EQ(block.size(), 65536);
    EXPECT_EQ(errorIn(run), QString());
    run.all[0].values.append({2, 0});
    EXPECT_EQ(errorIn(run), QString("invalid size of a block"));
}

TEST(SavedRunReader, PlacesThatDoNotMatchTheBlocksAreRejected)
{
    const FileRun run = runAt({1});
    const QByteArray content = bytesOf(run, newest);
    const int end = static_cast<int>(content.size()) - 8;
    for (int place = 0; place <= content.size() + 1; ++place) {
        QByteArray changed = content.left(end) + RunBytes().number(qint64{place}).bytes;
        EXPECT_EQ(errorOf(hashed(changed)).isEmpty(), changed == content) << place;
    }
    EXPECT_NE(errorOf(hashed(content.left(end) + RunBytes().number(qint64{-1}).bytes)), QString());
    // A block of size 0 in the middle.
    QByteArray early = content;
    early.insert(12, QByteArray(4, '\0'));
    early.replace(end + 4, 8, RunBytes().number(qint64{24 + 4}).bytes);
    EXPECT_TRUE(errorOf(hashed(early)).contains("invalid size of a block"));
}

TEST(SavedRunReader, NumbersOfSignalsMustBeUnique)
{
    FileRun run;
    run.all = {FileSignal(), FileSignal()};
    QByteArray content = bytesOf(run, newest);
    ASSERT_EQ(errorOf(hashed(content)), QString());
    const int number = static_cast<int>(content.size()) - 8 - 5 - 12; // of the last signal
    for (const char changed : {char(0), char(2)}) {
        content[number + 3] = changed;
        EXPECT_TRUE(errorOf(hashed(content)).contains("invalid number of a signal"));
    }
}

TEST(SavedRunReader, ThereMayBeAnyNumberOfSignals)
{
    FileRun run;
    run.all.fill(FileSignal(), 10001);
    run.all.last().name = "Z";
    run.all.last().values = {{7, 5}};
    const ReadRun read(hashed(bytesOf(run, newest)));
    EXPECT_EQ(read.error, QString());
    EXPECT_EQ(read.session->registry().sorted().size(), 10001);
    EXPECT_EQ(read.series(10000).bits, Bits{5});
}

TEST(SavedRunReader, WithoutMomentsEverythingIsRead)
{
    EXPECT_EQ(chosen({5, noTime, 3}, {}, {}), (Bits{0, 1, 2}));
}

TEST(SavedRunReader, AbsoluteMomentsIncludeBothEnds)
{
    const QVector<std::optional<qint64>> times{october, october + 1, october + 2, october + 3};
    const auto from = absolute((october + 1) * 1000);
    const auto to = absolute((october + 2) * 1000);
    EXPECT_EQ(chosen(times, from, to), (Bits{1, 2}));
    EXPECT_EQ(chosen(times, from, {}), (Bits{1, 2, 3}));
    EXPECT_EQ(chosen(times, {}, to), (Bits{0, 1, 2}));
}

TEST(SavedRunReader, RelativeMomentsCountFromTheFirstTimeAndIncludeBothEnds)
{
    for (const qint64 first : {qint64{0}, qint64{7000000}, october})
        EXPECT_EQ(chosen({first, first + 9, first + 10, first + 20, first + 21}, relative(10000),
                         relative(20000)),
                  (Bits{2, 3}))
            << first;
}

TEST(SavedRunReader, ValueInTheMicrosecondOfAMomentIsRead)
{
    EXPECT_EQ(chosen({october, october + 1, october + 2}, absolute(october * 1000 + 1999), {}),
              (Bits{1, 2}));
    EXPECT_EQ(chosen({october, october + 1, october + 2}, {}, absolute(october * 1000 + 1001)),
              (Bits{0, 1}));
}

TEST(SavedRunReader, ValuesWithoutATimeAreLeftOutIfAMomentIsGiven)
{
    EXPECT_EQ(chosen({october, noTime, october + 1}, relative(0), {}), (Bits{0, 2}));
    EXPECT_EQ(chosen({october, noTime, october + 1}, {}, relative(1000)), (Bits{0, 2}));
}

TEST(SavedRunReader, ChosenValuesKeepTheirOrder)
{
    EXPECT_EQ(chosen({10, 30, 20, 5, 25}, relative(10000), relative(15000)), (Bits{2, 4}));
}

TEST(SavedRunReader, MomentsFarFromTheTimesDoNotOverflow)
{
    constexpr qint64 farthest = std::numeric_limits<qint64>::max() / 1000;
    for (const qint64 time : {farthest, -farthest}) {
        EXPECT_EQ(chosen({time}, relative(0), {}), Bits{0}) << time;
        EXPECT_EQ(chosen({time}, {}, relative(1000)), Bits{0}) << time;
    }
}

TEST(SavedRunReader, MomentsDoNotChangeTheCounts)
{
    const ReadRun run(hashed(bytesOf(smallRun(), newest)), relative(10000000), {});
    EXPECT_EQ(run.error, QString());
    EXPECT_FALSE(run.isWhole);
    EXPECT_FALSE(run.hasValues);
    EXPECT_EQ(run.session->counts().total, 9);
    EXPECT_EQ(run.signal(0).values().notAvailableCount(), 3);
    EXPECT_EQ(run.session->registry().firstTime(), 1000000);
}
