#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QStringList>
#include <QtCore/QVector>

#include <array>

namespace monitor
{

/// The names of the buses in a source, numbered in the order in which they appear. This class is
/// reentrant.
class BusNames
{
public:
    /// All names beyond this number share the last one, "other".
    static constexpr int maxNames = 1024;

    /// The number of the bus \a name, which is added if it is new.
    quint16 indexOf(const QByteArray& name)
    {
        return indexOf(name.constData(), static_cast<int>(name.size()));
    }

    /// The same for the \a size bytes at \a name. Cheap if the previous call had the same name.
    quint16 indexOf(const char* name, int size);

    /// The same for the \a size characters, 1 to 8, of \a name, whose lowest byte is the first one.
    /// Cheap if there are few names.
    quint16 indexOf(quint64 name, int size)
    {
        Recent& place = recent[name * 0x9E3779B97F4A7C15 >> 60];
        if (place.name != name)
            place = {name, indexOfNew(name, size)};
        return place.index;
    }

    QStringList names() const;

private:
    struct Recent {
        quint64 name = 0;
        quint16 index = 0;
    };

    quint16 indexOfNew(quint64 name, int size);

    std::array<Recent, 16> recent;
    QVector<QByteArray> known;
    quint16 newest = 0;
};

} // namespace monitor
