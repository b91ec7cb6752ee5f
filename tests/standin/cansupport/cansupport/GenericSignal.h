#pragma once

#include <QtCore/qglobal.h>

namespace GenericSignal
{

/// A host's own enumeration: other names, and one more.
enum class NewValueHandlingType : quint8 { Ignore, Newest, All, Average };

} // namespace GenericSignal
