#pragma once

#include <QtCore/qglobal.h>

namespace CAN
{

/// The data type of a CANopen object: its index in the data type area of the object dictionary.
/// The names in capitals are those of CiA 301 (section "Data type entry usage").
///
/// An object of this type may have any 32-bit value, with or without an enumerator, because device
/// descriptions specify data types as numbers. CiA 301 reserves the indices 14 and 23.
enum class CANopenDataType : quint32 {
    Unspecified = 0, ///< no data type specified
    BOOLEAN = 1,
    INTEGER8 = 2,
    INTEGER16 = 3,
    INTEGER32 = 4,
    UNSIGNED8 = 5,
    UNSIGNED16 = 6,
    UNSIGNED32 = 7,
    REAL32 = 8,
    VISIBLE_STRING = 9,
    OCTET_STRING = 10,
    UNICODE_STRING = 11,
    TIME_OF_DAY = 12,
    TIME_DIFFERENCE = 13,
    DOMAIN = 15,
    INTEGER24 = 16,
    REAL64 = 17,
    INTEGER40 = 18,
    INTEGER48 = 19,
    INTEGER56 = 20,
    INTEGER64 = 21,
    UNSIGNED24 = 22,
    UNSIGNED40 = 24,
    UNSIGNED48 = 25,
    UNSIGNED56 = 26,
    UNSIGNED64 = 27
};

} // namespace CAN
