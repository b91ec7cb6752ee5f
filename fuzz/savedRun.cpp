#include <engine/saving/SavedRunReader.h>
#include <outputs/printedOutputs.h>

#include <QtCore/QBuffer>
#include <QtCore/QCryptographicHash>

#include <cstdint>
#include <cstdlib>

namespace
{

/// Counts the values that are read.
struct ValueCounter : monitor::ValueSink {
    void take(const monitor::RecordedValue& /*value*/) override { ++values; }
    qint64 values = 0;
};

} // namespace

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
    ValueCounter counter;
    session.addValueSink(counter);
    if (!reader.restore(session).isEmpty())
        return 0;
    const monitor::Snapshot snapshot = session.calcSnapshot();
    for (const monitor::SnapshotRow& row : snapshot.rows)
        counter.values -= row.statistics->count;
    if (counter.values != 0 || !reader.isWhole())
        std::abort();
    monitor::formatTable(snapshot);
    return 0;
}
