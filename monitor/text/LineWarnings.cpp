#include "LineWarnings.h"

#include <utility>

namespace monitor
{

LineWarnings::LineWarnings(QTextStream& stream, QString name)
    : output(stream), fileName(std::move(name))
{
}

void LineWarnings::add(qint64 line, const QString& text)
{
    if (++warnings <= printedAtMost)
        output << fileName << ':' << line << ": " << text << '\n';
}

void LineWarnings::printTotal(const QString& text)
{
    if (warnings > 0)
        output << fileName << ": " << warnings << ' ' << text << '\n';
}

} // namespace monitor
