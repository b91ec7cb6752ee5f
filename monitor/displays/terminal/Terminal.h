#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QSize>
#include <QtCore/QString>

#include <termios.h>

namespace monitor
{

/// Uses the whole screen of the terminal, and reads keys without waiting for the end of a line. The
/// destructor restores the terminal. Only one object may exist at a time.
class Terminal
{
public:
    /// Whether standard output is a terminal.
    static bool isAvailable();

    Terminal();
    ~Terminal();

    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    /// In columns and lines.
    QSize size() const;

    /// Replaces the content of the screen with \a screen, whose lines are separated by line feeds.
    /// It may contain control sequences for the style of characters.
    void draw(const QString& screen);

    /// The bytes typed since the last call. Never waits.
    QByteArray readInput();

private:
    termios before{};
    bool hasKeys;
};

} // namespace monitor
