#include <records.h>

#include <cmath>
#include <cstddef>
#include <cstring>
#include <limits>
#include <new>
#include <type_traits>

namespace
{

CANopenObjectValue sampleRecord()
{
    CANopenObjectValue value;
    value.rawValue = 17;
    value.scaledValue = 1.75;
    value.valueTag = -3;
    value.isInvalid = true;
    value.auxCode1 = -128;
    value.auxCode2 = 127;
    value.auxNumber1 = 0.5;
    value.auxNumber2 = -2.5;
    return value;
}

void expectSameFields(const CANopenObjectValue& a, const CANopenObjectValue& b)
{
    EXPECT_EQ(a.rawValue, b.rawValue);
    EXPECT_EQ(a.scaledValue, b.scaledValue);
    EXPECT_EQ(a.valueTag, b.valueTag);
    EXPECT_EQ(a.isInvalid, b.isInvalid);
    EXPECT_EQ(a.auxCode1, b.auxCode1);
    EXPECT_EQ(a.auxCode2, b.auxCode2);
    EXPECT_EQ(a.auxNumber1, b.auxNumber1);
    EXPECT_EQ(a.auxNumber2, b.auxNumber2);
}

template <typename T>
class Records : public testing::Test
{
};
TYPED_TEST_SUITE(Records, RecordTypes);

} // namespace

TYPED_TEST(Records, AreNotPolymorphicAndCanBeRelocatedByQt)
{
    static_assert(!std::is_polymorphic_v<TypeParam>);
    static_assert(std::is_base_of_v<GenericValue, TypeParam>);
    static_assert(std::is_nothrow_move_constructible_v<TypeParam>);
    static_assert(std::is_nothrow_move_assignable_v<TypeParam>);
    static_assert(QTypeInfo<TypeParam>::isComplex && QTypeInfo<TypeParam>::isRelocatable);
#if QT_VERSION_MAJOR == 5
    static_assert(!QTypeInfo<TypeParam>::isStatic);
#endif
}

TYPED_TEST(Records, ANewRecordHoldsNoValues)
{
    const TypeParam value;
    EXPECT_FALSE(value.rawValue.isValid());
    EXPECT_FALSE(value.scaledValue.isValid());
    EXPECT_EQ(value.valueTag, 0);
    EXPECT_FALSE(value.isInvalid);
}

TYPED_TEST(Records, ANewRecordHasBothAuxCodesZero)
{
    alignas(TypeParam) unsigned char storage[sizeof(TypeParam)];
    std::memset(storage, 0xff, sizeof storage);
    const TypeParam* const value = new (storage) TypeParam;
    EXPECT_EQ(value->auxCode1, 0);
    EXPECT_EQ(value->auxCode2, 0);
    value->~TypeParam();
}

TYPED_TEST(Records, CopiesInAVectorKeepFlagTagAndBothAuxCodes)
{
    TypeParam value;
    value.isInvalid = true;
    value.valueTag = 42;
    value.auxCode1 = 11;
    value.auxCode2 = -12;
    QVector<TypeParam> records{value};
    records.reserve(1000);
    EXPECT_TRUE(records.first().isInvalid);
    EXPECT_EQ(records.first().valueTag, 42);
    EXPECT_EQ(records.first().auxCode1, 11);
    EXPECT_EQ(records.first().auxCode2, -12);
}

TEST(CANopenObjectValue, ANewRecordHasBothAuxNumbersZero)
{
    alignas(CANopenObjectValue) unsigned char storage[sizeof(CANopenObjectValue)];
    std::memset(storage, 0xff, sizeof storage);
    const CANopenObjectValue* const value = new (storage) CANopenObjectValue;
    EXPECT_EQ(value->auxNumber1, 0.0);
    EXPECT_EQ(value->auxNumber2, 0.0);
    value->~CANopenObjectValue();
}

TEST(CANopenObjectValue, CopyAndAssignmentKeepEveryField)
{
    const CANopenObjectValue original = sampleRecord();
    const CANopenObjectValue copy(original);
    expectSameFields(copy, original);
    CANopenObjectValue assigned;
    assigned = original;
    expectSameFields(assigned, original);
    const CANopenObjectValue moved(std::move(assigned));
    expectSameFields(moved, original);
    CANopenObjectValue moveAssigned;
    moveAssigned = CANopenObjectValue(original);
    expectSameFields(moveAssigned, original);
}

TEST(CANopenObjectValue, RecordsWithTheSameFieldsAreEqual)
{
    EXPECT_TRUE(sampleRecord() == sampleRecord());
    EXPECT_TRUE(CANopenObjectValue() == CANopenObjectValue());
}

TEST(CANopenObjectValue, RecordsThatDifferOnlyInTheScaledValueAreEqual)
{
    CANopenObjectValue other = sampleRecord();
    other.scaledValue = QStringLiteral("other");
    EXPECT_TRUE(sampleRecord() == other);
}

TEST(CANopenObjectValue, RecordsThatDifferOnlyInIsInvalidAreEqual)
{
    CANopenObjectValue other = sampleRecord();
    other.isInvalid = !other.isInvalid;
    EXPECT_TRUE(sampleRecord() == other);
}

TEST(CANopenObjectValue, ADifferenceInAnyComparedFieldMakesRecordsUnequal)
{
    const auto differsAfter = [](auto change) {
        CANopenObjectValue other = sampleRecord();
        change(other);
        return !(sampleRecord() == other) && !(other == sampleRecord());
    };
    EXPECT_TRUE(differsAfter([](auto& value) { value.rawValue = 18; }));
    EXPECT_TRUE(differsAfter([](auto& value) { value.auxCode1 = 1; }));
    EXPECT_TRUE(differsAfter([](auto& value) { value.auxCode2 = 1; }));
    EXPECT_TRUE(differsAfter([](auto& value) { value.auxNumber1 = 0.25; }));
    EXPECT_TRUE(differsAfter([](auto& value) { value.auxNumber2 = 0.25; }));
    EXPECT_TRUE(differsAfter([](auto& value) { value.valueTag = 0; }));
}

TEST(CANopenObjectValue, RawValuesCompareByVariantEquality)
{
    CANopenObjectValue number = sampleRecord();
    CANopenObjectValue text = sampleRecord();
    number.rawValue = 17;
    text.rawValue = QStringLiteral("17");
    EXPECT_EQ(number == text, number.rawValue == text.rawValue);
    EXPECT_TRUE(number == text);
}

TEST(CANopenObjectValue, RecordsWithNaNInAuxNumber1AreUnequal)
{
    CANopenObjectValue value = sampleRecord();
    value.auxNumber1 = std::numeric_limits<double>::quiet_NaN();
    const CANopenObjectValue copy = value;
    EXPECT_FALSE(value == copy);
}

TEST(CANopenObjectValue, RecordsWithNaNInAuxNumber2AreUnequal)
{
    CANopenObjectValue value = sampleRecord();
    value.auxNumber2 = std::numeric_limits<double>::quiet_NaN();
    const CANopenObjectValue copy = value;
    EXPECT_FALSE(value == copy);
}

TEST(CANopenObjectValue, ZeroAndNegativeZeroAreEqual)
{
    CANopenObjectValue value = sampleRecord();
    CANopenObjectValue other = sampleRecord();
    value.auxNumber1 = 0.0;
    other.auxNumber1 = -0.0;
    EXPECT_TRUE(value == other);
}
