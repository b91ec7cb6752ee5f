#include "SignalView.h"

#include <QtWidgets/QHeaderView>

#include <algorithm>

namespace monitor
{

SignalView::SignalView()
{
    constexpr int rowMargin = 4;
    QFont smaller = font(); // there are many columns
    smaller.setPointSizeF(smaller.pointSizeF() * 0.9);
    setFont(smaller);
    horizontalHeader()->setFont(smaller);
    setSelectionBehavior(SelectRows);
    setSelectionMode(SingleSelection);
    setHorizontalScrollMode(ScrollPerPixel);
    setWordWrap(false);
    setShowGrid(false);
    setAlternatingRowColors(true);
    verticalHeader()->hide();
    verticalHeader()->setDefaultSectionSize(fontMetrics().height() + rowMargin);
    horizontalHeader()->setHighlightSections(false);
    horizontalHeader()->setMinimumSectionSize(fontMetrics().height());
    horizontalHeader()->setDefaultSectionSize(fontMetrics().height());
}

void SignalView::widenColumns()
{
    for (int column = 0; column < model()->columnCount(); ++column) {
        const int wanted =
            std::max(horizontalHeader()->sectionSizeHint(column), sizeHintForColumn(column));
        if (wanted > columnWidth(column))
            setColumnWidth(column, wanted);
    }
}

} // namespace monitor
