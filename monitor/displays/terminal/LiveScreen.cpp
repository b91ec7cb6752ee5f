#include "LiveScreen.h"

#include "views/ReportTable.h"

#include <algorithm>

namespace monitor
{

namespace
{

constexpr int otherLines = 4; // header, filter, titles and keys
constexpr int titleLine = 2;

const QString plain = QStringLiteral("\x1b[0m");
const QString bold = QStringLiteral("\x1b[1m");
const QString lowRating = QStringLiteral("\x1b[1;31m");
const QString silence = QStringLiteral("\x1b[33m");

QString styleOf(Highlight highlight)
{
    switch (highlight) {
    case Highlight::LowRating:
        return lowRating;
    case Highlight::Silence:
        return silence;
    case Highlight::None:
        break;
    }
    return QString();
}

QString formatFilter(const LiveView& view)
{
    QString line = view.isPaused() ? QStringLiteral("paused  ") : QString();
    if (view.isTyping())
        line += '/' + view.filterText() + '_';
    else if (!view.filterText().isEmpty())
        line += QStringLiteral("only /") + view.filterText();
    return line;
}

QString formatKeys(const LiveView& view, int shown, int rowCount)
{
    const QString keys = view.isTyping()
                             ? QStringLiteral("Enter done  Esc all signals")
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

QString LiveScreen::draw(const LiveHeader& header, const QVector<LiveRow>& rows, int rowCount,
                         const LiveView& view, const QSize& size)
{
    const QStringList table = tableLines(rows);
    const auto scrolled = [&](const QString& line) {
        return line.left(fixedWidth()) + line.mid(fixedWidth() + view.firstColumn());
    };
    QStringList lines{formatHeader(header), formatFilter(view), scrolled(table.first())};
    for (int i = 0; i < rows.size(); ++i)
        lines += scrolled(table.at(i + 1));
    lines += formatKeys(view, rows.size(), rowCount);
    for (QString& line : lines)
        line.truncate(size.width());
    setStyles(rows, lines);
    return lines.join('\n');
}

/// Puts control sequences around the titles and the rows in \a lines.
void LiveScreen::setStyles(const QVector<LiveRow>& rows, QStringList& lines) const
{
    lines[titleLine] = bold + lines.at(titleLine) + plain;
    for (int i = 0; i < rows.size(); ++i) {
        const QString style = styleOf(highlightOf(rows.at(i), leastRating));
        QString& line = lines[titleLine + 1 + i];
        if (!style.isEmpty())
            line = style + line + plain;
    }
}

/// The columns that stand still when the others are scrolled: the mark, the name and the source.
int LiveScreen::fixedWidth() const
{
    constexpr int gap = 2;
    return widths.at(0) + widths.at(1) + widths.at(2) + 3 * gap;
}

QStringList LiveScreen::tableLines(const QVector<LiveRow>& rows)
{
    QVector<QStringList> cells;
    for (const LiveRow& row : rows)
        cells += QStringList(markOf(highlightOf(row, leastRating))) + reportRow(row.report);
    return formatLines(QVector<Column>{{QString(' '), Alignment::Left}} + reportColumns(), cells,
                       widths);
}

} // namespace monitor
