#include "Terminal.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace monitor
{

namespace
{

// Switch to the alternate screen, hide the cursor and turn off line wrapping; and the reverse.
constexpr char enter[] = "\x1b[?1049h\x1b[?25l\x1b[?7l\x1b[2J";
constexpr char leave[] = "\x1b[?7h\x1b[?25h\x1b[?1049l";

void writeAll(const QByteArray& bytes)
{
    for (int written = 0; written < bytes.size();) {
        const ssize_t size = write(STDOUT_FILENO, bytes.constData() + written,
                                   static_cast<size_t>(bytes.size() - written));
        if (size < 0 && errno != EINTR)
            return; // the terminal is gone
        written += static_cast<int>(std::max<ssize_t>(size, 0));
    }
}

} // namespace

bool Terminal::isAvailable()
{
    return isatty(STDOUT_FILENO) == 1;
}

// The keys for interrupt and quit stay enabled. The key for suspend is disabled, because a
// suspended program would leave the terminal in this state.
Terminal::Terminal() : hasKeys(tcgetattr(STDIN_FILENO, &before) == 0)
{
    if (hasKeys) {
        termios raw = before;
        raw.c_lflag &= static_cast<tcflag_t>(~(ICANON | ECHO));
        raw.c_cc[VSUSP] = _POSIX_VDISABLE;
        raw.c_cc[VMIN] = 0;
        raw.c_cc[VTIME] = 0;
        tcsetattr(STDIN_FILENO, TCSAFLUSH, &raw);
    }
    writeAll(enter);
}

Terminal::~Terminal()
{
    writeAll(leave);
    if (hasKeys)
        tcsetattr(STDIN_FILENO, TCSAFLUSH, &before);
}

QSize Terminal::size() const
{
    winsize window{};
    const bool known = ioctl(STDOUT_FILENO, TIOCGWINSZ, &window) == 0 && window.ws_row > 0;
    return known ? QSize(window.ws_col, window.ws_row) : QSize(80, 24);
}

void Terminal::draw(const QString& screen)
{
    QByteArray bytes = screen.toUtf8();
    bytes.replace("\n", "\x1b[K\r\n");
    writeAll("\x1b[H" + bytes + "\x1b[J");
}

QByteArray Terminal::readInput()
{
    QByteArray bytes;
    char buffer[256];
    ssize_t size = 0;
    while (hasKeys && (size = read(STDIN_FILENO, buffer, sizeof buffer)) > 0)
        bytes.append(buffer, static_cast<int>(size));
    return bytes;
}

} // namespace monitor
