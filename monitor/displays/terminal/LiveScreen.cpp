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
    format(table, first, shown);
    QStringList lines{formatHeader(table.bus(), table.snapshot().counts),
                      formatFilter(table, view, remarks)};
    for (const QString& line : qAsConst(formatted))
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

/// Formats \a count rows of \a table, unless they are the same as before. On a quiet bus,
/// formatting them again would be most of the work.
void LiveScreen::format(const LiveTable& table, int first, int count)
{
    decltype(rows) wanted;
    for (int row = first; row < first + count; ++row)
        wanted.emplace_back(table.row(row).statistics, table.highlight(row));
    if (wanted == rows && !formatted.isEmpty())
        return;
    rows = std::move(wanted);
    QVector<QStringList> cells;
    for (int row = first; row < first + count; ++row)
        cells += table.cells(row);
    const QVector<Column> columns =
        QVector<Column>{{QString(' '), Alignment::Left}} + statisticsColumns();
    formatted = formatLines(columns, cells, widths);
}

/// The width of the columns that are not scrolled: the mark, the name and the source.
int LiveScreen::fixedWidth() const
{
    constexpr int gap = 2;
    return widths.at(0) + widths.at(1) + widths.at(2) + 3 * gap;
}

} // namespace monitor
