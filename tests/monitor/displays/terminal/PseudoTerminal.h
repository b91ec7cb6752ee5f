#pragma once

#include <QtCore/QElapsedTimer>
#include <QtCore/QStringList>

#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <csignal>
#include <vector>

/// The monitor on a terminal, as a person would run it.
class PseudoTerminal
{
public:
    PseudoTerminal(const QStringList& arguments, unsigned short lines, unsigned short columns)
    {
        const winsize size{lines, columns, 0, 0};
        program = forkpty(&terminal, nullptr, nullptr, &size);
        if (program == 0)
            run(arguments);
    }

    ~PseudoTerminal()
    {
        if (program > 0 && exitStatus < 0) // -1 would be every process
            kill(program, SIGKILL);
        close(terminal);
    }

    PseudoTerminal(const PseudoTerminal&) = delete;
    PseudoTerminal& operator=(const PseudoTerminal&) = delete;

    /// False if the terminal did not take all of \a keys.
    bool type(const QByteArray& keys)
    {
        return write(terminal, keys.constData(), static_cast<size_t>(keys.size())) == keys.size();
    }

    void signal(int number) { kill(program, number); }

    /// All that was written.
    const QByteArray& output() const { return written; }

    /// What stands on the screen that was drawn last and completely.
    QString screen() const
    {
        const int end = written.lastIndexOf("\x1b[J");
        const int begin = written.lastIndexOf("\x1b[H", end);
        return QString::fromUtf8(written.mid(begin, end - begin)).remove("\x1b[K");
    }

    /// Waits until \a condition holds for what has been written; false if it never does.
    template <typename Condition>
    bool waitUntil(Condition condition)
    {
        QElapsedTimer timer;
        timer.start();
        while (!condition()) {
            if (timer.elapsed() > 30000 || !readMore())
                return condition();
        }
        return true;
    }

    bool waitForScreen(const QString& text)
    {
        return waitUntil([&] { return screen().contains(text); });
    }

    /// Waits for the end of the program, and returns its exit code, or -1. Kills a program
    /// that does not end.
    int waitForEnd()
    {
        QElapsedTimer timer;
        timer.start();
        waitUntil([] { return false; });
        if (timer.elapsed() > 30000)
            kill(program, SIGKILL);
        int status = 0;
        if (waitpid(program, &status, 0) == program && WIFEXITED(status))
            exitStatus = WEXITSTATUS(status);
        return exitStatus;
    }

    termios modes() const
    {
        termios now{};
        tcgetattr(terminal, &now);
        return now;
    }

private:
    [[noreturn]] static void run(const QStringList& arguments)
    {
        std::vector<QByteArray> texts{MONITOR_PROGRAM};
        for (const QString& argument : arguments)
            texts.push_back(argument.toUtf8());
        std::vector<char*> pointers;
        for (QByteArray& text : texts)
            pointers.push_back(text.data());
        pointers.push_back(nullptr);
        execv(MONITOR_PROGRAM, pointers.data());
        _exit(127);
    }

    /// False at the end of what the program writes.
    bool readMore()
    {
        pollfd ready{terminal, POLLIN, 0};
        if (poll(&ready, 1, 30000) != 1)
            return false;
        char buffer[65536];
        const ssize_t size = read(terminal, buffer, sizeof buffer);
        if (size <= 0)
            return false;
        written.append(buffer, static_cast<int>(size));
        return true;
    }

    int terminal = -1;
    pid_t program = -1;
    int exitStatus = -1;
    QByteArray written;
};
