#include "LiveScreen.h"

#include "views/statisticsTable.h"

#include <algorithm>

namespace monitor
{

namespace
{

constexpr int otherLines = 4; // header, filter, titles and keys
constexpr int titleLine = 2;

constexpr char plain[] = "\x1b[0m";
constexpr char bold[] = "\x1b[1m";

QString styleOf(Highlight highlight)
{
    switch (highlight) {
    case Highlight::LowRating:
        return QStringLiteral("\x1b[1;31m");
    case Highlight::Silence:
        return QStringLiteral("\x1b[33m");
    case Highlight::None:
        break;
    }
    return QString();
}

QString formatFilter(const LiveTable& table, const LiveView& view, const QStringList& remarks)
{
    QStringList parts;
    if (table.isPaused())
        parts += QStringLiteral("paused");
    if (view.isTyping())
        parts += '/' + table.filterText() + '_';
    else if (!table.filterText().isEmpty())
        parts += QStringLiteral("filter /") + table.filterText();
    for (const QString& remark : remarks)
        parts += printable(remark);
    return parts.join(QStringLiteral("  "));
}

QString formatKeys(const LiveView& view, int shown, int rowCount)
{
    const QString keys = view.isTyping()
                             ? QStringLiteral("Enter done  Esc show all")
                             : QStringLiteral("q quit  p pause  r reset  / filter  arrows scroll");
    const int first = shown > 0 ? view.firstRow() + 1 : 0;
    return QStringLiteral("signals %1-%2 of %3  ")
               .arg(first)
               .arg(view.firstRow() + shown)
               .arg(rowCount) +
           keys;
}

} // namespace

int LiveScreen::rowsOn(const QSize& size)
{
    return std::max(0, size.height() - otherLines);
}

QString LiveScreen::draw(const LiveTable& table, const LiveView& view, const QSize& size,
                         const QStringList& remarks)
{
    const int first = view.firstRow();
    const int shown = std::clamp(table.rowCount() - first, 0, rowsOn(size));
    QVector<QStringList> cells;
    for (int row = first; row < first + shown; ++row)
        cells += table.cells(row);
    const QVector<Column> columns =
        QVector<Column>{{QString(' '), Alignment::Left}} + statisticsColumns();
    QStringList lines{formatHeader(table.bus(), table.snapshot().counts),
                      formatFilter(table, view, remarks)};
    for (const QString& line : formatLines(columns, cells, widths))
        lines += line.left(fixedWidth()) + line.mid(fixedWidth() + view.firstColumn());
    lines += formatKeys(view, shown, table.rowCount());
    for (QString& line : lines)
        line.truncate(size.width());
    lines[titleLine] = bold + lines.at(titleLine) + plain;
    for (int i = 0; i < shown; ++i) {
        const QString style = styleOf(table.highlight(first + i));
        QString& line = lines[titleLine + 1 + i];
        if (!style.isEmpty())
            line = style + line + plain;
    }
    return lines.join('\n');
}

/// The width of the columns that are not scrolled: the mark, the name and the source.
int LiveScreen::fixedWidth() const
{
    constexpr int gap = 2;
    return widths.at(0) + widths.at(1) + widths.at(2) + 3 * gap;
}

} // namespace monitor
