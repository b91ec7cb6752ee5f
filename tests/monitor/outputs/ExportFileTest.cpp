#include "../app/FileSizeLimit.h"
#include "../catalogue/Descriptions.h"
#include "../sources/FrameList.h"

#include <outputs/ExportFile.h>

#include <gtest/gtest.h>

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <random>

using CAN::CANopenDataType;
using monitor::CatalogueMessage;
using monitor::CatalogueSignal;
using monitor::Frame;
using monitor::Session;

namespace
{

const QByteArray header = "time,signal,source,raw,value,text,unit,bus\r\n";
const QByteArray before = header + "1.0,Earlier,,1,1,,,\r\n";

class ExportFile : public testing::Test
{
protected:
    QString path() const { return directory.filePath("values.csv"); }

    QByteArray content() const
    {
        QFile file(path());
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        return file.readAll();
    }

    /// Exports the values in \a frames to path().
    void exportValues(Session& session, const QVector<Frame>& frames,
                      const QStringList& buses = {"can0"})
    {
        monitor::ExportFile output(path());
        ASSERT_EQ(output.check(), QString());
        session.addValueSink(*output.valueSink());
        FrameList source(frames, buses);
        session.takeAll(source);
        const monitor::Snapshot snapshot = session.calcSnapshot();
        const monitor::OutputResult result = output.write({session, snapshot}, {});
        EXPECT_EQ(result.error, QString());
        EXPECT_EQ(result.notes, QStringList());
    }

    /// The lines after the header.
    QList<QByteArray> linesOf(const QVector<CatalogueMessage>& messages,
                              const QVector<Frame>& frames, const QStringList& buses = {"can0"})
    {
        Session session(messages, 3);
        exportValues(session, frames, buses);
        QByteArray text = content();
        EXPECT_TRUE(text.startsWith(header)) << text.constData();
        EXPECT_TRUE(text.endsWith("\r\n"));
        QList<QByteArray> lines = text.mid(header.size()).replace("\r\n", "\n").split('\n');
        lines.removeLast();
        return lines;
    }

    QTemporaryDir directory;
};

/// A frame of the id 0x18FEEE31 with \a bits as data, the least significant byte first.
Frame frameOf(quint64 bits, std::optional<qint64> nanoseconds = std::nullopt)
{
    Frame frame;
    frame.id = 0x18FEEE31;
    frame.extended = true;
    frame.nanoseconds = nanoseconds;
    frame.length = 8;
    for (size_t i = 0; i < 8; ++i)
        frame.data.at(i) = static_cast<quint8>(bits >> 8 * i & 0xFF);
    return frame;
}

QVector<CatalogueMessage> j1939(const CatalogueSignal& signal)
{
    return {describedMessage(0x18FEEE31, {signal})};
}

QVector<CatalogueMessage> canopen(const CatalogueSignal& signal)
{
    CatalogueMessage message = describedMessage(0x18FEEE31, {signal});
    message.protocol = monitor::Protocol::CANopen;
    return {message};
}

CatalogueSignal objectOf(CANopenDataType datatype, int length, bool isSigned = false)
{
    CatalogueSignal signal = describedSignal(0, length);
    signal.layout.datatype = datatype;
    signal.layout.isSigned = isSigned;
    return signal;
}

CatalogueSignal passedThrough(CANopenDataType datatype, int length)
{
    CatalogueSignal signal = objectOf(datatype, length);
    signal.layout.passThrough = true;
    return signal;
}

/// Cell \a number, counted from 0, of a line without quotes.
QByteArray cell(const QByteArray& line, int number)
{
    return line.split(',').value(number);
}

constexpr int rawCell = 3;
constexpr int valueCell = 4;

/// The size of all files that the process has open. They need not have a name.
qint64 openBytes()
{
    qint64 bytes = 0;
    for (const QFileInfo& file : QDir("/proc/self/fd").entryInfoList(QDir::Files | QDir::System))
        bytes += file.size();
    return bytes;
}

template <typename T>
quint64 bitsOf(T number)
{
    quint64 bits = 0;
    std::memcpy(&bits, &number, sizeof number);
    return bits;
}

} // namespace

TEST_F(ExportFile, EachValueIsALineWithAllItsFields)
{
    CatalogueSignal signal = describedSignal(0, 16);
    signal.reportedName = "Speed";
    signal.scaling = {0.5, -10, "rpm"};
    signal.valueTexts = {{30, "warm"}};
    EXPECT_EQ(linesOf(j1939(signal), {frameOf(30, 1635188455020850001), frameOf(25, 7)}),
              (QList<QByteArray>{"1635188455.020850001,Speed,49,30,5,warm,rpm,can0",
                                 "0.000000007,Speed,49,25,2.5,,rpm,can0"}));
}

TEST_F(ExportFile, RunWithoutValuesHasOnlyTheHeader)
{
    EXPECT_EQ(linesOf({}, {frameOf(1)}), QList<QByteArray>());
}

TEST_F(ExportFile, TextsWithSeparatorsAreQuoted)
{
    CatalogueSignal signal = describedSignal(0, 16);
    signal.reportedName = "Oil, \"hot\"";
    signal.scaling.unit = "a\nb";
    signal.valueTexts = {{1, QString::fromUtf8("wärmer, wärmst")}};
    Session session(j1939(signal), 3);
    exportValues(session, {frameOf(1)}, {"can \"0\""});
    EXPECT_EQ(content(),
              header + QByteArray(",\"Oil, \"\"hot\"\"\",49,1,1,\"wärmer, wärmst\",\"a\nb\","
                                  "\"can \"\"0\"\"\"\r\n"));
}

TEST_F(ExportFile, ValueIsEmptyIfItIsNotAvailableOrAnError)
{
    EXPECT_EQ(linesOf(j1939(describedSignal(0, 8)), {frameOf(5), frameOf(0xFF), frameOf(0xFE)}),
              (QList<QByteArray>{",Signal,49,5,5,,,can0", ",Signal,49,255,,,,can0",
                                 ",Signal,49,254,,,,can0"}));
}

TEST_F(ExportFile, TimeIsEmptyIfItIsUnknown)
{
    const auto lines = linesOf(j1939(describedSignal(0, 8)), {frameOf(1), frameOf(2, 0)});
    ASSERT_EQ(lines.size(), 2);
    EXPECT_EQ(cell(lines.at(0), 0), QByteArray());
    EXPECT_EQ(cell(lines.at(1), 0), QByteArray("0.000000000"));
}

TEST_F(ExportFile, EachValueNamesItsBus)
{
    Frame other = frameOf(2);
    other.bus = 1;
    const auto lines =
        linesOf(j1939(describedSignal(0, 8)), {frameOf(1), other, frameOf(3)}, {"can0", "can1"});
    ASSERT_EQ(lines.size(), 3);
    EXPECT_TRUE(lines.at(0).endsWith(",can0"));
    EXPECT_TRUE(lines.at(1).endsWith(",can1"));
    EXPECT_TRUE(lines.at(2).endsWith(",can0"));
    EXPECT_TRUE(
        linesOf(j1939(describedSignal(0, 8)), {frameOf(1)}, {QString()}).at(0).endsWith(','));
}

TEST_F(ExportFile, SourceIsTheNodeOrEmpty)
{
    auto messages = canopen(describedSignal(0, 8));
    EXPECT_EQ(cell(linesOf(messages, {frameOf(1)}).value(0), 2), QByteArray());
    messages[0].node = quint8{5};
    EXPECT_EQ(cell(linesOf(messages, {frameOf(1)}).value(0), 2), QByteArray("5"));
}

TEST_F(ExportFile, SignalsOfAFrameAreInTheOrderOfTheirDescription)
{
    CatalogueSignal first = describedSignal(8, 8);
    first.reportedName = "B";
    CatalogueSignal second = describedSignal(0, 8);
    second.reportedName = "A";
    const auto lines = linesOf({describedMessage(0x18FEEE31, {first, second})}, {frameOf(0x0201)});
    ASSERT_EQ(lines.size(), 2);
    EXPECT_TRUE(lines.at(0).startsWith(",B,49,2,"));
    EXPECT_TRUE(lines.at(1).startsWith(",A,49,1,"));
}

TEST_F(ExportFile, IntegersOfAllSizesAreExact)
{
    struct Case {
        CANopenDataType datatype;
        int length;
        bool isSigned;
        quint64 bits;
        const char* raw;
    };
    using Type = CANopenDataType;
    for (const Case& given :
         {Case{Type::UNSIGNED8, 8, false, 0x41, "65"}, Case{Type::UNSIGNED8, 8, false, 0xFF, "255"},
          Case{Type::INTEGER8, 8, true, 0x80, "-128"},
          Case{Type::UNSIGNED16, 16, false, 0xFFFF, "65535"},
          Case{Type::INTEGER16, 16, true, 0x8000, "-32768"},
          Case{Type::UNSIGNED32, 32, false, 0xFFFFFFFF, "4294967295"},
          Case{Type::INTEGER32, 32, true, 0x80000000, "-2147483648"},
          Case{Type::UNSIGNED64, 64, false, 0xFFFFFFFFFFFFFFFF, "18446744073709551615"},
          Case{Type::UNSIGNED64, 64, false, 0x20000000000001, "9007199254740993"},
          Case{Type::INTEGER64, 64, true, 0x8000000000000000, "-9223372036854775808"},
          Case{Type::INTEGER64, 64, true, 0x7FFFFFFFFFFFFFFF, "9223372036854775807"}}) {
        const auto lines = linesOf(canopen(objectOf(given.datatype, given.length, given.isSigned)),
                                   {frameOf(given.bits)});
        ASSERT_EQ(lines.size(), 1);
        EXPECT_EQ(cell(lines.at(0), rawCell), QByteArray(given.raw));
    }
}

TEST_F(ExportFile, PassThroughValuesAreTextsBytesOrNumbers)
{
    using Type = CANopenDataType;
    EXPECT_EQ(
        cell(linesOf(canopen(passedThrough(Type::VISIBLE_STRING, 32)), {frameOf(0x6B4F)}).value(0),
             rawCell),
        QByteArray("Ok"));
    EXPECT_TRUE(linesOf(canopen(passedThrough(Type::VISIBLE_STRING, 32)), {frameOf(0x2C22)})
                    .value(0)
                    .startsWith(",Signal,,\"\"\",\","));
    EXPECT_EQ(
        cell(linesOf(canopen(passedThrough(Type::OCTET_STRING, 32)), {frameOf(0x6B4F)}).value(0),
             rawCell),
        QByteArray("4f 6b 00 00"));
    EXPECT_EQ(
        cell(linesOf(canopen(passedThrough(Type::UNSIGNED56, 56)), {frameOf(0xFFFFFFFFFFFFFF)})
                 .value(0),
             rawCell),
        QByteArray("72057594037927935"));
}

// Read back by the C library, which is independent of the formatting by Qt.
TEST_F(ExportFile, FloatsAreReadBackExactly)
{
    CatalogueSignal shortFloat = objectOf(CANopenDataType::REAL32, 32);
    shortFloat.layout.isFloat = true;
    CatalogueSignal longFloat = objectOf(CANopenDataType::REAL64, 64);
    longFloat.layout.isFloat = true;
    for (const float number : {0.1F, -1.5F, 3.4e38F, 1e-45F, 16777217.0F}) {
        const auto lines = linesOf(canopen(shortFloat), {frameOf(bitsOf(number))});
        ASSERT_EQ(lines.size(), 1);
        EXPECT_EQ(std::strtof(cell(lines.at(0), rawCell).constData(), nullptr), number);
        EXPECT_EQ(std::strtof(cell(lines.at(0), valueCell).constData(), nullptr), number);
    }
    for (const double number : {0.1, -1.5, 1.7e308, 5e-324, 9007199254740993.0}) {
        const auto lines = linesOf(canopen(longFloat), {frameOf(bitsOf(number))});
        ASSERT_EQ(lines.size(), 1);
        EXPECT_EQ(std::strtod(cell(lines.at(0), rawCell).constData(), nullptr), number);
        EXPECT_EQ(std::strtod(cell(lines.at(0), valueCell).constData(), nullptr), number);
    }
}

TEST_F(ExportFile, FloatThatIsNotANumberHasNoValue)
{
    CatalogueSignal signal = objectOf(CANopenDataType::REAL64, 64);
    signal.layout.isFloat = true;
    const auto lines =
        linesOf(canopen(signal), {frameOf(bitsOf(std::numeric_limits<double>::quiet_NaN())),
                                  frameOf(bitsOf(std::numeric_limits<double>::infinity()))});
    ASSERT_EQ(lines.size(), 2);
    EXPECT_EQ(cell(lines.at(0), valueCell), QByteArray());
    EXPECT_EQ(cell(lines.at(1), valueCell), QByteArray());
}

TEST_F(ExportFile, ValuesAreThoseThatAreRecorded)
{
    CatalogueSignal signal = describedSignal(0, 16);
    signal.scaling = {0.1, -40.3, "kPa"};
    signal.rules.reservesRawValues = false;
    signal.rules.keptRecords = 10000;
    std::mt19937 random(1939);
    QVector<Frame> frames;
    for (int i = 0; i < 2000; ++i)
        frames.append(frameOf(random() & 0xFFFF, i));
    Session session(j1939(signal), 3);
    exportValues(session, frames);
    const QList<QByteArray> lines = content().mid(header.size()).split('\n');
    const monitor::SignalSeries series = session.registry().at(0).getSeries();
    ASSERT_EQ(series.values.size(), frames.size());
    for (int i = 0; i < frames.size(); ++i) {
        const QByteArray text = cell(lines.at(i), valueCell);
        ASSERT_EQ(std::strtod(text.constData(), nullptr), series.values.at(i)) << i;
        const quint32 raw = frames.at(i).data[0] | static_cast<quint32>(frames.at(i).data[1]) << 8;
        ASSERT_EQ(cell(lines.at(i), rawCell), QByteArray::number(raw)) << i;
        ASSERT_NEAR(text.toDouble(), raw * 0.1 - 40.3, 1e-9) << i;
    }
}

TEST_F(ExportFile, LimitOfKeptRecordsDoesNotLimitTheExport)
{
    CatalogueSignal signal = describedSignal(0, 8);
    signal.rules.keptRecords = 2;
    QVector<Frame> frames;
    for (quint64 i = 0; i < 100; ++i)
        frames.append(frameOf(i));
    const auto lines = linesOf(j1939(signal), frames);
    ASSERT_EQ(lines.size(), 100);
    for (int i = 0; i < 100; ++i)
        EXPECT_EQ(cell(lines.at(i), valueCell), QByteArray::number(i));
}

// Memory may only hold lines that have not been written yet.
TEST_F(ExportFile, LinesAreWrittenDuringTheRun)
{
    const qint64 earlier = openBytes();
    monitor::ExportFile output(path());
    ASSERT_EQ(output.check(), QString());
    CatalogueSignal description = describedSignal(0, 8);
    description.reportedName = QString(1000, 'x');
    const monitor::MonitoredSignal signal({}, description, std::nullopt);
    constexpr qint64 values = 20000;
    for (int i = 0; i < values; ++i)
        output.valueSink()->take({signal, 0, {}, 1, monitor::Availability::Measured, i});
    const qint64 written = openBytes() - earlier;
    EXPECT_GT(written, (values - 2000) * 1000);
}

TEST_F(ExportFile, ExistingFileIsUnchangedUntilTheEndOfTheRun)
{
    QFile existing(path());
    ASSERT_TRUE(existing.open(QIODevice::WriteOnly));
    existing.write(before);
    existing.close();
    auto output = std::make_unique<monitor::ExportFile>(path());
    ASSERT_EQ(output->check(), QString());
    Session session(j1939(describedSignal(0, 8)), 3);
    session.addValueSink(*output->valueSink());
    session.take(frameOf(1));
    EXPECT_EQ(content(), before);
    output.reset();
    EXPECT_EQ(content(), before);
    EXPECT_EQ(QDir(directory.path()).entryList(QDir::Files | QDir::Hidden),
              QStringList("values.csv"));
}

TEST_F(ExportFile, FileWithOtherContentsIsNotReplaced)
{
    QFile existing(path());
    ASSERT_TRUE(existing.open(QIODevice::WriteOnly));
    existing.write("(1.0) can0 123#11\n");
    existing.close();
    EXPECT_EQ(monitor::ExportFile(path()).check(),
              path() + ": cannot be written: the file exists and has other contents");
    EXPECT_EQ(monitor::ExportFile("-").check(),
              QString("-: cannot be written: standard output is for the statistics; name a file"));
}

TEST_F(ExportFile, ExistingFileIsReplacedAtTheEndOfTheRun)
{
    QFile existing(path());
    ASSERT_TRUE(existing.open(QIODevice::WriteOnly));
    existing.write(header + QByteArray(10000, 'x'));
    existing.close();
    EXPECT_EQ(linesOf(j1939(describedSignal(0, 8)), {frameOf(1)}).size(), 1);
}

TEST_F(ExportFile, FullDiskIsAnErrorAndLeavesAnExistingFileUnchanged)
{
    QFile existing(path());
    ASSERT_TRUE(existing.open(QIODevice::WriteOnly));
    existing.write(before);
    existing.close();
    Session session(j1939(describedSignal(0, 8)), 3);
    QString error;
    {
        const FileSizeLimit limit(1000);
        monitor::ExportFile output(path());
        ASSERT_EQ(output.check(), QString());
        session.addValueSink(*output.valueSink());
        for (int i = 0; i < 100000; ++i)
            session.take(frameOf(1, i));
        const monitor::Snapshot snapshot = session.calcSnapshot();
        error = output.write({session, snapshot}, {}).error;
    }
    EXPECT_TRUE(error.startsWith(path() + ": cannot be written: " + qt_error_string(EFBIG) +
                                 " (after 1000 bytes); the statistics"))
        << error.toStdString();
    EXPECT_EQ(content(), before);
}

TEST_F(ExportFile, DirectoryOrMissingDirectoryIsAnErrorBeforeTheRun)
{
    monitor::ExportFile onDirectory(directory.path());
    EXPECT_TRUE(onDirectory.check().startsWith(directory.path() + ": cannot be written: "));
    const QString missing = directory.filePath("missing/values.csv");
    monitor::ExportFile inMissing(missing);
    EXPECT_TRUE(inMissing.check().startsWith(missing + ": cannot be written: "));
}
