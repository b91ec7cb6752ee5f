// Measures whole replays: reading a log, finding messages, recording values and computing their
// statistics. Compares processor times with a loop over the digits of the log, see textFloors.h.
// The argument is the number of frames in each log.

#include "measuring.h"
#include "textFloors.h"

#include <engine/Session.h>
#include <sources/recording/formats.h>

#include <QtCore/QElapsedTimer>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <stdexcept>
#include <vector>

using monitor::CatalogueMessage;
using monitor::CatalogueSignal;
using monitor::Frame;
using monitor::Session;

namespace
{

constexpr int runs = 5;

/// The lengths of the signals of a message, in bits.
using Layout = std::vector<int>;
const Layout narrow = {16, 12, 8, 8, 4, 12, 4};
const Layout wide = {32, 32};

/// The times of a function in seconds, the fastest of several runs.
struct Times {
    double processor = 1e9;
    double wall = 1e9;
};

template <typename Function>
Times fastest(Function function)
{
    Times best;
    for (int run = 0; run < runs; ++run) {
        QElapsedTimer timer;
        timer.start();
        const double before = processorSeconds();
        function();
        best.processor = std::min(best.processor, processorSeconds() - before);
        best.wall = std::min(best.wall, static_cast<double>(timer.nsecsElapsed()) / 1e9);
    }
    return best;
}

quint32 idOf(int message)
{
    return 0x18000000U + static_cast<quint32>(message);
}

/// Messages with 29-bit ids that have \a signalCount signals together.
QVector<CatalogueMessage> messagesWith(int signalCount, const Layout& layout = narrow)
{
    QVector<CatalogueMessage> messages;
    for (int known = 0; known < signalCount;) {
        CatalogueMessage message;
        message.id = idOf(static_cast<int>(messages.size()));
        message.extended = true;
        message.size = 8;
        int bit = 0;
        for (const int bits : layout) {
            if (known == signalCount)
                break;
            CatalogueSignal signal;
            signal.reportedName = QStringLiteral("S%1").arg(known++);
            signal.layout.startBit = bit;
            signal.layout.length = bits;
            signal.scaling.factor = 0.125;
            message.catalogueSignals.append(signal);
            bit += bits;
        }
        messages.append(message);
    }
    return messages;
}

/// Frames of \a ids messages in turn, whose data change slowly or are random.
std::vector<Frame> framesOf(int ids, int count, bool isRandom = false)
{
    std::mt19937_64 random(1939);
    std::vector<quint64> data(static_cast<size_t>(ids));
    std::generate(data.begin(), data.end(), random);
    std::vector<Frame> frames(static_cast<size_t>(count));
    for (int i = 0; i < count; ++i) {
        Frame& frame = frames[static_cast<size_t>(i)];
        frame.id = idOf(i % ids);
        frame.extended = true;
        frame.length = 8;
        frame.nanoseconds = 1635188455000000000 + i * 100000LL;
        quint64& bytes = data[static_cast<size_t>(i % ids)];
        bytes += random() & (isRandom ? ~0ULL : 0x0001000200030007ULL);
        for (size_t byte = 0; byte < 8; ++byte)
            frame.data[byte] = static_cast<quint8>(bytes >> 8 * byte);
    }
    return frames;
}

/// Writes \a frames as a log, with a line of the given \a form for each.
QString writeLog(const QTemporaryDir& folder, const std::vector<Frame>& frames, bool isAsc)
{
    const QString name = folder.filePath(QStringLiteral("recording"));
    QFile file(name);
    file.open(QIODevice::WriteOnly);
    file.write(isAsc ? "base hex  timestamps absolute\n" : "");
    QByteArray lines;
    for (const Frame& frame : frames) {
        char line[128];
        const auto microseconds = static_cast<long long>(*frame.nanoseconds / 1000);
        int size = std::snprintf(line, sizeof line,
                                 isAsc ? "%lld.%06lld 1  %08Xx       Rx   d 8"
                                       : "(%lld.%06lld) can1 %08X#",
                                 microseconds / 1000000, microseconds % 1000000, frame.id);
        for (size_t byte = 0; byte < frame.length; ++byte)
            size += std::snprintf(line + size, sizeof line - static_cast<size_t>(size),
                                  isAsc ? " %02X" : "%02X", frame.data[byte]);
        lines += QByteArray(line, size) + '\n';
    }
    if (file.write(lines) != lines.size())
        throw std::runtime_error("the log cannot be written");
    return name;
}

qint64 valuesIn(Session& session)
{
    qint64 values = 0;
    for (const monitor::SnapshotRow& row : session.calcSnapshot().rows)
        values += row.statistics->count;
    return values;
}

/// Replays the log \a name on \a threads threads, and returns the number of values.
qint64 replay(const QString& name, const QVector<CatalogueMessage>& messages, int threads)
{
    const auto recording = monitor::openRecording(name);
    if (!recording.source)
        throw std::runtime_error(recording.error.toStdString());
    Session session(messages, 3);
    session.takeAll(*recording.source, threads);
    return valuesIn(session);
}

/// Frames in memory as a source.
class FrameArray : public monitor::FrameSource
{
public:
    explicit FrameArray(const std::vector<Frame>& given) : frames(given) {}

    [[nodiscard]] bool next(Frame& frame) override { return read(&frame, 1) == 1; }
    [[nodiscard]] int read(Frame* read, int size) override
    {
        const size_t count = std::min(static_cast<size_t>(size), frames.size() - position);
        std::copy_n(frames.begin() + static_cast<std::ptrdiff_t>(position), count, read);
        position += count;
        return static_cast<int>(count);
    }
    monitor::SourceCounts counts() const override { return {}; }
    QString error() const override { return QString(); }

private:
    const std::vector<Frame>& frames;
    size_t position = 0;
};

/// A log of a bus on which a few of 30 messages are described, compared with the loop over digits.
template <void (TextFloor::*readText)(const char* text, const char* end)>
void compareWithFloor(const QTemporaryDir& folder, int frames, bool isAsc, double target)
{
    const QString name = writeLog(folder, framesOf(30, frames), isAsc);
    QVector<CatalogueMessage> described = messagesWith(50);
    for (CatalogueMessage& message : described)
        message.catalogueSignals.resize(1);
    quint64 sum = 0;
    const Times floor = fastest([&] {
        QFile file(name);
        file.open(QIODevice::ReadOnly);
        const auto* const text = reinterpret_cast<const char*>(file.map(0, file.size()));
        TextFloor digits;
        (digits.*readText)(text, text + file.size());
        sum += digits.sum();
    });
    const Times whole = fastest([&] { sum += static_cast<quint64>(replay(name, described, 1)); });
    if (sum == 0)
        throw std::runtime_error("nothing was read");
    const double mb = static_cast<double>(QFile(name).size()) / 1e6;
    report({isAsc ? "replay of an ASC log" : "replay of a candump log",
            "1 thread",
            whole.processor / floor.processor,
            "x loop over digits",
            target,
            {{"log, MB", mb},
             {"time, s", whole.processor},
             {"MB/s", mb / whole.processor},
             {"loop over digits, s", floor.processor}}});
}

void measureUndescribed(int frames)
{
    const std::vector<Frame> unknown = framesOf(300, frames);
    const auto take = [&](bool isRecorded) {
        return fastest([&] {
            FrameArray source(unknown);
            Session session({}, 3);
            std::vector<Frame> block(1024);
            if (isRecorded)
                session.takeAll(source);
            while (source.read(block.data(), static_cast<int>(block.size())) > 0) {
            }
        });
    };
    const double seconds = take(true).processor - take(false).processor;
    report({"frame that is not described",
            "300 ids, without reading",
            seconds * 1e9 / frames,
            "ns",
            30,
            {{"frames", frames}}});
}

/// Values of at most 16 bits that change slowly, or random ones of 32 bits, which hardly ever
/// repeat.
void measureValues(const QTemporaryDir& folder, int frames, int signalCount, bool isRandom)
{
    const QVector<CatalogueMessage> messages = messagesWith(signalCount, isRandom ? wide : narrow);
    const QString name =
        writeLog(folder, framesOf(static_cast<int>(messages.size()), frames, isRandom), false);
    qint64 values = 0;
    const Times one = fastest([&] { values = replay(name, messages, 1); });
    const Times two = fastest([&] { values = replay(name, messages, 2); });
    const QString signalsText = QStringLiteral("%1 signals").arg(signalCount);
    for (const auto& [threads, times] : {std::pair("1 thread", one), std::pair("2 threads", two)})
        report({isRandom ? "replay, random 32-bit value" : "replay, value of up to 16 bits",
                QStringLiteral("%1, %2").arg(signalsText, QLatin1String(threads)),
                times.processor * 1e9 / static_cast<double>(values),
                "ns",
                150,
                {{"values", static_cast<double>(values)},
                 {"processor time, s", times.processor},
                 {"elapsed time, s", times.wall}}});
    if (!isRandom)
        report({"replay, time of 2 threads",
                signalsText,
                two.wall / one.wall,
                "x 1 thread",
                0.6,
                {{"1 thread, s", one.wall}, {"2 threads, s", two.wall}}});
}

} // namespace

int main(int argc, char** argv)
{
    const int frames = argc > 1 ? std::atoi(argv[1]) : 1000000;
    const QTemporaryDir folder;
    if (frames <= 0 || !folder.isValid()) {
        std::fputs("usage: replay [FRAMES]\n", stderr);
        return 2;
    }
    try {
        compareWithFloor<&TextFloor::readCandump>(folder, frames, false, 2);
        compareWithFloor<&TextFloor::readAsc>(folder, frames, true, 4);
        measureUndescribed(frames);
        for (const bool isRandom : {false, true})
            for (const int signalCount : {10, 1000, 10000})
                measureValues(folder, frames, signalCount, isRandom);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
    return 0;
}
