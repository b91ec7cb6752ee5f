#pragma once

#include <QtCore/QMetaType>
#include <QtCore/QVariant>

/// The Qt type id of an element type, from Qt's documentation.
template <typename N>
inline constexpr int typeIdOf = -1;
template <>
inline constexpr int typeIdOf<signed char> = 40;
template <>
inline constexpr int typeIdOf<short> = 33;
template <>
inline constexpr int typeIdOf<int> = 2;
template <>
inline constexpr int typeIdOf<long long> = 4;
template <>
inline constexpr int typeIdOf<unsigned char> = 37;
template <>
inline constexpr int typeIdOf<unsigned short> = 36;
template <>
inline constexpr int typeIdOf<unsigned int> = 3;
template <>
inline constexpr int typeIdOf<unsigned long long> = 5;
template <>
inline constexpr int typeIdOf<double> = 6;
template <>
inline constexpr int typeIdOf<float> = 38;

/// The Qt type id of scaled values and extremes of an element type: int for 8 and 16 bits.
template <typename N>
inline constexpr int storedTypeIdOf = sizeof(N) < sizeof(int) ? 2 : typeIdOf<N>;

/// \a value in a variant of its own type, even for small types that QVariant would promote.
template <typename N>
QVariant ownVariant(N value)
{
    return QVariant::fromValue(value);
}

/// A null variant of a type.
template <typename N>
QVariant nullVariant()
{
#if QT_VERSION_MAJOR == 5
    return QVariant(static_cast<QVariant::Type>(qMetaTypeId<N>()));
#else
    return QVariant(QMetaType::fromType<N>());
#endif
}

/// Converts \a variant to N by QVariant::convert().
template <typename N>
bool convertTo(QVariant& variant)
{
#if QT_VERSION_MAJOR == 5
    return variant.convert(typeIdOf<N>);
#else
    return variant.convert(QMetaType(typeIdOf<N>));
#endif
}
