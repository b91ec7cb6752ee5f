#pragma once

#include <QtCore/QList>
#include <QtCore/QMetaType>
#include <QtCore/QVariant>

#include <type_traits>

/// What \a field holds, without a look at its type. Reads the fields that QVariant's own inline
/// functions work on: a call into QtCore for type, null flag and data each would cost more than
/// all the rest of reading a number. They are part of Qt 5's binary interface and cannot change.
template <typename Stored>
Stored storedIn(const QVariant& field)
{
    const QVariant::DataPtr& d = field.data_ptr();
    return *static_cast<const Stored*>(d.is_shared ? d.data.shared->ptr : &d.data);
}

/// The number in \a field as an N, where Qt's answer is known without asking: if it is an N, and,
/// unless \a field is null and \a nullIsNothing, if it is one of the numbers that raw and scaled
/// values are usually stored as, int above all for the 8- and 16-bit types: Qt converts from one
/// integer type to another modulo 2^bits, and to the floating-point types at once. How it rounds a
/// double to an integer is left to it. \a byQt answers else.
template <typename N, bool nullIsNothing, typename ByQt>
N readDirectly(const QVariant& field, ByQt byQt)
{
    const QVariant::DataPtr& d = field.data_ptr();
    if (d.type == QMetaTypeId2<N>::MetaType)
        return storedIn<N>(field);
    if (nullIsNothing && d.is_null)
        return byQt();
    switch (d.type) {
    case QMetaType::Int:
        return static_cast<N>(storedIn<int>(field));
    case QMetaType::UInt:
        return static_cast<N>(storedIn<uint>(field));
    case QMetaType::LongLong:
        return static_cast<N>(storedIn<qlonglong>(field));
    case QMetaType::ULongLong:
        return static_cast<N>(storedIn<qulonglong>(field));
    case QMetaType::Double:
        return std::is_floating_point_v<N> ? static_cast<N>(storedIn<double>(field)) : byQt();
    case QMetaType::Float:
        return std::is_floating_point_v<N> ? static_cast<N>(storedIn<float>(field)) : byQt();
    default:
        return byQt();
    }
}

/// The number in \a field as an N: what it holds if that is an N, else what QVariant::convert makes
/// of a copy, 0 if it cannot.
template <typename N>
N readElement(const QVariant& field)
{
    return readDirectly<N, true>(field, [&field] {
        QVariant converted(field);
        return converted.convert(QMetaTypeId2<N>::MetaType) ? storedIn<N>(converted) : N(0);
    });
}

/// The number in \a field as QVariant::value() reads it, which differs for a null variant that
/// holds a number all the same.
template <typename N>
N elementValue(const QVariant& field)
{
    return readDirectly<N, false>(field, [&field] { return field.value<N>(); });
}

/// A list of \a size elements to be filled in place. It grows by whole blocks, since every
/// QList::append() of a single element is a call into QtCore that costs more than reading a number.
template <typename N>
QList<N> listToFill(int size)
{
    QList<N> list;
    if (size == 0)
        return list;
    list.reserve(size);
    list.append(N(0));
    while (list.size() <= size / 2)
        list += list;
    return list += list.mid(0, size - list.size());
}
