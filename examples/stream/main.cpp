#include <vantrel/signal/GenericSignalImpl.h>

#include <QtCore/QCoreApplication>
#include <QtNetwork/QLocalServer>
#include <QtNetwork/QLocalSocket>
#include <iostream>

constexpr quint32 longestMessage = 64; // bytes; a record of two numbers takes at most 32
constexpr int patience = 10000;        // milliseconds

static int fail(int exitCode, const QString& message)
{
    std::cerr << "stream: " << message.toStdString() << std::endl;
    return exitCode;
}

/// Reads \a record from untrusted bytes. False unless they are one whole record with a raw
/// value, and both values are plain numbers: QVariant would construct any type that they name.
[[nodiscard]] static bool readRecord(const QByteArray& bytes, J1939Value& record)
{
    QDataStream stream(bytes);
    qint16 formatVersion = 0;
    stream >> formatVersion;
    for (int i = 0; i < 2; ++i) {
        quint32 type = 0;
        stream >> type;
        if (type > QMetaType::Double) // up to there: no value, bool, integers, double
            return false;
        stream.skipRawData(1 + QMetaType::sizeOf(static_cast<int>(type))); // null flag, number
    }
    if (formatVersion != 1 || stream.skipRawData(4) != 4 || !stream.atEnd()) // 4: the value tag
        return false;
    stream.device()->reset();
    stream >> record;
    return record.rawValue.isValid();
}

static int receive(const QString& name)
{
    QLocalServer server;
    server.setSocketOptions(QLocalServer::UserAccessOption); // nobody else may connect
    if (!server.listen(name) || !server.waitForNewConnection(-1))
        return fail(2, server.errorString());
    QLocalSocket& socket = *server.nextPendingConnection();
    socket.setReadBufferSize(4096);
    const auto waitFor = [&socket](qint64 size) {
        while (socket.bytesAvailable() < size && socket.waitForReadyRead(patience)) {
        }
        return socket.bytesAvailable() >= size;
    };
    GenericSignalImpl<J1939Value> speed; // keeps the newest record only, and running statistics
    speed.setDatatype(CAN::CANopenDataType::REAL64);
    QDataStream stream(&socket);
    quint32 size = 0;
    qint64 count = 0;
    for (; waitFor(sizeof size); ++count) {
        stream >> size;
        J1939Value record;
        if (size > longestMessage)
            return fail(1, QStringLiteral("message of %1 bytes, longer than a record").arg(size));
        if (!waitFor(size))
            return fail(1, QStringLiteral("message incomplete"));
        if (!readRecord(socket.read(size), record))
            return fail(1, QStringLiteral("message is not a record of plain numbers"));
        speed.setNewValue(record, 0.125, 0);
    }
    if (socket.bytesAvailable() > 0)
        return fail(1, QStringLiteral("message incomplete"));
    if (socket.state() != QLocalSocket::UnconnectedState)
        return fail(1, QStringLiteral("no message for %1 s").arg(patience / 1000));
    std::cout << count << " records, average " << speed.calcAverage() << ", deviation "
              << speed.calcDeviation() << ", " << speed.getMin() << " to " << speed.getMax()
              << '\n';
    return 0;
}

static int send(const QString& name)
{
    QLocalSocket socket;
    socket.connectToServer(name);
    if (!socket.waitForConnected(patience))
        return fail(2, socket.errorString());
    QDataStream stream(&socket);
    for (int raw = 4800; raw <= 5800; ++raw) { // a speed rising from 600 to 725 rpm
        J1939Value value;
        value.rawValue = raw;
        QByteArray bytes;
        QDataStream record(&bytes, QIODevice::WriteOnly);
        record << value;
        stream << bytes; // the size, then the bytes
    }
    while (socket.waitForBytesWritten(patience)) {
    }
    return socket.bytesToWrite() == 0 ? 0 : fail(2, socket.errorString());
}

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = application.arguments();
    if (arguments.size() != 3 || !QStringList{"receive", "send"}.contains(arguments.at(1)))
        return fail(2, QStringLiteral("usage: stream receive NAME, or stream send NAME"));
    return arguments.at(1) == "send" ? send(arguments.at(2)) : receive(arguments.at(2));
}
