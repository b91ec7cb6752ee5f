#include <feed.h>

#include <vantrel/handlers/GenericValueHandler.h>

#include <cmath>

// Compiled together with the library's sources for a processor with fused multiply-add. In each
// case, the rounding error of a product would reach the sum if the compiler contracted the two
// operations.

namespace
{

const double x = 1 + std::ldexp(1.0, -30); // x * x is exactly 1 + 2^-29 + 2^-60
const double rounded = std::ldexp(1.0, -29);

class StrictArithmetic : public testing::Test
{
protected:
    void SetUp() override
    {
        if (!__builtin_cpu_supports("avx2") || !__builtin_cpu_supports("fma"))
            GTEST_SKIP() << "this processor has no fused multiply-add";
    }
};

} // namespace

TEST_F(StrictArithmetic, ScalingRoundsTheProductBeforeTheOffsetIsAdded)
{
    auto record = rawRecord<J1939Value>(x);
    GenericValueHandler<double, J1939Value>::setTypeBasedScaledValue(record, x, -1);
    EXPECT_EQ(record.scaledValue, QVariant(rounded));
}

TEST_F(StrictArithmetic, ThresholdsRoundTheProductBeforeTheAverageIsAdded)
{
    GenericSignalImpl<J1939Value> signal;
    signal.setDatatype(dataType(17));
    signal.setValueHandling(append);
    feed(signal, {-1 - x, -1 + x});
    ASSERT_TRUE(waitForCaches(signal));
    signal.setUpdatingEnabled(false);
    ASSERT_EQ(signal.getAverage(), -1.0);
    ASSERT_EQ(signal.getDeviation(), x);
    EXPECT_EQ(signal.getUpperThreshold(x), rounded);
    EXPECT_EQ(signal.getLowerThreshold(-x), rounded);
}
