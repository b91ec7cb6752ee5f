#include "formats.h"

#include "Asc.h"
#include "Blf.h"
#include "Candump.h"
#include "Csv.h"
#include "Pcap.h"
#include "Trc.h"
#include "mf4/Mf4.h"

#include <QtCore/QFile>

namespace monitor
{

namespace
{

constexpr qint64 firstExaminedBytes = 256;
constexpr qint64 maxExaminedBytes = 1 << 20;

template <typename Parser>
std::unique_ptr<FrameSource> openText(std::unique_ptr<QIODevice> device, const QString& name)
{
    return std::make_unique<TextRecording>(std::move(device), name, std::make_unique<Parser>());
}

} // namespace

const QVector<RecordingFormat>& recordingFormats()
{
    static const QVector<RecordingFormat> formats{
        {QStringLiteral("candump"), RecordingKind::Lines, findCandump, openCandump},
        {QStringLiteral("Vector ASC"), RecordingKind::Lines, findAsc, openText<AscReader>},
        {QStringLiteral("pcap"), RecordingKind::Bytes, findPcap, openPcap},
        {QStringLiteral("pcapng"), RecordingKind::Bytes, findPcapng, openPcapng},
        {QStringLiteral("PEAK TRC"), RecordingKind::Lines, findTrc, openText<TrcReader>},
        {QStringLiteral("CSV"), RecordingKind::Lines, findCsv, openText<CsvReader>},
        {QStringLiteral("Vector BLF"), RecordingKind::Bytes, findBlf, openBlf},
        {QStringLiteral("ASAM MF4"), RecordingKind::Bytes, findMf4, openMf4},
    };
    return formats;
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

/// Examines more and more of the recording in \a device until its format is known.
const RecordingFormat& detectFormat(QIODevice& device)
{
    for (qint64 size = firstExaminedBytes;; size *= 4) {
        const QByteArray start = device.peek(size);
        const bool isWhole = start.size() < size;
        if (const RecordingFormat* const format = formatOf(start, isWhole))
            return *format;
        if (isWhole || size >= maxExaminedBytes)
            return recordingFormats().constFirst();
    }
}

} // namespace

OpenedRecording openRecording(const QString& fileName)
{
    OpenedRecording opened;
    auto file = std::make_unique<QFile>(fileName);
    if (!file->open(QIODevice::ReadOnly)) {
        opened.error = fileName + QStringLiteral(": cannot be read: ") + file->errorString();
        return opened;
    }
    opened.format = &detectFormat(*file);
    opened.source = opened.format->open(std::move(file), fileName);
    return opened;
}

} // namespace monitor
