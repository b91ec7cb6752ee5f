#pragma once

#include "text/LineReader.h"
#include "text/Problems.h"

#include <QtCore/QByteArray>
#include <QtCore/QIODevice>

#include <memory>

namespace monitor
{

/// What is known about the bytes of an input, apart from the bytes themselves. The streams of one
/// input share it, so it may be read after a stream has been destroyed.
struct InputReport {
    QString name;             ///< for messages
    qint64 done = 0;          ///< bytes read from the file, before any unpacking
    qint64 total = 0;         ///< bytes in the file; 0 if unknown
    QVector<Problems> packed; ///< the problems of each layer of packing
    QStringList notes;
    QString error;              ///< names the file; empty without an error
    bool isInterrupted = false; ///< reading was ended on request
};

/// A device that reads forward only, with a buffer that can be examined in advance. It must be used
/// by one thread only.
class InputStream : public QIODevice, public Cuttable
{
public:
    /// Opens the stream.
    explicit InputStream(std::shared_ptr<InputReport> sharedReport);

    const std::shared_ptr<InputReport>& report() const { return shared; }

    /// The bytes read in advance. Valid until the next call of any other function.
    QByteArray ahead() const;

    /// Reads more bytes in advance: at least one, and as many as are there without waiting. Returns
    /// false at the end.
    [[nodiscard]] bool readAhead();

    /// Skips \a size of the bytes read in advance.
    void skip(qint64 size);

    /// The number of bytes skipped or read so far.
    qint64 position() const { return passed; }

    bool isCut() const override { return cut; }

    bool isSequential() const override { return true; }
    qint64 bytesAvailable() const override;

protected:
    /// Reads up to \a size bytes, at least 1. Returns 0 at the end, and then is not called again.
    virtual qint64 fill(char* data, qint64 size) = 0;

    void setCut() { cut = true; }

    qint64 readData(char* data, qint64 maxSize) override;
    qint64 writeData(const char*, qint64) override { return -1; }

private:
    qint64 fillOnce(char* data, qint64 size);

    std::shared_ptr<InputReport> shared;
    QByteArray buffer;
    qint64 begin = 0; // of the unread bytes in the buffer
    qint64 end = 0;
    qint64 passed = 0;
    bool isOver = false;
    bool cut = false;
};

/// The bytes of another device, which must be open. Its size becomes the total of \a report.
class DeviceStream : public InputStream
{
public:
    DeviceStream(std::unique_ptr<QIODevice> openDevice, std::shared_ptr<InputReport> report);

    /// The device, at the position of this stream, which must not be used afterwards. Null if the
    /// device is sequential, since it cannot go back to that position.
    std::unique_ptr<QIODevice> takeDevice();

protected:
    qint64 fill(char* data, qint64 size) override;

private:
    std::unique_ptr<QIODevice> device;
    qint64 start;
};

/// The bytes of a pipe, a terminal, or another file without a beginning to return to.
class DescriptorStream : public InputStream
{
public:
    /// Reads from the descriptor \a input, and closes it in the end if it is \a owned. The stream
    /// ends as soon as the descriptor \a interrupt becomes readable; -1 means never.
    DescriptorStream(int input, bool owned, int interrupt, std::shared_ptr<InputReport> report);
    ~DescriptorStream() override;

protected:
    qint64 fill(char* data, qint64 size) override;

private:
    bool waitForBytes();

    int descriptor;
    bool isOwned;
    int interruptDescriptor;
};

} // namespace monitor
