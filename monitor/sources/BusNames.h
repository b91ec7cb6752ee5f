#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QStringList>
#include <QtCore/QVector>

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

    QStringList names() const;

private:
    QVector<QByteArray> known;
    quint16 newest = 0;
};

} // namespace monitor
