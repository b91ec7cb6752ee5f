#pragma once

#include <sources/FrameSource.h>

#include <algorithm>
#include <utility>

/// A source of given frames. As in a recording, a bus has no name before its first frame is read.
class FrameList : public monitor::FrameSource
{
public:
    FrameList(QVector<monitor::Frame> given, QStringList busNames)
        : frames(std::move(given)), names(std::move(busNames))
    {
    }

    [[nodiscard]] bool next(monitor::Frame& frame) override
    {
        if (position == frames.size())
            return false;
        frame = frames.at(position++);
        known = std::max(known, frame.bus + 1);
        return true;
    }
    monitor::SourceCounts counts() const override { return sourceCounts; }
    QStringList buses() const override { return names.mid(0, known); }
    QVector<monitor::Problems> problems() const override { return sourceProblems; }
    QStringList notes() const override { return sourceNotes; }
    QString error() const override { return sourceError; }

    monitor::SourceCounts sourceCounts;
    QVector<monitor::Problems> sourceProblems;
    QStringList sourceNotes;
    QString sourceError;

private:
    QVector<monitor::Frame> frames;
    QStringList names;
    int position = 0;
    int known = 0;
};
