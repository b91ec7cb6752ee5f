#pragma once

#include "KeyReader.h"

#include <QtCore/QString>

namespace monitor
{

/// The part of a live table that is shown, and how keys change it. This class is reentrant.
class LiveView
{
public:
    /// An action of a key other than a change of the view.
    enum class Request { None, Quit, Reset };

    /// Takes a key in. While the filter is typed, characters belong to it.
    Request press(const Key& key);

    /// Scrolls back if there would be blank lines below the last row: there are \a rows, and room
    /// for \a visible of them.
    void fitTo(int rows, int visible);

    bool isPaused() const { return paused; }
    bool isTyping() const { return typing; }

    /// The text that the names of the shown signals contain.
    const QString& filterText() const { return filter; }
    int firstRow() const { return row; }
    int firstColumn() const { return column; }

private:
    Request pressCharacter(QChar character);
    void pressInFilter(const Key& key);
    void scroll(Key::Kind kind);

    bool paused = false;
    bool typing = false;
    QString filter;
    int row = 0;
    int column = 0;
    int page = 1; // rows that have room
};

} // namespace monitor
