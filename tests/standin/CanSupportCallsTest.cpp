#include <recording/calls.h>

#include <records.h>

#include <vantrel/handlers/GenericValueHandler.h>

using Calls = std::vector<std::string>;

namespace
{

template <typename T>
class CanSupportCalls : public testing::Test
{
};
TYPED_TEST_SUITE(CanSupportCalls, RecordTypes);

/// The recorded calls to valueToFloat(), without those to the statistics.
Calls takeFloatReadings()
{
    Calls readings;
    for (const std::string& call : takeOwnCalls()) {
        if (call == "raw to float" || call == "scaled to float")
            readings.push_back(call);
    }
    return readings;
}

} // namespace

TYPED_TEST(CanSupportCalls, NewRecordsHaveTheInitialValuesOfTheHostsBaseClass)
{
    EXPECT_EQ(TypeParam().valueTag, -1);
}

TYPED_TEST(CanSupportCalls, FloatElementsAreReadByCallingTheRecord)
{
    using Handler = GenericValueHandler<float, TypeParam>;
    auto record = rawRecord<TypeParam>(1.0F);
    takeOwnCalls();
    Handler::setTypeBasedScaledValue(record, 2, 1);
    EXPECT_EQ(record.scaledValue, QVariant(201.0F));
    EXPECT_EQ(takeFloatReadings(), Calls{"raw to float"});
    EXPECT_EQ(Handler::getRating(record, 100, 300, 0), 100);
    EXPECT_EQ(Handler::getRating(record, 0, 199, 0), 0);
    EXPECT_EQ(takeFloatReadings(), (Calls{"scaled to float", "scaled to float"}));
    const QVector<TypeParam> series{record, record};
    const Calls twoReadings{"scaled to float", "scaled to float"};
    Handler::calcTypeBasedAverage(series);
    EXPECT_EQ(takeFloatReadings(), twoReadings);
    Handler::calcTypeBasedDeviation(series);
    EXPECT_EQ(takeFloatReadings(), twoReadings);
    Handler::getMax(series);
    EXPECT_EQ(takeFloatReadings(), twoReadings);
    Handler::getMin(series);
    EXPECT_EQ(takeFloatReadings(), twoReadings);
    double average = 0, median = 0, deviation = 0;
    QVariant maximum, minimum;
    Handler::calcTypeBasedStats(average, maximum, minimum, median, deviation, series);
    EXPECT_EQ(takeFloatReadings(), twoReadings);
}

TYPED_TEST(CanSupportCalls, OtherElementTypesAreReadFromTheFieldsDirectly)
{
    using Handler = GenericValueHandler<double, TypeParam>;
    auto record = rawRecord<TypeParam>(1.0F);
    takeOwnCalls();
    Handler::setTypeBasedScaledValue(record, 2, 1);
    Handler::getRating(record, 0, 1, 0);
    EXPECT_EQ(record.scaledValue, QVariant(3.0));
    EXPECT_EQ(takeFloatReadings(), Calls{});
}
