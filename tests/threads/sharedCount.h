#pragma once

// Included first by every source under ThreadSanitizer. Before QVector writes in place, it asks
// whether its storage is shared by reading the count without acquire: so nothing that the sanitizer
// knows orders what the last reader of a snapshot has read before such a write. The processor
// does, by the branch in between. Here the count is read with acquire, as if Qt said so.

#if __has_include(<QtCore/qatomic.h>) // not while the compiler itself is being tried

#include <QtCore/qatomic.h>

template <>
template <>
inline int QAtomicOps<int>::loadRelaxed<int>(const std::atomic<int>& value) noexcept
{
    return value.load(std::memory_order_acquire);
}

#endif
