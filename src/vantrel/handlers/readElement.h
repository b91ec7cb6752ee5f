#pragma once

#include <QtCore/QMetaType>
#include <QtCore/QVariant>

/// The number in \a field as an N: what it holds if that is an N, else what Qt converts a copy of
/// it to, 0 if Qt cannot.
template <typename N>
N readElement(const QVariant& field)
{
    constexpr int typeId = QMetaTypeId2<N>::MetaType;
    if (field.userType() == typeId)
        return *static_cast<const N*>(field.constData());
    QVariant converted(field);
    return converted.convert(typeId) ? *static_cast<const N*>(converted.constData()) : N(0);
}
