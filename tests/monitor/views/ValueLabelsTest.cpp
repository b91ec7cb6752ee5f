#include <views/valueLabels.h>

#include <gtest/gtest.h>

#include <QtCore/QStringList>

#include <cmath>

using monitor::ValueRange;

namespace
{

const QMap<double, QString> gears{{-1, "reverse"}, {0, "neutral"}, {1, "first"}, {2, "second"}};

/// "value=text" of each label.
QStringList labelled(const QMap<double, QString>& texts, const QVector<double>& occurring,
                     const ValueRange& range, double distance)
{
    QStringList labels;
    for (const auto& label : monitor::valueLabels(texts, occurring, range, distance))
        labels += QString("%1=%2").arg(label.value).arg(label.text);
    return labels;
}

} // namespace

TEST(ValueLabels, TextsInTheRangeOfTheAxisAreLabels)
{
    EXPECT_EQ(labelled(gears, {0, 1}, {-0.1, 2.1}, 0.1),
              (QStringList{"0=neutral", "1=first", "2=second"}));
}

TEST(ValueLabels, ValueWithoutATextIsLabelledWithItsNumber)
{
    EXPECT_EQ(labelled(gears, {0, 1.5}, {-0.1, 1.6}, 0.1),
              (QStringList{"0=neutral", "1=first", "1.5=1.5"}));
    EXPECT_EQ(labelled({{0, ""}, {1, "on"}}, {0, 1}, {-1, 2}, 0.1), (QStringList{"0=0", "1=on"}));
}

TEST(ValueLabels, LabelsThatWouldOverlapAreLeftOut)
{
    EXPECT_EQ(labelled(gears, {}, {-2, 3}, 1),
              (QStringList{"-1=reverse", "0=neutral", "1=first", "2=second"}));
    EXPECT_EQ(labelled(gears, {}, {-2, 3}, 1.5), (QStringList{"-1=reverse", "1=first"}));
}

TEST(ValueLabels, ValuesThatOccurTakePrecedenceAndThoseWithATextMost)
{
    EXPECT_EQ(labelled(gears, {0, 2}, {-2, 3}, 1.5), (QStringList{"0=neutral", "2=second"}));
    EXPECT_EQ(labelled(gears, {-0.5, 0.5, 1}, {-2, 3}, 1),
              (QStringList{"-0.5=-0.5", "1=first", "2=second"}));
}

TEST(ValueLabels, ValueThatOccursIsNotMistakenForItsNeighbour)
{
    EXPECT_EQ(labelled(gears, {-1, 0}, {-2, 3}, 1.5), (QStringList{"-1=reverse", "2=second"}));
}

// 0.1 x 3 is 0.30000000000000004.
TEST(ValueLabels, RoundingDoesNotSeparateAValueFromItsText)
{
    EXPECT_EQ(labelled({{0.3, "x"}}, {0.1 * 3}, {0, 1}, 0.1), (QStringList{"0.3=x"}));
    EXPECT_EQ(labelled({{0, "x"}}, {0.1 * 3 - 0.3}, {-1, 1}, 0.1).size(), 1);
    EXPECT_EQ(labelled({{65535, "x"}}, {65534}, {0, 65536}, 10), (QStringList{"65534=65534"}));
}

TEST(ValueLabels, ManyValuesWithoutATextAreReplacedByRoundNumbers)
{
    QVector<double> occurring;
    for (int i = 0; i < 1000; ++i)
        occurring.append(i * 64 + 7);
    occurring.append(65535);
    EXPECT_EQ(
        labelled({{65535, "not available"}}, occurring, {-3000, 69000}, 3600),
        (QStringList{"0=0", "5000=5000", "10000=10000", "15000=15000", "20000=20000", "25000=25000",
                     "30000=30000", "35000=35000", "40000=40000", "45000=45000", "50000=50000",
                     "55000=55000", "60000=60000", "65535=not available"}));
}

TEST(ValueLabels, AreFiniteAndFewForExtremeRanges)
{
    QVector<double> occurring;
    for (int i = 0; i < 100; ++i)
        occurring.append(1e300 * (i / 100.0));
    for (const ValueRange& range :
         {ValueRange{-1e300, 1e300}, ValueRange{1e18, 1e18 + 1024}, ValueRange{0, 1e-300}}) {
        const auto labels = monitor::valueLabels({{0, "zero"}}, occurring, range,
                                                 (range.highest - range.lowest) / 10);
        EXPECT_LE(labels.size(), 11) << range.highest;
        for (const auto& label : labels)
            EXPECT_TRUE(std::isfinite(label.value)) << range.highest;
    }
}
