#include "Progress.h"

#include <unistd.h>

namespace monitor
{

namespace
{

constexpr char clearLine[] = "\r\033[K";

} // namespace

bool isErrorOutputATerminal()
{
    return isatty(STDERR_FILENO) == 1;
}

Progress::Progress(QTextStream& stream, const QString& work, bool onTerminal,
                   std::chrono::milliseconds patience)
    : output(stream), text(work), isWanted(onTerminal), wait(patience)
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

// The cursor stays at the beginning of the line, so that a message which comes meanwhile begins
// there.
void Progress::update(qint64 done, qint64 total)
{
    constexpr std::chrono::milliseconds period(100);
    if (!isWanted || total <= 0 || sinceShown.elapsed() < wait.count())
        return;
    const auto percent =
        static_cast<int>(100.0 * static_cast<double>(done) / static_cast<double>(total));
    output << clearLine << text << ' ' << percent << " %\r";
    output.flush();
    isShown = true;
    wait = period;
    sinceShown.restart();
}

} // namespace monitor
