#pragma once

#include "TextRecording.h"
#include "sources/BusNames.h"

#include <optional>
#include <string>

namespace monitor
{

struct CandumpLine;

/// The beginning of a line in the compact format. The next line mostly begins in the same way.
struct CandumpStart {
    quint64 firstDigits = 0; ///< of the seconds; no text matches both initial values
    quint64 lastDigits = 1;
    quint64 nanoseconds = 0; ///< of these seconds
    quint64 name = 1;        ///< of the interface, with the blank after it
    quint64 nameMask = 0;    ///< of these characters
    int nameSize = 0;
    quint16 bus = 0;
};

/// Reads a recording of candump line by line. A line has the compact format
///
///     (1635188455.020850) can1 18F00E00#821639C4FFFFFFFF
///     (1635188455.020850) can1 181#R6
///     (1635188455.020850) can1 123##1.00.11.22
///
/// or the screen format, with or without a time
///
///     (000.005001)  can0  18FEDF00   [8]  8A A0 FF FF FF FF FF FF
///     (2021-10-25 19:00:55.020850)  can0  18FEDF00   [2]  8A A0
///      can0  181   [6]  remote request
///      can0  20000088   [8]  00 00 00 00 00 00 00 00   ERRORFRAME
///
/// An id of 3 digits has 11 bits, and an id of 8 digits has 29 bits and marks an error frame by bit
/// 29. A classic frame has up to 8 bytes. A CAN FD frame (## and flags, or a length of two digits)
/// has up to 64. Also accepted: upper and lower case digits, any number of blanks, dots between the
/// bytes of the compact format, a direction (R, T; RX, TX), a time without brackets, colours, and
/// in the screen format bytes in reverse order (22`11), binary digits, and the data repeated as
/// characters. This class is reentrant.
class CandumpReader : public LineParser
{
public:
    LineKind readLine(std::string_view line, Frame& frame) override;
    int readUsualLines(LineReader& lines, Frame* frames, int size) override;
    bool endsBatch() const override { return areTimesUndecided() && newestIsFrame; }
    qint64 lost() const override { return lostSoFar; }
    QStringList buses() const override { return busNames.names(); }
    QStringList notes() const override;

    /// Whether it is still unknown if times such as (000.005001) count from the first line, so that
    /// they never decrease, or each from the previous line. This ends with the first decrease, or
    /// after examinedTimes without a decrease, which are then taken as counted from the first line.
    /// Until then readLine() returns times as if counted from the first line.
    bool areTimesUndecided() const { return timeOrigin == TimeOrigin::Undecided; }
    static constexpr int examinedTimes = 100;

    /// Whether each time counts from the previous line.
    bool areTimesDifferences() const { return timeOrigin == TimeOrigin::PreviousLine; }

    /// The time of the newest frame if times count from the previous line; nullopt if its time has
    /// another form.
    std::optional<qint64> sumOfTimes() const { return newestSum; }

private:
    enum class TimeOrigin { Unused, Undecided, FirstLine, PreviousLine };

    LineKind parseUnusual(std::string_view line, CandumpLine& read);
    bool addTime(CandumpLine& read);

    CandumpStart usualStart;
    BusNames busNames;
    std::string plainText; // of an unusual line; the words of a parsed line point into it
    qint64 lostSoFar = 0;
    qint64 withoutTime = 0;
    qint64 xlFrames = 0;
    bool hasDates = false;
    bool hasZeroBytes = false;
    bool isAfterErrorFrame = false;
    bool newestIsFrame = false; // whether the newest line is

    TimeOrigin timeOrigin = TimeOrigin::Unused;
    int timesSoFar = 0;
    qint64 newestTime = 0;
    qint64 sum = 0;
    std::optional<qint64> newestSum;
};

/// The position of the first line of this format in \a start, the first bytes of a recording; -1 if
/// no line is of this format.
qint64 findCandump(const QByteArray& start);

/// The frames of the recording in \a device. Frames are held back while the meaning of their times
/// is undecided.
std::unique_ptr<FrameSource> openCandump(std::unique_ptr<QIODevice> device, const QString& name);

} // namespace monitor
