#pragma once

#include <QtCore/qglobal.h>

namespace CAN
{

/// The data type of a CANopen object: the index of its entry in the data type area of the object
/// dictionary, under the name that CiA 301 (section "Data type entry usage") gives it.
///
/// Any 32-bit code may be held, also one that has no enumerator: codes come from device
/// descriptions as bare numbers. The indices 14 and 23 are reserved by CiA 301.
enum class CANopenDataType : quint32 {
    None = 0, ///< no data type given
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
