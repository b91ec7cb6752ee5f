#pragma once

#include <QtWidgets/QTableView>

namespace monitor
{

/// A table of signals of which one is selected. Columns only grow, so that they stay where they
/// were.
class SignalView : public QTableView
{
public:
    SignalView();

    /// Widens columns as far as what is seen of them needs it.
    void widenColumns();
};

} // namespace monitor
