#pragma once

// Included first in every source that is compiled for ThreadSanitizer. Before QVector writes in
// place, it checks whether its storage is shared by reading the count without acquire. So the C++
// memory model does not order the reads of a snapshot's last reader before such a write; on
// processors, the branch in between does. Here the count is read with acquire, which shows that
// order to the sanitizer.

#if __has_include(<QtCore/qatomic.h>) // Qt is not available when CMake tests the compiler

#include <QtCore/qatomic.h>

template <>
template <>
inline int QAtomicOps<int>::loadRelaxed<int>(const std::atomic<int>& value) noexcept
{
    return value.load(std::memory_order_acquire);
}

#endif
