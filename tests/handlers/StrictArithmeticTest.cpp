#include <feed.h>

#include <vantrel/handlers/GenericValueHandler.h>

#include <cmath>

// Built together with the library's own sources for a processor with fused multiply-add. Each case
// has a product whose rounding error a contraction would carry into the sum.

namespace
{

const double x = 1 + std::ldexp(1.0, -30); // x * x is 1 + 2^-29 when rounded, 2^-60 more exactly
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
