#pragma once

#include "LiveView.h"
#include "views/LiveHeader.h"
#include "views/LiveRow.h"

#include <QtCore/QSize>
#include <QtCore/QStringList>
#include <QtCore/QVector>

namespace monitor
{

/// Draws a live table as a screen of text. Columns only grow, so that they stay where they were.
class LiveScreen
{
public:
    /// Signals rated under \a rating are highlighted.
    explicit LiveScreen(int rating) : leastRating(rating) {}

    /// The rows that have room on a screen of \a size.
    static int rowsOn(const QSize& size);

    /// The screen: the header, the columns' titles, \a rows, which are those of all \a rowCount
    /// that the view begins with, and what the keys do. A row that is highlighted has a mark
    /// before it, and control sequences around it.
    QString draw(const LiveHeader& header, const QVector<LiveRow>& rows, int rowCount,
                 const LiveView& view, const QSize& size);

private:
    QStringList tableLines(const QVector<LiveRow>& rows);
    void setStyles(const QVector<LiveRow>& rows, QStringList& lines) const;
    int fixedWidth() const;

    int leastRating;
    QVector<int> widths;
};

} // namespace monitor
