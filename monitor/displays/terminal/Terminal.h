#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QSize>
#include <QtCore/QString>

#include <termios.h>

namespace monitor
{

/// Uses the terminal of the program as a full screen whose keys arrive without waiting for the end
/// of a line. On destruction the terminal is restored. Only one object may exist at a time.
class Terminal
{
public:
    /// Whether standard output is a terminal.
    static bool isThere();

    Terminal();
    ~Terminal();

    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    /// In columns and lines.
    QSize size() const;

    /// Shows \a screen from the upper left corner, its lines ended by a line feed, and replaces the
    /// previous content. It may hold control sequences for the look of characters.
    void draw(const QString& screen);

    /// The bytes that have been typed, if any. Never waits.
    QByteArray readInput();

private:
    termios before{};
    bool hasKeys;
};

} // namespace monitor
