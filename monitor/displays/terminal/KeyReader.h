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
    QChar character{}; ///< only for Kind::Character
};

/// Converts the bytes that a terminal sends to keys (ECMA-48, xterm). This class is reentrant.
class KeyReader
{
public:
    /// The keys in \a bytes, preceded by the bytes left over from the previous call. Unknown keys
    /// are skipped. An incomplete sequence is left over until the rest arrives.
    QVector<Key> read(const QByteArray& bytes);

    /// The keys in the bytes left over. Call this if no more bytes have arrived: the escape key
    /// sends only the byte with which the sequences of other keys begin.
    QVector<Key> finish();

private:
    bool takeKey(QVector<Key>& keys);
    bool takeSequence(QVector<Key>& keys);

    QByteArray waiting;
};

} // namespace monitor
