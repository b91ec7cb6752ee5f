#pragma once

#include "KeyReader.h"
#include "displays/LiveTable.h"

namespace monitor
{

/// The visible part of a live table, and how keys change it. This class is reentrant.
class LiveView
{
public:
    /// An action of a key that the view itself cannot perform.
    enum class Request { None, Quit, Reset };

    /// Keys pause and filter \a viewedTable, which must outlive this object.
    explicit LiveView(LiveTable& viewedTable) : table(viewedTable) {}

    /// Handles a key. While a filter is being typed, characters are added to it.
    Request press(const Key& key);

    /// Scrolls back if there would be blank lines below the last of \a rows, of which \a visible
    /// fit on the screen.
    void fitTo(int rows, int visible);

    /// Whether a filter is being typed.
    bool isTyping() const { return typing; }

    int firstRow() const { return row; }
    int firstColumn() const { return column; }

private:
    Request pressCharacter(QChar character);
    void pressInFilter(const Key& key);
    void scroll(Key::Kind kind);

    LiveTable& table;
    bool typing = false;
    int row = 0;
    int column = 0;
    int page = 1; // the number of rows that fit on the screen
};

} // namespace monitor
