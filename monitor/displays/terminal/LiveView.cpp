#include "LiveView.h"

#include <algorithm>
#include <limits>

namespace monitor
{

LiveView::Request LiveView::press(const Key& key)
{
    if (typing && (key.kind == Key::Character || key.kind == Key::Backspace ||
                   key.kind == Key::Enter || key.kind == Key::Escape))
        pressInFilter(key);
    else if (key.kind == Key::Character)
        return pressCharacter(key.character);
    else if (key.kind == Key::Escape)
        table.setFilter(QString());
    else
        scroll(key.kind);
    return Request::None;
}

void LiveView::fitTo(int rows, int visible)
{
    page = std::max(visible, 1);
    row = std::max(0, std::min(row, rows - visible));
}

LiveView::Request LiveView::pressCharacter(QChar character)
{
    switch (character.toLatin1()) {
    case 'q':
        return Request::Quit;
    case 'r':
        return Request::Reset;
    case 'p':
        table.setPaused(!table.isPaused());
        break;
    case '/':
        typing = true;
        break;
    }
    return Request::None;
}

void LiveView::pressInFilter(const Key& key)
{
    row = 0;
    QString filter = table.filterText();
    if (key.kind == Key::Character)
        filter += key.character;
    else if (key.kind == Key::Backspace)
        filter.chop(1);
    else
        typing = false;
    if (key.kind == Key::Escape)
        filter.clear();
    table.setFilter(filter);
}

void LiveView::scroll(Key::Kind kind)
{
    constexpr int columnStep = 8;
    constexpr int last = std::numeric_limits<int>::max() / 2; // adding a page does not overflow
    const int up = kind == Key::Up ? 1 : kind == Key::PageUp ? page : kind == Key::Home ? row : 0;
    const int down = kind == Key::Down ? 1 : kind == Key::PageDown ? page : 0;
    row = kind == Key::End ? last : std::clamp(row - up + down, 0, last);
    const int right = kind == Key::Right ? columnStep : kind == Key::Left ? -columnStep : 0;
    column = std::max(0, column + right);
}

} // namespace monitor
