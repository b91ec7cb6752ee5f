#pragma once

#include "engine/Session.h"

#include <QtCore/QCryptographicHash>
#include <QtCore/QFileDevice>

#include <atomic>

namespace monitor
{

/// Writes a saved run to a file while it is recorded. Memory depends on the number of signals, not
/// on the number of values. Not thread-safe.
class SavedRunWriter : public ValueSink
{
public:
    /// \a savedFile must outlive this object, and be open and empty when the first value is taken.
    /// It need not be buffered.
    explicit SavedRunWriter(QFileDevice& savedFile) : file(savedFile) {}

    /// Writes the value, unless only the newest values of its signal are kept.
    void take(const RecordedValue& value) override;

    /// Begins again with an empty file.
    void clear() override;

    /// Writes everything else about \a session: kept values, signals and counts. Returns false if
    /// any part of the run could not be written.
    [[nodiscard]] bool finish(Session& session);

    /// The error if a part of the run could not be written; otherwise empty.
    QString error() const override;

private:
    struct WrittenSignal {
        int number = -1;         // in the file, in the order of first values; -1: none yet
        int bytes = 0;           // of each value
        bool isStreamed = false; // while the run lasts
        qint64 values = 0;
    };

    WrittenSignal& signalOf(int number, const CatalogueSignal& description);
    void append(WrittenSignal& signal, quint64 bits, qint64 microseconds);
    void appendKept(SignalRegistry& registry);
    QByteArray contentsOf(Session& session);
    void flush();
    void write(const char* data, qint64 size);

    QFileDevice& file;
    QCryptographicHash hash{QCryptographicHash::Sha256};
    std::vector<WrittenSignal> known; // by their numbers in the session
    int signalCount = 0;
    std::vector<quint8> block;        // not written yet
    size_t used = 0;                  // bytes of it
    qint64 previous = 0;              // the last known time
    qint64 written = 0;               // bytes
    std::atomic<bool> isIntact{true}; // if false, the file no longer changes
};

} // namespace monitor
