#pragma once

#include "Key.h"

#include <QtCore/QByteArray>
#include <QtCore/QVector>

namespace monitor
{

/// Tells the keys from the bytes that a terminal sends for them (ECMA-48, xterm). This class is
/// reentrant.
class KeyReader
{
public:
    /// The keys in \a bytes and what was left of those before. What is no key that is known is
    /// skipped. The beginning of a longer sequence waits for its end.
    QVector<Key> read(const QByteArray& bytes);

    /// The keys in what still waits, since no more of it has come: the escape key sends nothing but
    /// what others begin with.
    QVector<Key> finish();

private:
    bool takeKey(QVector<Key>& keys);
    bool takeSequence(QVector<Key>& keys);

    QByteArray waiting;
};

} // namespace monitor
