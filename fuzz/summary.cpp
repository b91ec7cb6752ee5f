#include "refusal.h"

#include <engine/summary/SummaryReader.h>
#include <engine/summary/SummarySchema.h>
#include <engine/summary/groups.h>
#include <outputs/printedOutputs.h>

#include <cstdint>
#include <cstdlib>

namespace
{

/// \a content with the checksum that its tables should have, since the fuzzer would never find it.
QByteArray withChecksum(QByteArray content)
{
    monitor::Database database;
    database.open(content);
    const QByteArray right = monitor::checksumOf(database);
    monitor::Statement stored(database, "SELECT sha256 FROM checksum");
    const QByteArray wrong = stored.next() ? stored.readBlob() : QByteArray();
    const auto place = content.indexOf(wrong);
    if (database.isIntact() && wrong.size() == right.size() && place >= 0)
        content.replace(place, right.size(), right);
    return content;
}

} // namespace

/// The input is a file.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QByteArray content =
        withChecksum(QByteArray(reinterpret_cast<const char*>(data), static_cast<int>(size)));
    monitor::SummaryReader reader;
    QString error = reader.open(content);
    const auto totals = std::make_shared<monitor::MergeTotals>();
    std::map<qint64, monitor::MergedRun> merged; // by the id of the run
    for (int times = 0; times < 2; ++times) {
        for (const monitor::SummaryRun& run : reader.runs()) {
            monitor::MergedRun& group = merged.try_emplace(run.id, 3, totals).first->second;
            if (error.isEmpty())
                error = reader.addTo(group, run, QStringLiteral("file"));
        }
    }
    inputRefused = !error.isEmpty();
    if (inputRefused)
        return 0;
    std::vector<monitor::Session*> groups;
    groups.reserve(merged.size());
    for (auto& group : merged)
        groups.push_back(&group.second.session());
    const monitor::Snapshot snapshot = calcSnapshot(groups);
    for (const qint64* count : pointersTo(snapshot.counts)) {
        if (*count < 0)
            std::abort();
    }
    for (const monitor::SnapshotRow& row : snapshot.rows) {
        quint64 counted = 0;
        groups[row.group]
            ->registry()
            .at(row.signal)
            .values()
            .forEachCount([&](quint64, quint64 times) { counted += times; });
        if (!row.statistics->isPassedThrough && row.statistics->count > 0 &&
            counted != static_cast<quint64>(row.statistics->count))
            std::abort();
    }
    monitor::formatTable(snapshot);
    monitor::formatJson(snapshot);
    return 0;
}
