#include <feed.h>
#include <variants.h>

#include <cmath>
#include <limits>
#include <map>

namespace
{

template <typename T>
class SignalDatatype : public testing::Test
{
protected:
    GenericSignalImpl<T> signal;
};
TYPED_TEST_SUITE(SignalDatatype, RecordTypes);

/// The effects of a data type that can be seen from outside the signal.
struct Behaviour {
    QMetaType::Type scaledType; ///< of a scaled value
    double minusOne;            ///< 1 scaled by -1
    double reading;             ///< the number big, as read by the calculator
};

constexpr qlonglong big = (1LL << 40) + (1LL << 33) + 300;

const Behaviour signedChar{QMetaType::Int, -1, 44};
const Behaviour unsignedChar{QMetaType::Int, 255, 44};
const Behaviour shortInteger{QMetaType::Int, -1, 300};
const Behaviour unsignedShort{QMetaType::Int, 65535, 300};
const Behaviour integer{QMetaType::Int, -1, 300};
const Behaviour unsignedInteger{QMetaType::UInt, 4294967295.0, 300};
const Behaviour longLong{QMetaType::LongLong, -1, 1108101562668.0};
// 2^64 - 1 is 2^64 as a double, which wraps to 0 when the offset has been added.
const Behaviour unsignedLongLong{QMetaType::ULongLong, 0, 1108101562668.0};
const Behaviour floating{QMetaType::Float, -1, 1108101562368.0};
const Behaviour doubled{QMetaType::Double, -1, 1108101562668.0};

const std::map<quint32, Behaviour> table{
    {0, doubled},          {2, signedChar},        {3, shortInteger},      {4, integer},
    {5, unsignedChar},     {6, unsignedShort},     {7, unsignedInteger},   {8, floating},
    {16, integer},         {17, doubled},          {18, signedChar},       {21, longLong},
    {22, unsignedInteger}, {24, unsignedLongLong}, {25, unsignedLongLong}, {27, unsignedLongLong}};

/// Every code from 0 to 300 and some far beyond.
QVector<quint32> codes()
{
    QVector<quint32> result;
    for (quint32 code = 0; code <= 300; ++code)
        result.append(code);
    return result << 0x101U << 0x10000U << 0x10004U << 0x7fffffffU << 0x80000000U << 0x80000004U
                  << 0xfffffffeU << 0xffffffffU;
}

} // namespace

TYPED_TEST(SignalDatatype, EveryCodeIsStoredUnchanged)
{
    for (const quint32 code : codes()) {
        this->signal.setDatatype(dataType(code));
        EXPECT_EQ(static_cast<quint32>(this->signal.getDatatype()), code);
    }
}

TYPED_TEST(SignalDatatype, CodesInTheTableScaleInTheirElementType)
{
    for (const auto& [code, behaviour] : table) {
        this->signal.setDatatype(dataType(code));
        auto record = rawRecord<TypeParam>(1);
        this->signal.scaleAndAppendValue(record, -1, 0);
        EXPECT_EQ(record.scaledValue.userType(), behaviour.scaledType) << code;
        EXPECT_EQ(record.scaledValue.toDouble(), behaviour.minusOne) << code;
    }
}

TYPED_TEST(SignalDatatype, CodesInTheTableCreateACalculatorOfTheirElementType)
{
    for (const auto& [code, behaviour] : table) {
        GenericSignalImpl<TypeParam> fresh;
        fresh.setDatatype(dataType(code));
        fresh.setDatatype(dataType(1)); // raw values now reach the calculator unscaled
        fresh.setNewValue(rawRecord<TypeParam>(big), 1, 0);
        EXPECT_EQ(fresh.getMax(), behaviour.reading) << code;
    }
}

TYPED_TEST(SignalDatatype, CodesOutsideTheTableCopyTheRawValueAndKeepTheCalculator)
{
    for (const quint32 code : codes()) {
        if (table.count(code) > 0)
            continue;
        GenericSignalImpl<TypeParam> fresh;
        fresh.setDatatype(dataType(5));
        feed(fresh, {10});
        fresh.setDatatype(dataType(code));
        EXPECT_EQ(fresh.calcAverage(), 10.0) << code;
        auto record = rawRecord<TypeParam>(QStringLiteral("text"));
        fresh.scaleAndAppendValue(record, 2, 3);
        EXPECT_EQ(record.scaledValue, QVariant(QStringLiteral("text"))) << code;
        EXPECT_EQ(record.scaledValue.userType(), QMetaType::QString) << code;
        fresh.setNewValue(rawRecord<TypeParam>(300), 1, 0);
        EXPECT_EQ(fresh.getMax(), 44.0) << code; // still an unsigned char
    }
}

TYPED_TEST(SignalDatatype, Code18CreatesASignedCharCalculator)
{
    this->signal.setDatatype(dataType(18));
    this->signal.setDatatype(dataType(9)); // unscaled, so only the calculator narrows
    feed(this->signal, {200});
    EXPECT_EQ(this->signal.calcAverage(), -56.0);
}

TYPED_TEST(SignalDatatype, Codes26And1And100AreStoredButLeaveTheStatisticsUntouched)
{
    this->signal.setDatatype(dataType(4));
    this->signal.setValueHandling(append);
    feed(this->signal, {10, 20});
    for (const quint32 code : {26U, 1U, 100U}) {
        this->signal.setDatatype(dataType(code));
        EXPECT_EQ(static_cast<quint32>(this->signal.getDatatype()), code);
        EXPECT_EQ(this->signal.calcAverage(), 15.0);
        EXPECT_EQ(this->signal.calcDeviation(), 5.0);
    }
}

TYPED_TEST(SignalDatatype, SettingTheSameTypeAgainDiscardsTheStatistics)
{
    this->signal.setDatatype(dataType(4));
    feed(this->signal, {10});
    EXPECT_EQ(this->signal.calcAverage(), 10.0);
    this->signal.setDatatype(dataType(4));
    EXPECT_EQ(this->signal.calcAverage(), 0.0);
    EXPECT_EQ(this->signal.getMax(), 0.0);
}

TYPED_TEST(SignalDatatype, AnotherCodeOfTheSameElementTypeDiscardsTheStatistics)
{
    this->signal.setDatatype(dataType(4));
    feed(this->signal, {10});
    this->signal.setDatatype(dataType(16));
    EXPECT_EQ(this->signal.calcAverage(), 0.0);
}

TYPED_TEST(SignalDatatype, StoredRecordsFlagsAndCachesSurviveAChangeOfDataType)
{
    this->signal.setDatatype(dataType(4));
    this->signal.setValueHandling(append);
    feed(this->signal, {10, 20});
    ASSERT_TRUE(waitForCaches(this->signal));
    this->signal.setValueHandling(replaceNewest);
    for (const bool changed : {false, true}) {
        setFlags(this->signal, changed);
        this->signal.setDatatype(dataType(8));
        expectFlags(this->signal, changed, changed, changed);
    }
    EXPECT_EQ(this->signal.getValueCount(), 2);
    EXPECT_EQ(this->signal.getValues().last().scaledValue, QVariant(20));
    EXPECT_EQ(this->signal.getValues().last().scaledValue.userType(), QMetaType::Int);
    EXPECT_EQ(this->signal.getAverage(), 15.0);
    EXPECT_EQ(this->signal.getDeviation(), 5.0);
}

TYPED_TEST(SignalDatatype, BeforeTheFirstDataTypeTheCalculatorIsAnIntCalculator)
{
    auto record = rawRecord<TypeParam>(7.75);
    this->signal.setNewValue(record, 1, 0);
    // Scaled as double, then read as int by QVariant's own conversion.
    EXPECT_EQ(this->signal.getValues().last().scaledValue, QVariant(7.75));
    EXPECT_EQ(this->signal.calcAverage(), double(QVariant(7.75).value<int>()));
    EXPECT_EQ(this->signal.calcAverage(), 8.0);
}
