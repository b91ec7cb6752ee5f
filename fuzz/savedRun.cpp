#include <engine/saving/SavedRunReader.h>
#include <outputs/printedOutputs.h>

#include <QtCore/QBuffer>
#include <QtCore/QCryptographicHash>

#include <cstdint>
#include <cstdlib>

/// The input is the part of a file between "VANTREL\n" and the hash. Both are added here, because
/// the fuzzer would never find the right hash.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    QByteArray content("VANTREL\n");
    content.append(reinterpret_cast<const char*>(data), static_cast<int>(size));
    content += QCryptographicHash::hash(content, QCryptographicHash::Sha256);
    QBuffer buffer(&content);
    monitor::SavedRunReader reader(buffer);
    if (!reader.open().isEmpty())
        return 0;
    monitor::Session session({}, reader.k());
    session.keepSeries();
    if (!reader.restore(session).isEmpty())
        return 0;
    qint64 values = 0;
    for (const int number : session.registry().sorted()) {
        const monitor::SignalRecords records = session.registry().at(number).getRecords();
        if (records.bits.size() != records.microseconds.size())
            std::abort();
        values += records.bits.size();
    }
    const monitor::Snapshot snapshot = session.calcSnapshot();
    for (const monitor::SnapshotRow& row : snapshot.rows)
        values -= row.statistics->count;
    if (values != 0 || !reader.isWhole())
        std::abort();
    monitor::formatTable(snapshot);
    return 0;
}
