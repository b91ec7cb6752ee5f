#pragma once

#include <gtest/gtest.h>

#include <QtCore/QProcess>

/// An invisible X display with a free display number. Windows of this program, and of programs that
/// it starts, are shown there.
class VirtualDisplay
{
public:
    VirtualDisplay()
    {
        server.start(XVFB_PROGRAM, {"-displayfd", "1", "-screen", "0", "1600x1200x24", "-nolisten",
                                    "tcp", "-noreset"});
        QByteArray number;
        while (!number.endsWith('\n') && server.waitForReadyRead(60000))
            number += server.readAllStandardOutput();
        EXPECT_TRUE(number.endsWith('\n')) << server.readAllStandardError().toStdString();
        qputenv("DISPLAY", ':' + number.trimmed());
        qputenv("QT_QPA_PLATFORM", "xcb");
        qputenv("DBUS_SESSION_BUS_ADDRESS", "disabled:"); // there is no session bus
        qputenv("QT_XCB_GL_INTEGRATION", "none");         // OpenGL is not needed
    }

    ~VirtualDisplay()
    {
        server.terminate();
        server.waitForFinished();
    }

    VirtualDisplay(const VirtualDisplay&) = delete;
    VirtualDisplay& operator=(const VirtualDisplay&) = delete;

private:
    QProcess server;
};
