#pragma once

#include <QtCore/qglobal.h>

namespace GenericSignal
{

/// What a signal does with a new value. One byte. A number without an enumerator is treated like
/// Reject.
enum class NewValueHandlingType : quint8 {
    Reject = 0,        ///< the value is not stored
    ReplaceNewest = 1, ///< the value replaces the newest stored record
    Append = 2         ///< the value is added after the stored records
};

} // namespace GenericSignal
