#include "Descriptions.h"

#include <catalogue/DatatypeChoice.h>

#include <vantrel/signal/GenericSignalImpl.h>

#include <gtest/gtest.h>

#include <cmath>
#include <random>

using CAN::CANopenDataType;
using monitor::CatalogueSignal;
using monitor::datatypeOf;

namespace
{

CANopenDataType typeOf(int length, bool isSigned, double factor, double offset)
{
    CatalogueSignal signal = describedSignal(0, length);
    signal.layout.isSigned = isSigned;
    signal.scaling.factor = factor;
    signal.scaling.offset = offset;
    return datatypeOf(signal);
}

} // namespace

TEST(DatatypeChoice, UnscaledSignalGetsTheSmallestSuitableType)
{
    struct Row {
        int length;
        CANopenDataType unsignedType;
        CANopenDataType signedType;
    };
    for (const Row& row : {
             Row{1, CANopenDataType::UNSIGNED8, CANopenDataType::INTEGER8},
             Row{8, CANopenDataType::UNSIGNED8, CANopenDataType::INTEGER8},
             Row{9, CANopenDataType::UNSIGNED16, CANopenDataType::INTEGER16},
             Row{16, CANopenDataType::UNSIGNED16, CANopenDataType::INTEGER16},
             Row{24, CANopenDataType::UNSIGNED24, CANopenDataType::INTEGER24},
             Row{32, CANopenDataType::UNSIGNED32, CANopenDataType::INTEGER32},
             Row{40, CANopenDataType::UNSIGNED40, CANopenDataType::INTEGER64},
             Row{48, CANopenDataType::UNSIGNED48, CANopenDataType::INTEGER64},
             Row{53, CANopenDataType::UNSIGNED64, CANopenDataType::INTEGER64},
             Row{54, CANopenDataType::REAL64, CANopenDataType::REAL64},
             Row{64, CANopenDataType::REAL64, CANopenDataType::REAL64},
         }) {
        EXPECT_EQ(typeOf(row.length, false, 1, 0), row.unsignedType) << row.length;
        EXPECT_EQ(typeOf(row.length, true, 1, 0), row.signedType) << row.length;
    }
}

TEST(DatatypeChoice, FractionalScalingNeedsReal64)
{
    EXPECT_EQ(typeOf(16, false, 0.125, 0), CANopenDataType::REAL64);
    EXPECT_EQ(typeOf(16, false, 1, 0.5), CANopenDataType::REAL64);
    EXPECT_EQ(typeOf(16, false, 1.5, 0), CANopenDataType::REAL64);
}

TEST(DatatypeChoice, ScaledValuesOutOfRangeNeedReal64)
{
    EXPECT_EQ(typeOf(8, false, 1, -40), CANopenDataType::REAL64);
    EXPECT_EQ(typeOf(8, false, 1, 1), CANopenDataType::REAL64);
    EXPECT_EQ(typeOf(8, false, 2, 0), CANopenDataType::REAL64);
    EXPECT_EQ(typeOf(8, false, -1, 255), CANopenDataType::REAL64); // the product is negative
    EXPECT_EQ(typeOf(8, true, -1, 0), CANopenDataType::REAL64);
    EXPECT_EQ(typeOf(7, false, 2, 1), CANopenDataType::UNSIGNED8);
    EXPECT_EQ(typeOf(10, false, 4, 3), CANopenDataType::UNSIGNED16);
}

TEST(DatatypeChoice, LibraryScalesTheExtremesOfEverySignalExactly)
{
    std::mt19937_64 random(17);
    const auto between = [&random](int lowest, int highest) {
        return lowest + static_cast<int>(random() % static_cast<quint64>(highest - lowest + 1));
    };
    for (int i = 0; i < 20000; ++i) {
        CatalogueSignal signal = describedSignal(0, between(1, 40));
        signal.layout.isSigned = random() % 2 == 0;
        signal.scaling.factor = between(-9, 9) * (i % 4 == 0 ? 0.25 : 1.0);
        signal.scaling.offset = between(-300, 300);
        GenericSignalImpl<J1939Value> scaling;
        scaling.setDatatype(datatypeOf(signal));
        const qint64 lowest =
            signal.layout.isSigned ? -(qint64{1} << (signal.layout.length - 1)) : 0;
        for (const qint64 raw : {lowest, lowest + (qint64{1} << signal.layout.length) - 1}) {
            J1939Value value;
            value.rawValue = raw;
            scaling.scaleAndAppendValue(value, signal.scaling.factor, signal.scaling.offset);
            ASSERT_EQ(value.scaledValue.toDouble(),
                      static_cast<double>(raw) * signal.scaling.factor + signal.scaling.offset)
                << "length " << signal.layout.length
                << (signal.layout.isSigned ? " signed" : " unsigned") << " raw " << raw
                << " factor " << signal.scaling.factor << " offset " << signal.scaling.offset;
        }
    }
}

TEST(DatatypeChoice, CanopenObjectKeepsItsTypeIfThatIsExact)
{
    using Type = CAN::CANopenDataType;
    const auto chosen = [](Type type, int length, double factor = 1) {
        monitor::CatalogueSignal signal = describedSignal(0, length);
        signal.layout.datatype = type;
        signal.scaling.factor = factor;
        signal.layout.isSigned = type == Type::INTEGER40 || type == Type::INTEGER24;
        signal.layout.isFloat = type == Type::REAL32 || type == Type::REAL64;
        signal.layout.passThrough = type == Type::INTEGER48;
        return monitor::datatypeOf(signal);
    };
    EXPECT_EQ(chosen(Type::UNSIGNED8, 3), Type::UNSIGNED8);
    EXPECT_EQ(chosen(Type::INTEGER24, 24), Type::INTEGER24);
    EXPECT_EQ(chosen(Type::REAL32, 32), Type::REAL32);
    EXPECT_EQ(chosen(Type::REAL64, 64), Type::REAL64);
    EXPECT_EQ(chosen(Type::INTEGER48, 48), Type::INTEGER48);
    EXPECT_EQ(chosen(Type::INTEGER40, 40), Type::INTEGER64);
    EXPECT_EQ(chosen(Type::UNSIGNED64, 64), Type::REAL64);
    EXPECT_EQ(chosen(Type::UNSIGNED8, 8, 0.5), Type::REAL64);
    EXPECT_EQ(chosen(Type::REAL32, 32, 0.5), Type::REAL64);
}
