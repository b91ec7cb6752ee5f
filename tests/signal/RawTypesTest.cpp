#include <feed.h>

namespace
{

template <typename T>
class SignalRawTypes : public testing::Test
{
protected:
    /// \a raw scaled by 2 and 1 as the data type with the number \a code.
    static double scaled(quint32 code, const QVariant& raw)
    {
        GenericSignalImpl<T> signal;
        signal.setDatatype(dataType(code));
        signal.setNewValue(rawRecord<T>(raw), 2, 1);
        T record;
        EXPECT_TRUE(signal.getValue(0, record));
        EXPECT_EQ(record.scaledValue.toDouble(), signal.calcAverage());
        return signal.calcAverage();
    }
};
TYPED_TEST_SUITE(SignalRawTypes, RecordTypes);

/// A data type for every element type.
constexpr quint32 codes[] = {2, 3, 4, 5, 6, 7, 8, 17, 21, 27};

} // namespace

TYPED_TEST(SignalRawTypes, TheDocumentedTypesAreScaledInEveryElementType)
{
    const QVariant raws[] = {7, 7U, 7LL, 7ULL, 7.0F, 7.0};
    for (const QVariant& raw : raws) {
        for (const quint32 code : codes)
            EXPECT_EQ(this->scaled(code, raw), 15) << raw.typeName() << ' ' << code;
    }
}

// Qt 5 does not convert these numbers.
TYPED_TEST(SignalRawTypes, OtherNumbersAreScaledLikeZeroWithQt5AndByValueWithQt6)
{
    constexpr double expected = QT_VERSION_MAJOR == 5 ? 1 : 15;
    for (const quint32 code : {0U, 6U, 17U})
        EXPECT_EQ(this->scaled(code, QVariant::fromValue<quint8>(7)), expected) << code;
    const QVariant raws[] = {QVariant::fromValue<long>(7), QVariant::fromValue<unsigned long>(7)};
    for (const QVariant& raw : raws) {
        for (const quint32 code : {0U, 5U, 6U, 17U})
            EXPECT_EQ(this->scaled(code, raw), expected) << raw.typeName() << ' ' << code;
    }
}

TYPED_TEST(SignalRawTypes, AssignedNumbersOfEightAndSixteenBitsBecomeIntAndAreScaled)
{
    TypeParam record;
    record.rawValue = quint8(7);
    EXPECT_EQ(record.rawValue.userType(), QMetaType::Int);
    EXPECT_EQ(this->scaled(17, record.rawValue), 15);
    record.rawValue = qint16(7);
    EXPECT_EQ(record.rawValue.userType(), QMetaType::Int);
    EXPECT_EQ(this->scaled(8, record.rawValue), 15);
}
