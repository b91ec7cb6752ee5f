#pragma once

#include <sources/recording/formats.h>

#include <QtCore/QBuffer>
#include <QtCore/QTemporaryDir>

#include <random>

/// A frame as "time id kind data", such as "1500 18fef100x data 0102", with the time in
/// nanoseconds.
inline QString frameText(const monitor::Frame& frame)
{
    const QString time = frame.nanoseconds ? QString::number(*frame.nanoseconds) : QString("?");
    const QString id = QString::number(frame.id, 16) + (frame.extended ? "x" : "");
    const QByteArray data(reinterpret_cast<const char*>(frame.data.data()), frame.length);
    const QString kind = frame.remote          ? "remote"
                         : !frame.fd           ? "data"
                         : frame.bitRateSwitch ? "brs"
                                               : "fd";
    return QStringList{time, id, kind, data.toHex()}.join(' ').trimmed();
}

/// A recording that has been read to its end.
struct ReadRecording {
    QString format;
    QVector<monitor::Frame> frames;
    QStringList texts; ///< frameText() of each
    QStringList names; ///< the bus of each
    monitor::SourceCounts counts;
    QStringList problems;
    QStringList notes;
};

/// Reads \a content in the format that is recognised.
inline ReadRecording readRecording(const QByteArray& content)
{
    ReadRecording read;
    const monitor::RecordingFormat* const format = monitor::formatOf(content);
    if (format == nullptr)
        return read;
    auto buffer = std::make_unique<QBuffer>();
    buffer->setData(content);
    buffer->open(QIODevice::ReadOnly);
    const auto source = format->open(std::move(buffer), "x");
    read.format = format->name;
    for (monitor::Frame frame; source->next(frame);) {
        read.frames += frame;
        read.texts += frameText(frame);
        read.names += source->buses().value(frame.bus, "no such bus");
    }
    read.counts = source->counts();
    read.notes = source->notes();
    for (const monitor::Problems& problems : source->problems())
        read.problems += problems.lines();
    return read;
}

/// A log in the compact format of candump, and the frames in it.
struct RandomLog {
    QByteArray log;
    QVector<monitor::Frame> frames; ///< all but the error frames
    int errorFrames = 0;
};

/// Frames of every kind on the buses can0 to can2.
inline RandomLog randomLog(int count)
{
    std::mt19937 random(20211025);
    const auto below = [&random](quint32 end) { return static_cast<quint32>(random() % end); };
    RandomLog result;
    qint64 microseconds = 1635188455020850;
    for (int i = 0; i < count; ++i) {
        microseconds += below(2000000);
        monitor::Frame frame;
        frame.nanoseconds = microseconds * 1000;
        frame.extended = below(2) == 0;
        frame.id =
            below(frame.extended ? monitor::lastExtendedId + 1 : monitor::lastStandardId + 1);
        frame.bus = static_cast<quint16>(below(3));
        const quint32 kind = below(20);
        frame.remote = kind == 1;
        frame.fd = kind > 1 && kind < 6;
        frame.bitRateSwitch = frame.fd && below(2) == 1;
        const int lengths[] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 12, 16, 20, 24, 32, 48, 64};
        if (!frame.remote)
            frame.length = static_cast<quint8>(lengths[below(frame.fd ? 16 : 9)]);
        for (int at = 0; at < frame.length; ++at)
            frame.data.at(static_cast<size_t>(at)) = static_cast<quint8>(below(256));
        result.log += '(' + QByteArray::number(microseconds / 1000000) + '.' +
                      QByteArray::number(microseconds % 1000000).rightJustified(6, '0') + ") can" +
                      QByteArray::number(frame.bus) + ' ';
        if (kind == 0) {
            result.log += "20000080#0000000000000000\n";
            ++result.errorFrames;
            continue;
        }
        result.log +=
            QByteArray::number(frame.id, 16).rightJustified(frame.extended ? 8 : 3, '0') + '#';
        if (frame.fd)
            result.log += '#' + QByteArray::number(frame.bitRateSwitch ? 1 : 0);
        result.log += frame.remote ? QByteArray("R")
                                   : QByteArray(reinterpret_cast<const char*>(frame.data.data()),
                                                frame.length)
                                         .toHex();
        result.log += '\n';
        result.frames += frame;
    }
    return result;
}

/// Converts \a log with a script for python-can, which gets a message for each frame in the
/// variable "messages" and the name of the file to write in "name".
inline QByteArray convertedByPythonCan(const QByteArray& log, const QByteArray& script)
{
    const QTemporaryDir directory;
    QFile file(directory.filePath("bus.log"));
    EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(log);
    file.close();
    const QString name = directory.filePath("bus.converted");
    const QByteArray beginning =
        "import sys, can\nmessages = can.CanutilsLogReader(sys.argv[1])\nname = sys.argv[2]\n";
    QProcess python;
    python.start(PYTHON_WITH_CAN, {"-c", beginning + script, file.fileName(), name});
    EXPECT_TRUE(python.waitForFinished(60000));
    EXPECT_EQ(python.exitCode(), 0) << python.readAllStandardError().constData();
    QFile converted(name);
    EXPECT_TRUE(converted.open(QIODevice::ReadOnly));
    return converted.readAll();
}
