#include "waitUntil.h"

#include <gtest/gtest.h>

#include <QtCore/QFile>
#include <QtCore/QProcess>
#include <QtCore/QTemporaryDir>
#include <QtNetwork/QLocalSocket>

namespace
{

constexpr int timeout = 60000; // milliseconds

/// Returns the exit code of `stream`, or -1 if it does not end by itself.
int run(const QStringList& arguments)
{
    QProcess process;
    process.start(STREAM_PROGRAM, arguments);
    if (process.waitForFinished(timeout) && process.exitStatus() == QProcess::NormalExit)
        return process.exitCode();
    process.kill();
    process.waitForFinished();
    return -1;
}

/// A record with the raw value 4800 as an int, in the format that J1939Value.h describes.
const QByteArray plainRecord =
    QByteArray::fromHex("0001 00000002 00 000012c0 00000000 01 00000000");

QByteArray withLength(const QByteArray& message)
{
    return QByteArray::fromHex(QByteArray::number(message.size(), 16).rightJustified(8, '0')) +
           message;
}

/// `stream receive` with at most 150 MB of address space.
class Receiver
{
public:
    Receiver()
    {
        process.start("sh", {"-c", "ulimit -v 150000 && exec \"$0\" receive \"$1\"", STREAM_PROGRAM,
                             address()});
        EXPECT_TRUE(waitUntil([this] { return QFile::exists(address()); }));
    }

    ~Receiver()
    {
        process.kill();
        process.waitForFinished();
    }

    Receiver(const Receiver&) = delete;
    Receiver& operator=(const Receiver&) = delete;

    QString address() const { return directory.filePath("socket"); }

    /// Connects, sends \a bytes, and disconnects.
    void feed(const QByteArray& bytes)
    {
        QLocalSocket socket;
        socket.connectToServer(address());
        ASSERT_TRUE(socket.waitForConnected(timeout));
        socket.write(bytes);
        while (socket.waitForBytesWritten(timeout)) {
        }
    }

    void waitForEnd()
    {
        if (process.waitForFinished(timeout) && process.exitStatus() == QProcess::NormalExit)
            exitCode = process.exitCode();
        output = process.readAllStandardOutput().toStdString();
        diagnostics = process.readAllStandardError().toStdString();
    }

    int exitCode = -1;
    std::string output;
    std::string diagnostics;

private:
    QTemporaryDir directory;
    QProcess process;
};

void expectRejected(const QByteArray& bytes, const std::string& message)
{
    Receiver receiver;
    receiver.feed(bytes);
    receiver.waitForEnd();
    EXPECT_EQ(receiver.exitCode, 1) << bytes.toHex().toStdString();
    EXPECT_EQ(receiver.diagnostics, "stream: " + message + '\n') << bytes.toHex().toStdString();
    EXPECT_EQ(receiver.output, "");
}

} // namespace

// The raw values are the 1001 integers from 4800 to 5800. Their deviation is the square root of
// (1001^2 - 1) / 12, which is 288.9637, or 36.1205 after scaling by 0.125.
TEST(Stream, ReceiverPrintsTheStatisticsOfTheSentRecords)
{
    Receiver receiver;
    EXPECT_EQ(run({"send", receiver.address()}), 0);
    receiver.waitForEnd();
    EXPECT_EQ(receiver.diagnostics, "");
    EXPECT_EQ(receiver.output, "1001 records, average 662.5, deviation 36.1205, 600 to 725\n");
    EXPECT_EQ(receiver.exitCode, 0);
}

// 4800 as an int, an unsigned int, both 64-bit integers and a double.
TEST(Stream, ReceiverAcceptsNumbersOfAllTypes)
{
    QByteArray sent;
    Receiver receiver;
    for (const char* const rawValue :
         {"00000002 00 000012c0", "00000003 00 000012c0", "00000004 00 00000000000012c0",
          "00000005 00 00000000000012c0", "00000006 00 40b2c00000000000"})
        sent += withLength(QByteArray::fromHex("0001") + QByteArray::fromHex(rawValue) +
                           QByteArray::fromHex("00000000 01 00000000"));
    receiver.feed(sent);
    receiver.waitForEnd();
    EXPECT_EQ(receiver.output, "5 records, average 600, deviation 0, 600 to 600\n");
    EXPECT_EQ(receiver.exitCode, 0);
}

// If the receiver kept all records, they would not fit into its memory.
TEST(Stream, ReceiverMemoryDoesNotGrowWithTheNumberOfRecords)
{
    constexpr int records = 1000000;
    Receiver receiver;
    receiver.feed(withLength(plainRecord).repeated(records));
    receiver.waitForEnd();
    EXPECT_EQ(receiver.output, "1000000 records, average 600, deviation 0, 600 to 600\n");
    EXPECT_EQ(receiver.diagnostics, "");
}

// Each message has the length that it would have if its values were numbers, so that only the types
// reveal it.
TEST(Stream, HostileValuesAreRejectedBeforeTheyAreRead)
{
    const char* const hostile[] = {
        "0001 00000009 00 7fffffff00000000 00000000 01 00000000",          // 2 billion members
        "0001 00000009 00 0000000100000009 00000000 01 00000000",          // a list in a list
        "0001 0000000a 00 7ffffffe00000000 00000000 01 00000000",          // a text of 2 GB
        "0001 0000000a 00 0000000400410042 00000000 01 00000000",          // a short text
        "0001 0000000c 00 7fffffff00000000 00000000 01 00000000",          // 2 GB of bytes
        "0001 00000400 00 00000000 01 00000000",                           // a user-defined type
        "0001 00000002 00 000012c0 0000000a 00 7ffffffe00000000 00000000", // a text as scaled value
        "0002 00000002 00 000012c0 00000000 01 00000000",                  // another version
        "0001 00000000 01 00000000 01 00000000",                           // no raw value
        "0001 00000002 00 000012c0 00000000 01 00000000 00",               // a byte too many
    };
    for (const char* const bytes : hostile)
        expectRejected(withLength(QByteArray::fromHex(bytes)),
                       "message is not a record of plain numbers");
}

TEST(Stream, TruncatedRecordsAreRejected)
{
    for (int size = 0; size < plainRecord.size(); ++size)
        expectRejected(withLength(plainRecord.left(size)),
                       "message is not a record of plain numbers");
}

TEST(Stream, OverlongMessagesAreRejectedByTheirLength)
{
    expectRejected(withLength(QByteArray(65, 'x')), "message of 65 bytes, longer than a record");
    expectRejected(withLength(plainRecord) + QByteArray::fromHex("ffffffff"),
                   "message of 4294967295 bytes, longer than a record");
    expectRejected(withLength(QByteArray(10000000, 'x')),
                   "message of 10000000 bytes, longer than a record");
}

TEST(Stream, ConnectionClosedWithinAMessageIsAnError)
{
    const QByteArray whole = withLength(plainRecord);
    for (const int size : {1, 3, 4, 5, static_cast<int>(whole.size()) - 1})
        expectRejected(whole + whole.left(size), "message incomplete");
}

TEST(Stream, InvalidArgumentsReturnExitCode2)
{
    EXPECT_EQ(run({}), 2);
    EXPECT_EQ(run({"send"}), 2);
    EXPECT_EQ(run({"forward", "socket"}), 2);
}

TEST(Stream, UnusableAddressReturnsExitCode2)
{
    const QTemporaryDir directory;
    EXPECT_EQ(run({"send", directory.filePath("nobody")}), 2);
    EXPECT_EQ(run({"receive", directory.filePath("no/folder")}), 2);
}
