#include <outputs/SavedRunFile.h>
#include <outputs/printedOutputs.h>

#include <QtCore/QCryptographicHash>

#include <cstdint>
#include <cstdlib>

namespace
{

/// Restores and reports the run, as `vantrel show` does.
void report(const monitor::SavedRun& run)
{
    monitor::Session session({}, run.k);
    monitor::restore(run, session);
    const monitor::Snapshot snapshot = session.calcSnapshot();
    if (snapshot.rows.size() != run.recordedSignals.size())
        std::abort();
    monitor::formatTable(snapshot);
}

} // namespace

/// The input is the part of a file between "VANTREL\n" and the hash. Both are added here, because
/// the fuzzer would never find the right hash.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    QByteArray content("VANTREL\n");
    content.append(reinterpret_cast<const char*>(data), static_cast<int>(size));
    content += QCryptographicHash::hash(content, QCryptographicHash::Sha256);
    monitor::SavedRun run;
    if (!monitor::parseSavedRun(content, run).isEmpty())
        return 0;
    for (const monitor::SavedSignal& signal : run.recordedSignals) {
        const auto count = [](const auto& values) { return values.size(); };
        if (std::visit(count, signal.records.values) != signal.records.microseconds.size())
            std::abort();
    }
    report(run);
    return 0;
}
