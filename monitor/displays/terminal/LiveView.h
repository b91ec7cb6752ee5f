#pragma once

#include "KeyReader.h"

#include <QtCore/QString>

namespace monitor
{

/// What a person has chosen to see of a live table, and how keys change that. This class is
/// reentrant.
class LiveView
{
public:
    /// What a key asks for beyond a change of the view.
    enum class Request { None, Quit, Reset };

    /// Takes a key in. While the filter is typed, characters belong to it.
    Request press(const Key& key);

    /// Scrolls back as far as it takes not to show less than there is: \a rows of which \a visible
    /// have room.
    void fitTo(int rows, int visible);

    bool isPaused() const { return paused; }
    bool isTyping() const { return typing; }

    /// What the names of the shown signals contain.
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
