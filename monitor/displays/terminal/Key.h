#pragma once

#include <QtCore/QChar>

namespace monitor
{

/// A key that was pressed.
struct Key {
    enum Kind {
        Character,
        Enter,
        Escape,
        Backspace,
        Up,
        Down,
        Left,
        Right,
        PageUp,
        PageDown,
        Home,
        End
    };

    Kind kind;
    QChar character{}; ///< of a Character
};

} // namespace monitor
