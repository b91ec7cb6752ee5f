#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QChar>
#include <QtCore/QVector>

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

/// Turns the bytes that a terminal sends into keys (ECMA-48, xterm). This class is reentrant.
class KeyReader
{
public:
    /// The keys in \a bytes and in the bytes left over from the call before. Unknown keys are
    /// skipped. The beginning of a longer sequence is left over until its end arrives.
    QVector<Key> read(const QByteArray& bytes);

    /// The keys in the bytes left over, to be called when no more have arrived: the escape key
    /// sends only the byte with which the sequences of other keys begin.
    QVector<Key> finish();

private:
    bool takeKey(QVector<Key>& keys);
    bool takeSequence(QVector<Key>& keys);

    QByteArray waiting;
};

} // namespace monitor
