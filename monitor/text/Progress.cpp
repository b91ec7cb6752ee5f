#include "Progress.h"

#include <unistd.h>

namespace monitor
{

namespace
{

constexpr char clearLine[] = "\r\033[K";

} // namespace

bool isStandardErrorTerminal()
{
    return isatty(STDERR_FILENO) == 1;
}

Progress::Progress(QTextStream& stream, const QString& operation, bool onTerminal,
                   std::chrono::milliseconds delay)
    : output(stream), text(operation), isEnabled(onTerminal), interval(delay)
{
    sinceShown.start();
}

Progress::~Progress()
{
    if (!isShown)
        return;
    output << clearLine;
    output.flush();
}

// The cursor is left at the start of the line, so that any other output starts there.
void Progress::update(qint64 done, qint64 total)
{
    constexpr std::chrono::milliseconds period(100);
    if (!isEnabled || total <= 0 || sinceShown.elapsed() < interval.count())
        return;
    const auto percent =
        static_cast<int>(100.0 * static_cast<double>(done) / static_cast<double>(total));
    output << clearLine << text << ' ' << percent << " %\r";
    output.flush();
    isShown = true;
    interval = period;
    sinceShown.restart();
}

} // namespace monitor
