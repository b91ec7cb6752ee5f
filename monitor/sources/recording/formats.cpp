#include "formats.h"

#include "bytes/Blf.h"
#include "bytes/Pcap.h"
#include "lines/Asc.h"
#include "lines/Candump.h"
#include "lines/Csv.h"
#include "lines/Trc.h"
#include "mf4/Mf4.h"
#include "sources/input/Unpacking.h"
#include "text/LineReader.h"
#include "unsupported.h"

#include <QtCore/QFile>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace monitor
{

namespace
{

constexpr int maxExaminedBytes = 1 << 20;

template <typename Parser>
std::unique_ptr<FrameSource> openText(std::unique_ptr<QIODevice> device, const QString& name)
{
    return std::make_unique<TextRecording>(std::move(device), name, std::make_unique<Parser>());
}

} // namespace

const QVector<RecordingFormat>& recordingFormats()
{
    static const QVector<RecordingFormat> formats{
        {QStringLiteral("candump"), RecordingKind::Lines, findCandump, openCandump, {"log"}},
        {QStringLiteral("Vector ASC"), RecordingKind::Lines, findAsc, openText<AscReader>, {"asc"}},
        {QStringLiteral("Vector BLF"), RecordingKind::Bytes, findBlf, openBlf, {"blf"}},
        {QStringLiteral("ASAM MF4"), RecordingKind::Bytes, findMf4, openMf4, {"mf4"}},
        {QStringLiteral("PEAK TRC"), RecordingKind::Lines, findTrc, openText<TrcReader>, {"trc"}},
        {QStringLiteral("CSV"), RecordingKind::Lines, findCsv, openText<CsvReader>, {"csv"}},
        {QStringLiteral("pcap"), RecordingKind::Bytes, findPcap, openPcap, {"pcap"}},
        {QStringLiteral("pcapng"), RecordingKind::Bytes, findPcapng, openPcapng, {"pcapng"}},
    };
    return formats;
}

QStringList recordingEndings()
{
    QStringList endings;
    for (const RecordingFormat& format : recordingFormats())
        endings += format.endings;
    return endings + QStringList{QStringLiteral("gz"), QStringLiteral("zst")};
}

const RecordingFormat* formatOf(const QByteArray& start, bool isWhole)
{
    const QByteArray lines = isWhole ? start : start.left(start.lastIndexOf('\n') + 1);
    const RecordingFormat* best = nullptr;
    qint64 bestPlace = -1;
    for (const RecordingFormat& format : recordingFormats()) {
        const qint64 place = format.find(format.kind == RecordingKind::Lines ? lines : start);
        if (place >= 0 && (bestPlace < 0 || place < bestPlace)) {
            best = &format;
            bestPlace = place;
        }
    }
    return best;
}

namespace
{

/// The frames of a recording that is read through an InputStream.
class InputRecording : public FrameSource
{
public:
    InputRecording(std::unique_ptr<FrameSource> frameSource, RecordingKind recordingKind,
                   std::shared_ptr<const InputReport> inputReport)
        : source(std::move(frameSource)), kind(recordingKind), report(std::move(inputReport))
    {
    }

    [[nodiscard]] bool next(Frame& frame) override { return source && source->next(frame); }
    [[nodiscard]] int read(Frame* frames, int size) override
    {
        if (source && kind == RecordingKind::Lines)
            return source->read(frames, size);
        return size > 0 && next(*frames) ? 1 : 0; // the next one may not have arrived yet
    }
    SourceCounts counts() const override
    {
        SourceCounts counts = source ? source->counts() : SourceCounts();
        for (const Problems& layer : report->packed)
            counts.unreadable += layer.count();
        return counts;
    }
    SourceProgress progress() const override { return {report->done, report->total}; }
    QStringList buses() const override { return source ? source->buses() : FrameSource::buses(); }
    QVector<Problems> problems() const override
    {
        return report->packed + (source ? source->problems() : QVector<Problems>());
    }
    QStringList notes() const override
    {
        return report->notes + (source ? source->notes() : QStringList());
    }
    QString error() const override
    {
        QString error = source ? source->error() : QString();
        return error.isEmpty() ? report->error : error;
    }

private:
    std::unique_ptr<FrameSource> source; // null without any content
    RecordingKind kind;
    std::shared_ptr<const InputReport> report;
};

/// Reads on until \a size bytes of \a stream are known or it has ended.
QByteArray startOf(InputStream& stream, int size)
{
    while (stream.ahead().size() < size && stream.readAhead()) {
    }
    return stream.ahead();
}

/// The result of examining the first bytes of a recording.
struct Detected {
    const RecordingFormat* format = nullptr; ///< null if unknown
    QString unsupported; ///< the message for the user if the format is known, but not read
    QString unknown;     ///< the same if nothing is known about the format
};

QString unknownFormat(const QByteArray& start)
{
    QStringList supported;
    for (const RecordingFormat& format : recordingFormats())
        supported += format.name;
    return QStringLiteral("unknown recording format (begins with %1); supported: %2")
        .arg(beginningOf(start), supported.join(QStringLiteral(", ")));
}

Detected detect(const QByteArray& start, bool isWhole)
{
    Detected detected;
    detected.unsupported = unsupportedBytes(start);
    if (!detected.unsupported.isEmpty())
        return detected;
    detected.format = formatOf(start, isWhole);
    if (detected.format || (!isWhole && start.size() < maxExaminedBytes))
        return detected;
    detected.unsupported = unsupportedText(start);
    const bool isBlank = isWhole && start.trimmed().isEmpty();
    if (detected.unsupported.isEmpty() && !isBlank)
        detected.unknown = unknownFormat(start);
    return detected;
}

/// Examines more and more of \a stream until the format is known.
Detected detectFormat(InputStream& stream)
{
    constexpr int smallStart = 64 * 1024;
    for (int enough = 1;;) {
        const QByteArray start = startOf(stream, enough).left(maxExaminedBytes);
        const bool isWhole = start.size() < enough;
        Detected detected = detect(start, isWhole);
        if (isWhole || start.size() == maxExaminedBytes || detected.format ||
            !detected.unsupported.isEmpty())
            return detected;
        // A large start that arrives in many small pieces is not examined after each of them.
        const auto step = start.size() < smallStart ? 1 : start.size() / 16;
        enough = std::min(static_cast<int>(start.size() + step), maxExaminedBytes);
    }
}

/// Why the recording cannot be read; an empty string if it has no content. The name is included.
QString errorOf(const Detected& detected, const InputReport& report)
{
    if (!report.error.isEmpty())
        return report.error;
    if (!detected.unsupported.isEmpty())
        return report.name + QStringLiteral(": ") + detected.unsupported;
    // If the format is unknown because little was unpacked, the user needs to know the reason.
    for (const Problems& layer : report.packed) {
        if (layer.count() > 0)
            return layer.lines().constFirst();
    }
    return detected.unknown.isEmpty() || report.isInterrupted
               ? QString()
               : report.name + QStringLiteral(": ") + detected.unknown;
}

/// A recording without frames. Its report says why.
OpenedRecording emptyRecording(const std::shared_ptr<InputReport>& report)
{
    if (!report->isInterrupted)
        report->notes += report->name + QStringLiteral(": is empty");
    OpenedRecording opened;
    opened.source = std::make_unique<InputRecording>(nullptr, RecordingKind::Lines, report);
    return opened;
}

OpenedRecording failure(const QString& error)
{
    OpenedRecording opened;
    opened.error = error;
    return opened;
}

/// The recording in \a stream, which must be unpacked. If \a direct is not null, it is the same
/// stream, and its device is read without it if possible.
OpenedRecording openUnpacked(std::unique_ptr<InputStream> stream, DeviceStream* direct)
{
    const std::shared_ptr<InputReport> report = stream->report();
    if (startOf(*stream, 3).startsWith(byteOrderMark))
        stream->skip(3);
    const Detected detected = detectFormat(*stream);
    if (!detected.format) {
        const QString error = errorOf(detected, *report);
        return error.isEmpty() ? emptyRecording(report) : failure(error);
    }
    OpenedRecording opened;
    opened.format = detected.format;
    std::unique_ptr<QIODevice> device = direct ? direct->takeDevice() : nullptr;
    if (device) {
        opened.source = detected.format->open(std::move(device), report->name);
        return opened;
    }
    opened.source = std::make_unique<InputRecording>(
        detected.format->open(std::move(stream), report->name), detected.format->kind, report);
    return opened;
}

/// The recording in \a stream, unpacked if necessary. For \a direct see openUnpacked().
OpenedRecording openStream(std::unique_ptr<InputStream> stream, DeviceStream* direct)
{
    constexpr int maxLayers = 2; // such as a gzip file compressed with zstd
    for (int layers = 0; isPacked(startOf(*stream, longestPackedMagic)); ++layers) {
        if (layers == maxLayers)
            return failure(stream->report()->name +
                           QStringLiteral(": is packed more than twice: unpack it first"));
        stream = unpack(std::move(stream));
        direct = nullptr;
    }
    return openUnpacked(std::move(stream), direct);
}

std::shared_ptr<InputReport> reportOn(const QString& name)
{
    auto report = std::make_shared<InputReport>();
    report->name = name;
    return report;
}

OpenedRecording openDescriptor(int descriptor, bool isOwned, int interrupt, const QString& name)
{
    return openStream(
        std::make_unique<DescriptorStream>(descriptor, isOwned, interrupt, reportOn(name)),
        nullptr);
}

OpenedRecording openStandardInput(int interrupt)
{
    const QString name = QStringLiteral("standard input");
    // If a part of a file has been read already, the rest is read like a pipe.
    auto file = std::make_unique<QFile>();
    if (file->open(STDIN_FILENO, QIODevice::ReadOnly) && !file->isSequential() && file->pos() == 0)
        return openRecording(std::move(file), name);
    return openDescriptor(STDIN_FILENO, false, interrupt, name);
}

QString cannotBeRead(const QString& fileName, const QString& reason)
{
    return QStringLiteral("%1: cannot be read: %2").arg(fileName, reason);
}

/// Opens a file that is not a regular one, such as a pipe. Does not wait for its writer here, where
/// no request to end would be noticed.
OpenedRecording openPipe(const QString& fileName, int interrupt)
{
    const int descriptor =
        ::open(QFile::encodeName(fileName).constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (descriptor < 0)
        return failure(cannotBeRead(fileName, qt_error_string(errno)));
    return openDescriptor(descriptor, true, interrupt, fileName);
}

bool isPipe(const QString& fileName)
{
    struct stat status = {};
    return ::stat(QFile::encodeName(fileName).constData(), &status) == 0 &&
           !S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode);
}

} // namespace

OpenedRecording openRecording(const QString& fileName, int interrupt)
{
    if (fileName == QLatin1String("-"))
        return openStandardInput(interrupt);
    if (isPipe(fileName))
        return openPipe(fileName, interrupt);
    auto file = std::make_unique<QFile>(fileName);
    if (!file->open(QIODevice::ReadOnly))
        return failure(cannotBeRead(fileName, file->errorString()));
    return openRecording(std::move(file), fileName);
}

OpenedRecording openRecording(std::unique_ptr<QIODevice> device, const QString& name)
{
    auto stream = std::make_unique<DeviceStream>(std::move(device), reportOn(name));
    DeviceStream* const direct = stream.get();
    return openStream(std::move(stream), direct);
}

} // namespace monitor
