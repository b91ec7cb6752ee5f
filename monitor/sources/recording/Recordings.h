#pragma once

#include "sources/BusNames.h"
#include "sources/FrameSource.h"

#include <functional>
#include <memory>
#include <vector>

namespace monitor
{

/// Several recordings, read as one in the order of their times. Recordings that follow each other
/// are open one at a time. Where times of recordings overlap, their frames are interleaved; the
/// order within a recording does not change.
///
/// A recording whose times are not absolute comes after all others, in the given order, as if it
/// began when the previous one ended.
///
/// A recording that cannot be read, or not to its end, is reported by error(); the others are
/// still read. It must be used by one thread only.
class Recordings : public FrameSource
{
public:
    /// Reads the files \a fileNames; "-" is standard input. Reading ends when \a isStopped, which
    /// is called every few thousand frames, returns true. \a interruptDescriptor: see
    /// openRecording().
    Recordings(const QStringList& fileNames, std::function<bool()> isStopped = {},
               int interruptDescriptor = -1);
    ~Recordings() override;

    Recordings(const Recordings&) = delete;
    Recordings& operator=(const Recordings&) = delete;

    [[nodiscard]] bool next(Frame& frame) override { return read(&frame, 1) == 1; }
    [[nodiscard]] int read(Frame* frames, int size) override;
    SourceCounts counts() const override;
    SourceProgress progress() const override;

    /// The buses of the frames so far, in the order of their first frames.
    QStringList buses() const override { return names.names(); }

    QVector<Problems> problems() const override;
    QStringList notes() const override;
    QString error() const override;

private:
    struct Part;

    void open(Part& part);
    Frame takeHead();
    bool readHead(Part& part);
    int readFrames(Part& part, Frame* frames, int size);
    void renumberBuses(Part& part, Frame* frames, int count);
    quint16 busHere(Part& part, quint16 bus);
    void remove(Part& part);
    void finish(Part& part);
    void startDue();
    bool isStopRequested();

    std::function<bool()> stop;
    int interrupt;
    std::vector<std::unique_ptr<Part>> waiting; // not started, the first one last
    std::vector<Part*> started;                 // a heap, see isLater() in the source
    std::vector<std::unique_ptr<Part>> owned;   // the started ones
    BusNames names;
    qint64 newest = 0; // time of the newest frame
    bool isAnyDelivered = false;
    int untilStopCheck = 0; // frames
    SourceCounts finishedCounts;
    qint64 finishedBytes = 0;
    qint64 totalBytes = 0;
    QVector<Problems> finishedProblems;
    QStringList allNotes;
    QStringList errors;
};

} // namespace monitor
