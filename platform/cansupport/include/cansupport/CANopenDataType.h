#pragma once

/// \file
/// The data types of CANopen objects.

#include <QtCore/qglobal.h>

/// Enumerations of CAN and CANopen.
namespace CAN
{

/// The data type of a CANopen object: its index in the data type area of the object dictionary.
/// The names in capitals are those of CiA 301 (section "Data type entry usage").
///
/// An object of this type may have any 32-bit value, with or without an enumerator, because device
/// descriptions specify data types as numbers. CiA 301 reserves the indices 14 and 23.
///
/// \ingroup cansupport
enum class CANopenDataType : quint32 {
    Unspecified = 0,      ///< no data type specified
    BOOLEAN = 1,          ///< true or false
    INTEGER8 = 2,         ///< 8-bit signed integer
    INTEGER16 = 3,        ///< 16-bit signed integer
    INTEGER32 = 4,        ///< 32-bit signed integer
    UNSIGNED8 = 5,        ///< 8-bit unsigned integer
    UNSIGNED16 = 6,       ///< 16-bit unsigned integer
    UNSIGNED32 = 7,       ///< 32-bit unsigned integer
    REAL32 = 8,           ///< single-precision IEEE 754 number
    VISIBLE_STRING = 9,   ///< text in ASCII
    OCTET_STRING = 10,    ///< bytes
    UNICODE_STRING = 11,  ///< text in 16-bit units
    TIME_OF_DAY = 12,     ///< a date and time: days since 1984, and milliseconds since midnight
    TIME_DIFFERENCE = 13, ///< a duration: days and milliseconds
    DOMAIN = 15,          ///< a block of data of any length
    INTEGER24 = 16,       ///< 24-bit signed integer
    REAL64 = 17,          ///< double-precision IEEE 754 number
    INTEGER40 = 18,       ///< 40-bit signed integer
    INTEGER48 = 19,       ///< 48-bit signed integer
    INTEGER56 = 20,       ///< 56-bit signed integer
    INTEGER64 = 21,       ///< 64-bit signed integer
    UNSIGNED24 = 22,      ///< 24-bit unsigned integer
    UNSIGNED40 = 24,      ///< 40-bit unsigned integer
    UNSIGNED48 = 25,      ///< 48-bit unsigned integer
    UNSIGNED56 = 26,      ///< 56-bit unsigned integer
    UNSIGNED64 = 27       ///< 64-bit unsigned integer
};

} // namespace CAN
