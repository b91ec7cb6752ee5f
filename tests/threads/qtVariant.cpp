// Makes accesses to QVariant visible to ThreadSanitizer: the functions of QVariant that the
// libraries call and that copy, compare, read and stream records. They are in QtCore, which is not
// instrumented; without the functions here, the sanitizer would not see that copying a record
// accesses its two values. Constructors from a number are left out: no other thread can access the
// new object yet. See qtSynchronisation.cpp.

#include "hiddenFunction.h"

#include <QtCore/QDataStream>
#include <QtCore/QVariant>

// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" void __tsan_func_entry(const void* returnAddress);
extern "C" void __tsan_func_exit();
extern "C" void __tsan_read_range(const void* address, unsigned long size);
extern "C" void __tsan_write_range(const void* address, unsigned long size);
// NOLINTEND(bugprone-reserved-identifier)

namespace
{

/// Announces a call from \a returnAddress as an instrumented function does. Without it, reports
/// would omit the calling function.
class Call
{
public:
    explicit Call(const void* returnAddress) { __tsan_func_entry(returnAddress); }
    ~Call() { __tsan_func_exit(); }
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

    static void reads(const QVariant& variant) { __tsan_read_range(&variant, sizeof variant); }
    static void writes(QVariant& variant) { __tsan_write_range(&variant, sizeof variant); }
};

} // namespace

QVariant::QVariant(const QVariant& other)
{
    const Call call(__builtin_return_address(0));
    Call::reads(other);
    static const auto hidden =
        hiddenFunction<void(QVariant*, const QVariant&)>("_ZN8QVariantC1ERKS_");
    hidden(this, other);
}

QVariant::~QVariant()
{
    const Call call(__builtin_return_address(0));
    Call::writes(*this);
    static const auto hidden = hiddenFunction<void(QVariant*)>("_ZN8QVariantD1Ev");
    hidden(this);
}

QVariant& QVariant::operator=(const QVariant& other)
{
    const Call call(__builtin_return_address(0));
    Call::reads(other);
    Call::writes(*this);
    static const auto hidden =
        hiddenFunction<QVariant&(QVariant*, const QVariant&)>("_ZN8QVariantaSERKS_");
    return hidden(this, other);
}

#if QT_VERSION_MAJOR == 5
bool QVariant::cmp(const QVariant& other) const
{
    const Call call(__builtin_return_address(0));
    Call::reads(*this);
    Call::reads(other);
    static const auto hidden =
        hiddenFunction<bool(const QVariant*, const QVariant&)>("_ZNK8QVariant3cmpERKS_");
    return hidden(this, other);
}

const void* QVariant::constData() const
{
    const Call call(__builtin_return_address(0));
    Call::reads(*this);
    static const auto hidden =
        hiddenFunction<const void*(const QVariant*)>("_ZNK8QVariant9constDataEv");
    return hidden(this);
}

bool QVariant::convert(int type)
{
    const Call call(__builtin_return_address(0));
    Call::writes(*this);
    static const auto hidden = hiddenFunction<bool(QVariant*, int)>("_ZN8QVariant7convertEi");
    return hidden(this, type);
}

int QVariant::userType() const
{
    const Call call(__builtin_return_address(0));
    Call::reads(*this);
    static const auto hidden = hiddenFunction<int(const QVariant*)>("_ZNK8QVariant8userTypeEv");
    return hidden(this);
}
#else
bool QVariant::equals(const QVariant& other) const
{
    const Call call(__builtin_return_address(0));
    Call::reads(*this);
    Call::reads(other);
    static const auto hidden =
        hiddenFunction<bool(const QVariant*, const QVariant&)>("_ZNK8QVariant6equalsERKS_");
    return hidden(this, other);
}

bool QVariant::convert(QMetaType type)
{
    const Call call(__builtin_return_address(0));
    Call::writes(*this);
    static const auto hidden =
        hiddenFunction<bool(QVariant*, QMetaType)>("_ZN8QVariant7convertE9QMetaType");
    return hidden(this, type);
}

QMetaType QVariant::metaType() const
{
    const Call call(__builtin_return_address(0));
    Call::reads(*this);
    static const auto hidden =
        hiddenFunction<QMetaType(const QVariant*)>("_ZNK8QVariant8metaTypeEv");
    return hidden(this);
}
#endif

bool QVariant::convert(int type, void* result) const
{
    const Call call(__builtin_return_address(0));
    Call::reads(*this);
    static const auto hidden =
        hiddenFunction<bool(const QVariant*, int, void*)>("_ZNK8QVariant7convertEiPv");
    return hidden(this, type, result);
}

double QVariant::toDouble(bool* ok) const
{
    const Call call(__builtin_return_address(0));
    Call::reads(*this);
    static const auto hidden =
        hiddenFunction<double(const QVariant*, bool*)>("_ZNK8QVariant8toDoubleEPb");
    return hidden(this, ok);
}

float QVariant::toFloat(bool* ok) const
{
    const Call call(__builtin_return_address(0));
    Call::reads(*this);
    static const auto hidden =
        hiddenFunction<float(const QVariant*, bool*)>("_ZNK8QVariant7toFloatEPb");
    return hidden(this, ok);
}

int QVariant::toInt(bool* ok) const
{
    const Call call(__builtin_return_address(0));
    Call::reads(*this);
    static const auto hidden =
        hiddenFunction<int(const QVariant*, bool*)>("_ZNK8QVariant5toIntEPb");
    return hidden(this, ok);
}

QDataStream& operator<<(QDataStream& stream, const QVariant& variant)
{
    const Call call(__builtin_return_address(0));
    Call::reads(variant);
    static const auto hidden = hiddenFunction<QDataStream&(QDataStream&, const QVariant&)>(
        "_ZlsR11QDataStreamRK8QVariant");
    return hidden(stream, variant);
}

QDataStream& operator>>(QDataStream& stream, QVariant& variant)
{
    const Call call(__builtin_return_address(0));
    Call::writes(variant);
    static const auto hidden =
        hiddenFunction<QDataStream&(QDataStream&, QVariant&)>("_ZrsR11QDataStreamR8QVariant");
    return hidden(stream, variant);
}
