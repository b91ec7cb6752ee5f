#pragma once

#include <QtCore/QList>
#include <QtCore/QMetaType>
#include <QtCore/QVariant>

#include <type_traits>

/// Returns the value in \a field without checking its type. Reads the members that QVariant's own
/// inline functions use, because calls into QtCore for type, null flag and data would cost more
/// than everything else in reading a number. These members are part of the binary interface of
/// Qt 5, so they cannot change.
template <typename Stored>
Stored storedIn(const QVariant& field)
{
    const QVariant::DataPtr& d = field.data_ptr();
    return *static_cast<const Stored*>(d.is_shared ? d.data.shared->ptr : &d.data);
}

/// Returns the number in \a field as an N. An N, and the usual types of raw and scaled values, are
/// converted without Qt if the result is the same. (Qt converts from one integer type to another
/// modulo 2^bits, and from any number directly to a floating-point type.) Calls \a byQt for
/// everything else, such as a double to be rounded to an integer, and if \a nullByQt also for a
/// null variant.
template <typename N, bool nullByQt, typename ByQt>
N readDirectly(const QVariant& field, ByQt byQt)
{
    const QVariant::DataPtr& d = field.data_ptr();
    if (d.type == QMetaTypeId2<N>::MetaType)
        return storedIn<N>(field);
    if (nullByQt && d.is_null)
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

/// Returns the number in \a field as an N: unchanged if it is an N, otherwise converted by
/// QVariant::convert(), or 0 if that fails.
template <typename N>
N readElement(const QVariant& field)
{
    return readDirectly<N, true>(field, [&field] {
        QVariant converted(field);
        return converted.convert(QMetaTypeId2<N>::MetaType) ? storedIn<N>(converted) : N(0);
    });
}

/// Returns the number in \a field like QVariant::value(). That differs from readElement() for null
/// variants that nevertheless hold a number.
template <typename N>
N elementValue(const QVariant& field)
{
    return readDirectly<N, false>(field, [&field] { return field.value<N>(); });
}

/// Returns a list of \a size elements, to be filled in place. Grows it in blocks, because every
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
