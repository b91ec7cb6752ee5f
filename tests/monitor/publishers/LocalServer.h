#pragma once

#include <gtest/gtest.h>

#include <QtCore/QElapsedTimer>
#include <QtCore/QProcess>
#include <QtCore/QThread>
#include <QtNetwork/QTcpServer>
#include <QtNetwork/QTcpSocket>

/// A free port of this machine.
inline quint16 freePort()
{
    QTcpServer server;
    EXPECT_TRUE(server.listen(QHostAddress::LocalHost));
    return server.serverPort();
}

/// A server program, which ends with this object.
class LocalServer
{
public:
    LocalServer(const QString& program, const QStringList& arguments, quint16 port)
    {
        process.setProcessChannelMode(QProcess::MergedChannels);
        process.start(program, arguments);
        EXPECT_TRUE(process.waitForStarted());
        EXPECT_TRUE(waitUntil([&] { return accepts(port) || !isRunning(); }) && isRunning())
            << program.toStdString() << ": " << process.readAll().toStdString();
    }

    ~LocalServer()
    {
        process.kill();
        process.waitForFinished();
    }

    LocalServer(const LocalServer&) = delete;
    LocalServer& operator=(const LocalServer&) = delete;

    /// Waits until \a isTrue returns true, at most a minute.
    template <typename Condition>
    static bool waitUntil(Condition isTrue)
    {
        constexpr int pause = 20;
        constexpr int longest = 60000;
        QElapsedTimer timer;
        timer.start();
        while (!isTrue()) {
            if (timer.elapsed() > longest)
                return false;
            QThread::msleep(pause);
        }
        return true;
    }

private:
    static bool accepts(quint16 port)
    {
        QTcpSocket socket;
        socket.connectToHost(QHostAddress::LocalHost, port);
        return socket.waitForConnected(1000);
    }

    bool isRunning()
    {
        process.waitForReadyRead(0); // notices the end
        return process.state() != QProcess::NotRunning;
    }

    QProcess process;
};

/// The body of the answer to an HTTP request; empty if the request fails.
inline QByteArray httpGet(quint16 port, const QByteArray& path)
{
    QTcpSocket socket;
    socket.connectToHost(QHostAddress::LocalHost, port);
    if (!socket.waitForConnected(10000))
        return {};
    socket.write("GET " + path + " HTTP/1.0\r\nHost: localhost\r\n\r\n");
    QByteArray answer;
    while (socket.waitForReadyRead(10000))
        answer += socket.readAll();
    answer += socket.readAll();
    return answer.startsWith("HTTP/1.0 200") || answer.startsWith("HTTP/1.1 200")
               ? answer.mid(answer.indexOf("\r\n\r\n") + 4)
               : QByteArray();
}
