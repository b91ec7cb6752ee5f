#include <cansupport/CANopenDataType.h>
#include <cansupport/GenericSignal.h>
#include <cansupport/GenericValue.h>

#include <gtest/gtest.h>

#include <limits>

TEST(GenericValue, ANewRecordHoldsNoValues)
{
    const GenericValue value;
    EXPECT_FALSE(value.rawValue.isValid());
    EXPECT_FALSE(value.scaledValue.isValid());
    EXPECT_EQ(value.valueTag, 0);
    EXPECT_FALSE(value.isInvalid);
}

TEST(GenericValue, ValueToFloatReadsTheRequestedField)
{
    GenericValue value;
    value.rawValue = 1.5F;
    value.scaledValue = 2.5F;
    EXPECT_EQ(value.valueToFloat(false), 1.5F);
    EXPECT_EQ(value.valueToFloat(true), 2.5F);
}

TEST(GenericValue, ValueToFloatConvertsNumbersAndStrings)
{
    GenericValue value;
    value.rawValue = 7;
    EXPECT_EQ(value.valueToFloat(false), 7.0F);
    value.rawValue = 0.1;
    EXPECT_EQ(value.valueToFloat(false), 0.1F);
    value.rawValue = QStringLiteral("-2.25");
    EXPECT_EQ(value.valueToFloat(false), -2.25F);
    value.rawValue = 18446744073709551615ULL;
    EXPECT_EQ(value.valueToFloat(false), 18446744073709551616.0F);
}

TEST(GenericValue, ValueToFloatIsZeroForValuesThatDoNotConvert)
{
    GenericValue value;
    EXPECT_EQ(value.valueToFloat(false), 0.0F);
    value.rawValue = QStringLiteral("twelve");
    EXPECT_EQ(value.valueToFloat(false), 0.0F);
    value.rawValue = QVariantList{1, 2};
    EXPECT_EQ(value.valueToFloat(false), 0.0F);
}

TEST(CANopenDataType, EnumeratorsHaveTheIndicesOfCiA301)
{
    using Type = CAN::CANopenDataType;
    static_assert(std::is_same_v<std::underlying_type_t<Type>, quint32>);
    const std::pair<Type, quint32> indices[] = {
        {Type::Unspecified, 0x0000},  {Type::BOOLEAN, 0x0001},
        {Type::INTEGER8, 0x0002},     {Type::INTEGER16, 0x0003},
        {Type::INTEGER32, 0x0004},    {Type::UNSIGNED8, 0x0005},
        {Type::UNSIGNED16, 0x0006},   {Type::UNSIGNED32, 0x0007},
        {Type::REAL32, 0x0008},       {Type::VISIBLE_STRING, 0x0009},
        {Type::OCTET_STRING, 0x000A}, {Type::UNICODE_STRING, 0x000B},
        {Type::TIME_OF_DAY, 0x000C},  {Type::TIME_DIFFERENCE, 0x000D},
        {Type::DOMAIN, 0x000F},       {Type::INTEGER24, 0x0010},
        {Type::REAL64, 0x0011},       {Type::INTEGER40, 0x0012},
        {Type::INTEGER48, 0x0013},    {Type::INTEGER56, 0x0014},
        {Type::INTEGER64, 0x0015},    {Type::UNSIGNED24, 0x0016},
        {Type::UNSIGNED40, 0x0018},   {Type::UNSIGNED48, 0x0019},
        {Type::UNSIGNED56, 0x001A},   {Type::UNSIGNED64, 0x001B}};
    for (const auto& [type, index] : indices)
        EXPECT_EQ(static_cast<quint32>(type), index);
}

TEST(NewValueHandlingType, FitsInOneByteAndHasTheDocumentedNumbers)
{
    using Handling = GenericSignal::NewValueHandlingType;
    static_assert(sizeof(Handling) == 1);
    EXPECT_EQ(static_cast<int>(Handling::Reject), 0);
    EXPECT_EQ(static_cast<int>(Handling::ReplaceNewest), 1);
    EXPECT_EQ(static_cast<int>(Handling::Append), 2);
}
