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
    INTEGER8 = 2,         ///< signed integer of 8 bits
    INTEGER16 = 3,        ///< signed integer of 16 bits
    INTEGER32 = 4,        ///< signed integer of 32 bits
    UNSIGNED8 = 5,        ///< unsigned integer of 8 bits
    UNSIGNED16 = 6,       ///< unsigned integer of 16 bits
    UNSIGNED32 = 7,       ///< unsigned integer of 32 bits
    REAL32 = 8,           ///< IEEE 754 number in single precision
    VISIBLE_STRING = 9,   ///< text in ASCII
    OCTET_STRING = 10,    ///< bytes
    UNICODE_STRING = 11,  ///< text in units of 16 bits
    TIME_OF_DAY = 12,     ///< a date and time: days since 1984, and milliseconds since midnight
    TIME_DIFFERENCE = 13, ///< a duration: days and milliseconds
    DOMAIN = 15,          ///< a block of data of any length
    INTEGER24 = 16,       ///< signed integer of 24 bits
    REAL64 = 17,          ///< IEEE 754 number in double precision
    INTEGER40 = 18,       ///< signed integer of 40 bits
    INTEGER48 = 19,       ///< signed integer of 48 bits
    INTEGER56 = 20,       ///< signed integer of 56 bits
    INTEGER64 = 21,       ///< signed integer of 64 bits
    UNSIGNED24 = 22,      ///< unsigned integer of 24 bits
    UNSIGNED40 = 24,      ///< unsigned integer of 40 bits
    UNSIGNED48 = 25,      ///< unsigned integer of 48 bits
    UNSIGNED56 = 26,      ///< unsigned integer of 56 bits
    UNSIGNED64 = 27       ///< unsigned integer of 64 bits
};

} // namespace CAN
