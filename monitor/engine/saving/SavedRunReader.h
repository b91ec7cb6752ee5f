#pragma once

#include "SavedSignal.h"
#include "engine/Session.h"
#include "sources/FrameFilter.h"

#include <vector>

namespace monitor
{

/// Reads a saved run of any version, which need not be trusted, into a session. Memory depends on
/// the number of signals, not on the number of values; versions 1 and 2 also need as much memory as
/// the file is long, at most 2 GiB. Functions that return a string return an error message, or an
/// empty string on success.
class SavedRunReader
{
public:
    /// \a savedDevice must outlive this object.
    explicit SavedRunReader(QIODevice& savedDevice) : device(savedDevice) {}

    /// Opens the device, and checks that it contains a saved run without damage.
    [[nodiscard]] QString open();

    /// Half the width of the band, in deviations. Valid after open().
    double k() const { return bandK; }

    /// Records the values from \a from to \a to in \a session, which must be new. A relative moment
    /// counts from the first value with a time. Values whose time is unknown are left out if a
    /// moment is given. The counts are those of the whole run. Call open() first. After an error,
    /// the session contains part of the run.
    [[nodiscard]] QString restore(Session& session, const std::optional<Moment>& from = {},
                                  const std::optional<Moment>& to = {});

    /// Whether all values were recorded, and whether any were. Valid after restore().
    bool isWhole() const { return whole; }
    bool hasValues() const { return recorded > 0; }

private:
    /// A signal in the session.
    struct ReadSignal {
        MessageSignals* found;
        SignalLayout layout;
        quint32 number = 0; // in the file
        qint64 values = 0;  // which are still expected
    };

    QString findContents();
    QString readRun(QDataStream& stream, Session& session);
    QString readSignal(QDataStream& stream, Session& session);
    template <typename T>
    QString readRecords(QDataStream& stream, SignalRegistry& registry, const ReadSignal& signal);
    QString numberSignals();
    QString readBlocks(SignalRegistry& registry);
    QString readBlock(SignalRegistry& registry, qint64 end);
    QString readValue(SignalRegistry& registry);
    QString record(SignalRegistry& registry, const ReadSignal& signal, quint64 bits,
                   std::optional<qint64> microseconds);
    void choose(const std::optional<Moment>& from, const std::optional<Moment>& to, qint64 first);

    QIODevice& device;
    quint32 version = 0;
    double bandK = 0;
    QByteArray contents; // everything but the blocks of values
    qint64 contentsPlace = 0;
    std::optional<Moment> chosenFrom;
    std::optional<Moment> chosenTo;
    qint64 lowest = 0; // time that is chosen
    qint64 highest = 0;
    std::vector<ReadSignal> readSignals; // from version 3 on by their numbers
    std::vector<quint8> block;
    const quint8* at = nullptr; // the next byte of the block
    const quint8* blockEnd = nullptr;
    qint64 previous = 0; // the last known time
    qint64 recorded = 0;
    bool whole = true;
};

} // namespace monitor
