#pragma once

#include <QtCore/QMetaType>

#include <atomic>

/// A raw value that counts its copies, small enough to be stored inside its variant.
struct Counted {
    Counted() = default;
    Counted(const Counted&) { ++copies; }
    Counted(Counted&&) noexcept = default;
    Counted& operator=(const Counted&) = default;
    Counted& operator=(Counted&&) = default;

    static inline std::atomic<int> copies{0};
};
Q_DECLARE_TYPEINFO(Counted, Q_MOVABLE_TYPE);
Q_DECLARE_METATYPE(Counted)
