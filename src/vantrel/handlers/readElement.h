#pragma once

#include <QtCore/QMetaType>
#include <QtCore/QVariant>

/// What \a field holds, without a look at its type.
template <typename Stored>
Stored storedIn(const QVariant& field)
{
    return *static_cast<const Stored*>(field.constData());
}

/// The number in \a field as an N, as QVariant::convert makes it of a copy; 0 if Qt cannot.
template <typename N>
N convertElement(const QVariant& field)
{
    QVariant converted(field);
    return converted.convert(QMetaTypeId2<N>::MetaType) ? storedIn<N>(converted) : N(0);
}

/// An integer as Qt converts it: to the floating-point types through double, to the integer types
/// modulo 2^bits.
template <typename N, typename Stored>
N castElement(Stored number)
{
    if constexpr (std::is_floating_point_v<N>)
        return static_cast<N>(static_cast<double>(number));
    else
        return static_cast<N>(number);
}

/// The number in \a field as an N: what it holds if that is an N, else what Qt converts a copy of
/// it to, 0 if Qt cannot. The integers that raw and scaled values are usually stored as, int above
/// all for the 8- and 16-bit types, are read without that copy; the answer is the same.
template <typename N>
N readElement(const QVariant& field)
{
    const int storedType = field.userType();
    if (storedType == QMetaTypeId2<N>::MetaType)
        return storedIn<N>(field);
    if (field.isNull())
        return 0;
    switch (storedType) {
    case QMetaType::Int:
        return castElement<N>(storedIn<int>(field));
    case QMetaType::UInt:
        return castElement<N>(storedIn<uint>(field));
    case QMetaType::LongLong:
        return castElement<N>(storedIn<qlonglong>(field));
    case QMetaType::ULongLong:
        return castElement<N>(storedIn<qulonglong>(field));
    default:
        return convertElement<N>(field);
    }
}
