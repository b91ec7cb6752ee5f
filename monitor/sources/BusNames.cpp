#include "BusNames.h"

#include <QtCore/QtEndian>

#include <algorithm>
#include <cstring>

namespace monitor
{

quint16 BusNames::indexOf(const char* name, int size)
{
    const auto isSame = [=](const QByteArray& other) {
        return other.size() == size &&
               std::memcmp(other.constData(), name, static_cast<size_t>(size)) == 0;
    };
    if (newest < known.size() && isSame(known.at(newest)))
        return newest;
    const auto found = std::find_if(known.cbegin(), known.cend(), isSame);
    if (found == known.cend() && known.size() == maxNames)
        return maxNames - 1;
    newest = static_cast<quint16>(found - known.cbegin());
    if (found == known.cend())
        known.append(newest == maxNames - 1 ? QByteArray("other") : QByteArray(name, size));
    return newest;
}

quint16 BusNames::indexOfNew(quint64 name, int size)
{
    char letters[sizeof(name)];
    qToLittleEndian(name, letters);
    return indexOf(letters, size);
}

QStringList BusNames::names() const
{
    QStringList names;
    for (const QByteArray& name : known)
        names += QString::fromUtf8(name);
    return names;
}

} // namespace monitor
