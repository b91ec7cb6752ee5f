#pragma once

#include <QtCore/QList>
#include <QtCore/QMetaType>
#include <QtCore/QVariant>

#include <type_traits>

// The next three functions read the members that QVariant's own inline functions use, because each
// call into QtCore for type, null flag or data would take 40 % to 250 % of the time of reading a
// number from a series, with Qt 5 and Qt 6. (Only constData() of Qt 6 is inline.) The members are
// part of the binary interface of Qt, so they cannot change within a major version; the tests of
// this file compare the results with those of Qt's functions.
static_assert(QT_VERSION_MAJOR == 5 || QT_VERSION_MAJOR == 6,
              "Check these functions against the QVariant of this version of Qt");
static_assert(sizeof(void*) != 8 || sizeof(QVariant) == (QT_VERSION_MAJOR == 5 ? 16 : 32),
              "QVariant does not have the members that these functions were written for");

/// Returns the type of \a field, like QVariant::userType().
inline int typeOf(const QVariant& field)
{
#if QT_VERSION_MAJOR == 5
    return static_cast<int>(field.data_ptr().type);
#else
    return field.data_ptr().typeId();
#endif
}

/// Returns whether \a field is marked as null, like QVariant::isNull() for the types of numbers.
inline bool isMarkedNull(const QVariant& field)
{
    return field.data_ptr().is_null;
}

/// Returns the value in \a field without checking its type.
template <typename Stored>
Stored storedIn(const QVariant& field)
{
#if QT_VERSION_MAJOR == 5
    const QVariant::DataPtr& d = field.data_ptr();
    return *static_cast<const Stored*>(d.is_shared ? d.data.shared->ptr : &d.data);
#else
    return *static_cast<const Stored*>(field.constData());
#endif
}

/// Returns the number in \a field as an N. An N, and the usual types of raw and scaled values, are
/// converted without Qt if the result is the same. (Qt converts from one integer type to another
/// modulo 2^bits, and from any number directly to a floating-point type.) Calls \a byQt for
/// everything else, such as a double to be rounded to an integer, and if \a nullByQt also for a
/// null variant.
template <typename N, bool nullByQt, typename ByQt>
N readDirectly(const QVariant& field, ByQt byQt)
{
    const int type = typeOf(field);
    if (type == QMetaTypeId2<N>::MetaType)
        return storedIn<N>(field);
    if (nullByQt && isMarkedNull(field))
        return byQt();
    switch (type) {
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
#if QT_VERSION_MAJOR == 5
        const int type = QMetaTypeId2<N>::MetaType;
#else
        const QMetaType type = QMetaType::fromType<N>();
#endif
        return converted.convert(type) ? storedIn<N>(converted) : N(0);
    });
}

/// Returns the number in \a field like QVariant::value(). That differs from readElement() for null
/// variants that nevertheless hold a number.
template <typename N>
N elementValue(const QVariant& field)
{
    return readDirectly<N, false>(field, [&field] { return field.value<N>(); });
}

/// Returns a list of \a size elements, to be filled in place. With Qt 5, grows it in blocks,
/// because every QList::append() of a single element is a call into QtCore that costs more than
/// reading a number.
template <typename N>
QList<N> listToFill(typename QList<N>::size_type size)
{
#if QT_VERSION_MAJOR == 5
    QList<N> list;
    if (size == 0)
        return list;
    list.reserve(size);
    list.append(N(0));
    while (list.size() <= size / 2)
        list += list;
    return list += list.mid(0, size - list.size());
#else
    QList<N> list;
    list.resize(size); // QList(size) does not check that there is memory
    return list;
#endif
}
