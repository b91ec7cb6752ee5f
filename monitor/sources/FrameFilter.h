#pragma once

#include "FrameSource.h"

#include <QtCore/QStringList>

#include <optional>

namespace monitor
{

/// Times from here on are absolute: in nanoseconds since 1970-01-01 UTC (March 1973). Earlier ones
/// count from an unknown moment, such as the start of the recording.
constexpr qint64 firstAbsoluteTime = 100000000000000000;

/// A moment of a recording, in nanoseconds.
struct Moment {
    qint64 nanoseconds = 0;
    bool isAbsolute = false; ///< since 1970-01-01 UTC; otherwise since the first frame
};

/// Which frames of a source are used.
struct FrameChoice {
    QStringList buses;          ///< names; empty: all buses
    std::optional<Moment> from; ///< the first moment
    std::optional<Moment> to;   ///< the last moment
};

/// The time at which \a moment is, in nanoseconds, in a recording whose first frame has the time
/// \a first.
constexpr qint64 timeOf(const Moment& moment, qint64 first)
{
    return moment.isAbsolute ? moment.nanoseconds : first + moment.nanoseconds;
}

/// The frames of a source that a user has chosen. If a time is chosen, frames whose time is unknown
/// are left out. Error frames and lost frames are counted whatever their bus and time. This class
/// is reentrant.
class FrameFilter : public FrameSource
{
public:
    /// \a source must outlive this object.
    FrameFilter(FrameSource& source, FrameChoice choice);

    [[nodiscard]] bool next(Frame& frame) override;
    [[nodiscard]] int read(Frame* frames, int size) override;
    SourceCounts counts() const override { return input.counts(); }
    SourceProgress progress() const override { return input.progress(); }
    QStringList buses() const override { return input.buses(); }
    QVector<Problems> problems() const override { return input.problems(); }
    QString error() const override { return input.error(); }

    /// Includes buses and times that are not in the source, and the number of frames without a
    /// time.
    QStringList notes() const override;

private:
    bool isChosen(const Frame& frame);
    bool isOnChosenBus(quint16 bus);
    bool isInTime(const Frame& frame);

    FrameSource& input;
    FrameChoice chosen;
    QVector<bool> busIsChosen;
    std::optional<qint64> first; // the time of the first frame
    qint64 withoutTime = 0;
    qint64 outsideTime = 0;
    qint64 delivered = 0;
};

} // namespace monitor
