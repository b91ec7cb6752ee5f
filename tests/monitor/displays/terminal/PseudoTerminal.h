#pragma once

#include <QtCore/QElapsedTimer>
#include <QtCore/QStringList>

#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <csignal>
#include <functional>
#include <vector>

/// A process on a terminal of its own, as a user would run it.
class PseudoTerminal
{
public:
    /// Runs the program.
    PseudoTerminal(const QStringList& arguments, unsigned short lines, unsigned short columns)
        : PseudoTerminal([&arguments] { return execute(arguments); }, lines, columns)
    {
    }

    /// Calls \a main in a copy of this process, which ends with the returned exit code.
    PseudoTerminal(const std::function<int()>& main, unsigned short lines, unsigned short columns)
    {
        const winsize size{lines, columns, 0, 0};
        program = forkpty(&terminal, nullptr, nullptr, &size);
        if (program == 0)
            _exit(main());
    }

    ~PseudoTerminal()
    {
        if (program > 0 && exitStatus < 0) // -1 would be every process
            kill(program, SIGKILL);
        close(terminal);
    }

    PseudoTerminal(const PseudoTerminal&) = delete;
    PseudoTerminal& operator=(const PseudoTerminal&) = delete;

    /// Returns false if the terminal did not accept all of \a keys.
    bool type(const QByteArray& keys)
    {
        return write(terminal, keys.constData(), static_cast<size_t>(keys.size())) == keys.size();
    }

    void signal(int number) { kill(program, number); }

    /// Everything the process has written.
    const QByteArray& output() const { return written; }

    /// The last screen that was drawn completely.
    QString screen() const
    {
        const auto end = written.lastIndexOf("\x1b[J");
        const auto begin = written.lastIndexOf("\x1b[H", end);
        return QString::fromUtf8(written.mid(begin, end - begin)).remove("\x1b[K");
    }

    /// Reads until \a condition holds. Returns false if it does not within half a minute.
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

    /// Waits for the end of the process, and kills it after half a minute. Returns its exit code,
    /// or -1 if a signal ended it.
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
    /// Replaces this process by the program. Returns only if that fails.
    static int execute(const QStringList& arguments)
    {
        std::vector<QByteArray> texts{MONITOR_PROGRAM};
        for (const QString& argument : arguments)
            texts.push_back(argument.toUtf8());
        std::vector<char*> pointers;
        for (QByteArray& text : texts)
            pointers.push_back(text.data());
        pointers.push_back(nullptr);
        execv(MONITOR_PROGRAM, pointers.data());
        return 127;
    }

    /// Returns false if the process writes nothing more.
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
