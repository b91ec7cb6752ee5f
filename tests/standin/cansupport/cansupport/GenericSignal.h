#pragma once

#include <QtCore/qglobal.h>

namespace GenericSignal
{

/// A host's own enumeration, with other names and one more enumerator.
enum class NewValueHandlingType : quint8 { Ignore, Newest, All, Average };

} // namespace GenericSignal
