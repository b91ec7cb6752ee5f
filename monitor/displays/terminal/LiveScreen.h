#pragma once

#include "LiveView.h"

#include <QtCore/QSize>
#include <QtCore/QStringList>
#include <QtCore/QVector>

#include <memory>
#include <utility>
#include <vector>

namespace monitor
{

/// Draws a live table as a screen of text. Columns never get narrower, so that they stay in place.
class LiveScreen
{
public:
    /// The number of rows that fit on a screen of \a size.
    static int rowsOn(const QSize& size);

    /// The screen: the bus, the filter and \a remarks, the titles of the columns, the rows of \a
    /// table from the first row of \a view on, and the keys. A highlighted row begins with a mark
    /// and is enclosed in control sequences.
    QString draw(const LiveTable& table, const LiveView& view, const QSize& size,
                 const QStringList& remarks = {});

private:
    void format(const LiveTable& table, int first, int count);
    int fixedWidth() const;

    QVector<int> widths;
    // The titles and rows that were drawn last, as lines, and what is shown in these rows.
    QStringList formatted;
    std::vector<std::pair<std::shared_ptr<const SignalStatistics>, Highlight>> rows;
};

} // namespace monitor
