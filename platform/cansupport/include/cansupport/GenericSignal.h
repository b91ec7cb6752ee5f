#pragma once

/// \file
/// How a signal handles new values.

#include <QtCore/qglobal.h>

/// Settings of signals.
namespace GenericSignal
{

/// How a signal handles a new value. Stored in one byte. A number without an enumerator is treated
/// like Reject.
///
/// \ingroup cansupport
enum class NewValueHandlingType : quint8 {
    Reject = 0,        ///< the value is not stored
    ReplaceNewest = 1, ///< the value replaces the newest stored record
    Append = 2         ///< the value is added after the stored records
};

} // namespace GenericSignal
