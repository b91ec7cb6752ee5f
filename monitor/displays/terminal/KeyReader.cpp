#include "KeyReader.h"

#include <QtCore/QHash>

#include <algorithm>

namespace monitor
{

namespace
{

constexpr char escape = '\x1b';

/// The keys by the bytes of their sequences, without the introducer.
const QHash<QByteArray, Key::Kind>& sequences()
{
    static const QHash<QByteArray, Key::Kind> known{
        {"A", Key::Up},      {"B", Key::Down},      {"C", Key::Right}, {"D", Key::Left},
        {"H", Key::Home},    {"F", Key::End},       {"1~", Key::Home}, {"4~", Key::End},
        {"5~", Key::PageUp}, {"6~", Key::PageDown},
    };
    return known;
}

bool isFinal(char c)
{
    return c >= '@' && c <= '~';
}

/// The length in bytes of the UTF-8 character that begins with \a first.
int lengthOf(char first)
{
    const auto byte = static_cast<unsigned char>(first);
    return byte >= 0xF0 ? 4 : byte >= 0xE0 ? 3 : byte >= 0xC0 ? 2 : 1;
}

} // namespace

QVector<Key> KeyReader::read(const QByteArray& bytes)
{
    QVector<Key> keys;
    waiting += bytes;
    while (!waiting.isEmpty() && takeKey(keys)) {
    }
    return keys;
}

QVector<Key> KeyReader::finish()
{
    const bool isEscape = waiting.size() == 1 && waiting.at(0) == escape;
    waiting.clear();
    return isEscape ? QVector<Key>{{Key::Escape}} : QVector<Key>();
}

/// Takes one key from the waiting bytes. Returns false if its sequence is still incomplete.
bool KeyReader::takeKey(QVector<Key>& keys)
{
    const char first = waiting.at(0);
    if (first == escape)
        return takeSequence(keys);
    const int length = lengthOf(first);
    if (waiting.size() < length)
        return false;
    const QString text = QString::fromUtf8(waiting.left(length));
    waiting.remove(0, length);
    if (first == '\r' || first == '\n')
        keys.append(Key{Key::Enter});
    else if (first == '\x7f' || first == '\b')
        keys.append(Key{Key::Backspace});
    else if (text.size() == 1 && text.at(0).isPrint())
        keys.append(Key{Key::Character, text.at(0)});
    return true;
}

bool KeyReader::takeSequence(QVector<Key>& keys)
{
    if (waiting.size() < 2)
        return false;
    if (waiting.at(1) != '[' && waiting.at(1) != 'O') {
        waiting.remove(0, 1);
        keys.append(Key{Key::Escape});
        return true;
    }
    const auto end = std::find_if(waiting.cbegin() + 2, waiting.cend(), isFinal);
    if (end == waiting.cend())
        return false;
    const int length = static_cast<int>(end - waiting.cbegin()) + 1;
    const auto known = sequences().constFind(waiting.mid(2, length - 2));
    if (known != sequences().cend())
        keys.append(Key{known.value()});
    waiting.remove(0, length);
    return true;
}

} // namespace monitor
