// The functions of QVariant by which records are copied, compared and read, shown to
// ThreadSanitizer: they lie in QtCore, which is not instrumented, so that a copy of a record would
// look to the sanitizer as if its two values had never been touched. See qtSynchronisation.cpp.

#include "hiddenFunction.h"

#include <QtCore/QVariant>

// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" void __tsan_read_range(const void* address, unsigned long size);
extern "C" void __tsan_write_range(const void* address, unsigned long size);
// NOLINTEND(bugprone-reserved-identifier)

QVariant::QVariant(const QVariant& other)
{
    __tsan_read_range(&other, sizeof other);
    static const auto hidden =
        hiddenFunction<void(QVariant*, const QVariant&)>("_ZN8QVariantC1ERKS_");
    hidden(this, other);
}

QVariant& QVariant::operator=(const QVariant& other)
{
    __tsan_read_range(&other, sizeof other);
    __tsan_write_range(this, sizeof *this);
    static const auto hidden =
        hiddenFunction<QVariant&(QVariant*, const QVariant&)>("_ZN8QVariantaSERKS_");
    return hidden(this, other);
}

double QVariant::toDouble(bool* ok) const
{
    __tsan_read_range(this, sizeof *this);
    static const auto hidden =
        hiddenFunction<double(const QVariant*, bool*)>("_ZNK8QVariant8toDoubleEPb");
    return hidden(this, ok);
}

int QVariant::userType() const
{
    __tsan_read_range(this, sizeof *this);
    static const auto hidden = hiddenFunction<int(const QVariant*)>("_ZNK8QVariant8userTypeEv");
    return hidden(this);
}
