#include "../app/FileSizeLimit.h"

#include <engine/SignalRecords.h>
#include <outputs/SavedRunFile.h>
#include <views/SignalChart.h>

#include <gtest/gtest.h>

#include <QtCore/QCryptographicHash>
#include <QtCore/QDataStream>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>
#include <QtGui/QImage>

using monitor::SavedRun;
using monitor::SavedSignal;

namespace
{

constexpr int hashSize = 32;

class SavedRunFile : public testing::Test
{
protected:
    QString path(const QString& name) const { return directory.filePath(name); }

    QByteArray contentOf(const SavedRun& run) const
    {
        EXPECT_EQ(monitor::writeSavedRun(path("run"), run), QString());
        QFile file(path("run"));
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        return file.readAll();
    }

    /// \a content followed by its hash.
    static QByteArray hashed(const QByteArray& content)
    {
        return content + QCryptographicHash::hash(content, QCryptographicHash::Sha256);
    }

    static QString errorOf(const QByteArray& content)
    {
        SavedRun run;
        return monitor::parseSavedRun(content, run);
    }

    QTemporaryDir directory;
};

template <typename T>
QVector<T> recordsOf(const QVector<QVariant>& raw)
{
    QVector<T> records;
    for (const QVariant& value : raw) {
        T record;
        record.rawValue = record.scaledValue = value;
        records.append(record);
    }
    return records;
}

/// A value text as it is stored, with a text of ASCII characters.
QByteArray valueText(quint64 raw, const QByteArray& text)
{
    QByteArray bytes;
    for (int shift = 56; shift >= 0; shift -= 8)
        bytes += static_cast<char>(raw >> shift & 0xFF);
    return bytes + QByteArray(3, '\0') + static_cast<char>(text.size()) + text;
}

SavedRun smallRun()
{
    SavedRun run;
    run.k = 2.5;
    run.counts = {9, 7, 3, 2, 1, {4, 5, 6, 8}};
    run.firstTime = 1000000;
    SavedSignal speed;
    speed.protocol = monitor::Protocol::J1939;
    speed.source = quint8{255};
    speed.bus = "can0";
    speed.description.reportedName = QString::fromUtf8("Geschwindigkeit \u00e4") + QChar(0) + "1";
    speed.description.comment = QString::fromUtf8("of the \u00e4 shaft\n<b>");
    speed.description.valueTexts = {{16, "idle"}, {0xFFFF, ""}, {3, "three"}};
    speed.description.scaling.unit = "rpm";
    speed.description.layout.length = 16;
    speed.description.scaling.factor = 0.125;
    speed.description.scaling.offset = -40;
    speed.description.rules.limits = monitor::ValueRange{-1.5, 8000};
    speed.records = {recordsOf<J1939Value>({8U, 16U}), {1000000, 500000}, 3, 4};
    SavedSignal text;
    text.description.reportedName = "Text";
    text.description.layout.length = 16;
    text.description.layout.passThrough = true;
    text.description.layout.datatype = CAN::CANopenDataType::VISIBLE_STRING;
    text.records.values = recordsOf<CANopenObjectValue>({QString("Ok")});
    text.records.microseconds = {monitor::SignalSeries::noTime};
    run.recordedSignals = {speed, text};
    return run;
}

} // namespace

TEST_F(SavedRunFile, WrittenRunIsReadBackUnchanged)
{
    contentOf(smallRun());
    SavedRun run;
    ASSERT_EQ(monitor::readSavedRun(path("run"), run), QString());
    EXPECT_EQ(run.k, 2.5);
    EXPECT_EQ(run.counts.total, 9);
    EXPECT_EQ(run.counts.decoded, 7);
    EXPECT_EQ(run.counts.unreadable, 1);
    EXPECT_EQ(run.counts.transport.interrupted, 8);
    EXPECT_EQ(run.firstTime, 1000000);
    ASSERT_EQ(run.recordedSignals.size(), 2);
    const SavedSignal& speed = run.recordedSignals.at(0);
    EXPECT_EQ(speed.protocol, monitor::Protocol::J1939);
    EXPECT_EQ(speed.source, quint8{255});
    EXPECT_EQ(speed.description.reportedName,
              QString::fromUtf8("Geschwindigkeit \u00e4") + QChar(0) + "1");
    EXPECT_EQ(speed.bus, QString("can0"));
    EXPECT_EQ(speed.description.comment, QString::fromUtf8("of the \u00e4 shaft\n<b>"));
    EXPECT_EQ(speed.description.valueTexts,
              (QHash<quint64, QString>{{3, "three"}, {16, "idle"}, {0xFFFF, ""}}));
    EXPECT_EQ(speed.description.scaling.unit, QString("rpm"));
    EXPECT_EQ(speed.description.layout.length, 16);
    EXPECT_EQ(speed.description.scaling.factor, 0.125);
    EXPECT_EQ(speed.description.scaling.offset, -40);
    EXPECT_EQ(speed.description.rules.limits->highest, 8000);
    EXPECT_EQ(speed.description.layout.datatype, std::nullopt);
    EXPECT_EQ(speed.records.microseconds, (QVector<qint64>{1000000, 500000}));
    EXPECT_EQ(speed.records.notAvailable, 3);
    EXPECT_EQ(speed.records.errors, 4);
    const auto& values = std::get<QVector<J1939Value>>(speed.records.values);
    ASSERT_EQ(values.size(), 2);
    EXPECT_EQ(values.at(1).rawValue, QVariant(16U));
    const SavedSignal& text = run.recordedSignals.at(1);
    EXPECT_EQ(text.source, std::nullopt);
    EXPECT_TRUE(text.description.layout.passThrough);
    EXPECT_EQ(text.description.layout.datatype, CAN::CANopenDataType::VISIBLE_STRING);
    EXPECT_EQ(text.description.rules.limits.has_value(), false);
    EXPECT_EQ(std::get<QVector<CANopenObjectValue>>(text.records.values).at(0).rawValue,
              QVariant("Ok"));
}

TEST_F(SavedRunFile, TruncatedFileIsAnError)
{
    const QByteArray content = contentOf(smallRun());
    ASSERT_EQ(errorOf(content), QString());
    for (int length = 0; length < content.size(); ++length)
        EXPECT_NE(errorOf(content.left(length)), QString()) << length;
}

TEST_F(SavedRunFile, TruncatedFileWithACorrectHashIsAnError)
{
    QByteArray content = contentOf(smallRun());
    content.chop(hashSize);
    ASSERT_EQ(errorOf(hashed(content)), QString());
    for (int length = 0; length < content.size(); ++length) {
        const QString error = errorOf(hashed(content.left(length)));
        EXPECT_NE(error, QString()) << length;
        EXPECT_FALSE(error.contains("unexpected data")) << length;
    }
    EXPECT_TRUE(errorOf(hashed(content + '\0')).contains("unexpected data at the end"));
}

TEST_F(SavedRunFile, AnyChangedByteIsAnError)
{
    const QByteArray content = contentOf(smallRun());
    for (int i = 0; i < content.size(); ++i) {
        QByteArray changed = content;
        changed[i] = static_cast<char>(changed.at(i) ^ 0x10);
        EXPECT_NE(errorOf(changed), QString()) << i;
    }
}

TEST_F(SavedRunFile, ErrorDistinguishesOtherFilesFromOtherVersions)
{
    EXPECT_EQ(errorOf("(1.0) can0 123#11 and so on"), QString("not a saved run"));
    QByteArray content = contentOf(smallRun());
    for (const char version : {char(0), char(3)}) {
        content[11] = version;
        EXPECT_EQ(errorOf(content),
                  QString("has version %1; this program reads versions 1 to 2").arg(int(version)));
    }
}

// With a correct hash, so that only the parser can reject the content.
TEST_F(SavedRunFile, HostileBytesAreReadOrRejected)
{
    QByteArray content = contentOf(smallRun());
    content.chop(hashSize);
    int rejected = 0;
    for (int i = 12; i < content.size(); ++i) {
        for (const int byte : {0x00, 0x7F, 0x80, 0xFF}) {
            QByteArray hostile = content;
            hostile[i] = static_cast<char>(byte);
            rejected += errorOf(hashed(hostile)).isEmpty() ? 0 : 1;
        }
    }
    EXPECT_GT(rejected, content.size() / 2);
}

TEST_F(SavedRunFile, RecordOfUnsupportedTypeIsRejectedBeforeItIsRead)
{
    SavedRun run = smallRun();
    run.recordedSignals[1].records.values =
        recordsOf<CANopenObjectValue>({QVariant(QVariantList{1, 2})});
    EXPECT_TRUE(errorOf(contentOf(run))
                    .startsWith("invalid content: truncated record, or unsupported type (byte "));
}

TEST_F(SavedRunFile, InvalidDescriptionsAreRejected)
{
    const auto isRejected = [this](auto change) {
        SavedRun run = smallRun();
        change(run.recordedSignals[1].description);
        return errorOf(contentOf(run)).contains("invalid signal description");
    };
    EXPECT_FALSE(isRejected([](auto&) {}));
    EXPECT_TRUE(isRejected([](auto& description) { description.layout.length = 0; }));
    EXPECT_TRUE(isRejected([](auto& description) { description.layout.length = 65; }));
    EXPECT_TRUE(isRejected([](auto& description) { description.layout.isFloat = true; }));
    EXPECT_TRUE(isRejected([](auto& description) { description.scaling.factor = qInf(); }));
    EXPECT_TRUE(isRejected([](auto& description) { description.scaling.offset = qQNaN(); }));
    EXPECT_TRUE(isRejected([](auto& description) { description.layout.datatype.reset(); }));
    EXPECT_TRUE(isRejected([](auto& description) {
        description.rules.limits = monitor::ValueRange{2, 1};
    }));
}

// The texts are near the end of the file, each after its raw value and its length.
TEST_F(SavedRunFile, ValueTextsOutOfOrderOrRangeAreRejected)
{
    SavedRun run = smallRun();
    run.recordedSignals = {run.recordedSignals.at(0)};
    run.recordedSignals[0].records = {QVector<J1939Value>(), {}, 0, 0};
    run.recordedSignals[0].description.valueTexts = {{1, "a"}, {2, "b"}};
    QByteArray content = contentOf(run);
    content.chop(hashSize);
    constexpr int counts = 8 + 8 + 4 + 1 + 4; // not available, errors, records, complete, ids
    const auto isRejected = [&](const QByteArray& texts) {
        QByteArray changed = content;
        changed.replace(content.size() - counts - texts.size(), texts.size(), texts);
        const QString error = errorOf(hashed(changed));
        return error.contains("invalid texts of a signal");
    };
    const QByteArray written = valueText(1, "a") + valueText(2, "b");
    ASSERT_EQ(content.mid(content.size() - counts - written.size(), written.size()), written);
    EXPECT_FALSE(isRejected(valueText(0, "x") + valueText(0xFFFF, "y")));
    EXPECT_TRUE(isRejected(valueText(2, "a") + valueText(1, "b")));
    EXPECT_TRUE(isRejected(valueText(2, "a") + valueText(2, "b")));
    EXPECT_TRUE(isRejected(valueText(0, "a") + valueText(0x10000, "b"))); // of 16 bits
}

TEST_F(SavedRunFile, UndecodedIdsAndAnEarlyEndAreKept)
{
    SavedRun run = smallRun();
    run.isComplete = false;
    run.undecoded = {{"can1", 0x18FEF100, true, 7}, {QString(), 0x701, false, 1}};
    const QByteArray content = contentOf(run);
    SavedRun read;
    ASSERT_EQ(parseSavedRun(content, read), QString());
    EXPECT_FALSE(read.isComplete);
    ASSERT_EQ(read.undecoded.size(), 2);
    EXPECT_EQ(read.undecoded.at(0).bus, QString("can1"));
    EXPECT_EQ(read.undecoded.at(0).id, 0x18FEF100U);
    EXPECT_EQ(read.undecoded.at(0).frames, 7);
    EXPECT_TRUE(read.undecoded.at(0).extended);
    EXPECT_FALSE(read.undecoded.at(1).extended);
    run.undecoded[1].id = 0x800; // more than 11 bits
    EXPECT_TRUE(errorOf(contentOf(run)).contains("invalid undecoded id"));
}

TEST_F(SavedRunFile, CountOfValueTextsIsNotTrusted)
{
    SavedRun run = smallRun();
    run.recordedSignals = {run.recordedSignals.at(1)};
    QByteArray content = contentOf(run);
    content.chop(hashSize);
    const QByteArray noTexts =
        QByteArray(12, '\0') + QByteArray(16, '\0') + QByteArray("\0\0\0\1", 4);
    const auto place = content.indexOf(noTexts); // comment, bus, texts, counts, one record
    ASSERT_GT(place, 0);
    content.replace(place + 8, 4, QByteArray(4, '\xFF'));
    EXPECT_TRUE(errorOf(hashed(content)).contains("invalid texts of a signal"));
}

TEST_F(SavedRunFile, TimesWhoseDifferencesOverflowAreRejected)
{
    SavedRun run = smallRun();
    run.recordedSignals[0].records.microseconds[1] = std::numeric_limits<qint64>::max();
    EXPECT_TRUE(errorOf(contentOf(run)).contains("time out of range"));
    run = smallRun();
    run.firstTime = std::numeric_limits<qint64>::min() + 1;
    EXPECT_TRUE(errorOf(contentOf(run)).contains("time out of range"));
}

TEST_F(SavedRunFile, ErrorNamesAnUnwritableFile)
{
    const QString fileName = path("missing/run");
    EXPECT_TRUE(monitor::writeSavedRun(fileName, smallRun())
                    .startsWith(fileName + ": cannot be written: "));
}

TEST_F(SavedRunFile, TooManySignalsAreAnErrorAndLeaveTheFileUnchanged)
{
    const QByteArray before = contentOf(smallRun());
    SavedRun run = smallRun();
    run.recordedSignals.fill(run.recordedSignals.at(1), 10001);
    EXPECT_TRUE(monitor::writeSavedRun(path("run"), run).contains("the run is too large"));
    QFile file(path("run"));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll(), before);
}

TEST_F(SavedRunFile, FullDiskLeavesThePreviousFileUnchanged)
{
    const QByteArray before = contentOf(smallRun());
    SavedRun run = smallRun();
    run.recordedSignals[0].records.values = recordsOf<J1939Value>({1U, 2U, 3U});
    run.recordedSignals[0].records.microseconds = {1, 2, 3};
    QString error;
    {
        const FileSizeLimit limit(static_cast<rlim_t>(before.size()));
        error = monitor::writeSavedRun(path("run"), run);
    }
    EXPECT_TRUE(error.startsWith(path("run") + ": cannot be written: ")) << error.toStdString();
    QFile file(path("run"));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll(), before);
}

TEST_F(SavedRunFile, FullDiskLeavesNoImage)
{
    QImage image(100, 100, QImage::Format_RGB32);
    image.fill(Qt::blue);
    QString error;
    {
        const FileSizeLimit limit(10);
        error = monitor::writeImage(image, path("image"));
    }
    EXPECT_TRUE(error.startsWith(path("image"))) << error.toStdString();
    EXPECT_FALSE(QFile::exists(path("image")));
}
