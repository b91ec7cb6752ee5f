#pragma once

#include <gtest/gtest.h>

#include <QtCore/QProcess>

/// A display that nobody sees, on a number that is free. Programs that are started meanwhile, and
/// windows of this one, are shown there.
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
        qputenv("DBUS_SESSION_BUS_ADDRESS", "disabled:"); // there is no session
        qputenv("QT_XCB_GL_INTEGRATION", "none");         // nothing here takes OpenGL
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
