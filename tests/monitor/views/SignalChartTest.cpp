#include <views/SignalChart.h>

#include <gtest/gtest.h>

#include <QtCharts/QAreaSeries>
#include <QtCharts/QCategoryAxis>
#include <QtCharts/QLegendMarker>
#include <QtCharts/QLineSeries>
#include <QtCharts/QValueAxis>
#include <QtWidgets/QApplication>
#include <QtWidgets/QGraphicsLayout>
#include <QtWidgets/QGraphicsScene>

#include <algorithm>

using namespace QtCharts;
using monitor::chartOf;
using monitor::SignalStatistics;
using monitor::Trace;

namespace
{

/// Charts need an application, here without a display.
class SignalChart : public testing::Test
{
protected:
    std::unique_ptr<QChart> chart(const SignalStatistics& statistics, const Trace& trace) const
    {
        return chartOf(statistics, trace, monitor::rangeOf(trace), {1000, 500});
    }

    /// The points of all series with that name.
    static QVector<QPointF> pointsOf(const QChart& chart, const QString& name)
    {
        QVector<QPointF> points;
        for (QAbstractSeries* const series : chart.series()) {
            if (auto* const xy = qobject_cast<QXYSeries*>(series);
                xy != nullptr && xy->name() == name)
                points += xy->points().toVector();
        }
        return points;
    }

    static QValueAxis* axisOf(const QChart& chart, Qt::Orientation direction)
    {
        return qobject_cast<QValueAxis*>(chart.axes(direction).value(0));
    }

private:
    char name[5] = "test";
    char platform[10] = "-platform";
    char offscreen[10] = "offscreen";
    char* argv[4] = {name, platform, offscreen, nullptr};
    int argc = 3;
    const QApplication application{argc, argv};
};

SignalStatistics speed()
{
    SignalStatistics statistics;
    statistics.name = "Speed";
    statistics.source = quint8{7};
    statistics.unit = "rpm";
    statistics.count = 4;
    statistics.minimum = 10;
    statistics.maximum = 90;
    statistics.average = 50;
    statistics.lowerThreshold = 40;
    statistics.upperThreshold = 60;
    return statistics;
}

Trace speedTrace()
{
    Trace trace;
    trace.points = {{0, 50}, {1, 90}, {2, 10}, {10, 55}};
    trace.breaks = {3};
    return trace;
}

} // namespace

TEST_F(SignalChart, ShowsValuesAverageAndBandWithTheirUnit)
{
    const auto shown = chart(speed(), speedTrace());
    EXPECT_EQ(shown->title(), QString("Speed, source 7"));
    EXPECT_EQ(pointsOf(*shown, "values"), (QVector<QPointF>{{0, 50}, {1, 90}, {2, 10}}));
    EXPECT_EQ(pointsOf(*shown, "average"), (QVector<QPointF>{{0, 50}, {10, 50}}));
    const auto* const band = qobject_cast<QAreaSeries*>(shown->series().value(0));
    ASSERT_NE(band, nullptr);
    EXPECT_EQ(band->lowerSeries()->points().toVector(), (QVector<QPointF>{{0, 40}, {10, 40}}));
    EXPECT_EQ(band->upperSeries()->points().toVector(), (QVector<QPointF>{{0, 60}, {10, 60}}));
    EXPECT_EQ(axisOf(*shown, Qt::Vertical)->titleText(), QString("rpm"));
    EXPECT_EQ(axisOf(*shown, Qt::Horizontal)->titleText(), QString("time [s]"));
}

TEST_F(SignalChart, ValuesOutsideTheBandAreMarked)
{
    const auto shown = chart(speed(), speedTrace());
    EXPECT_EQ(pointsOf(*shown, "deviators"), (QVector<QPointF>{{1, 90}, {2, 10}}));
    SignalStatistics wide = speed();
    wide.lowerThreshold = 10;
    wide.upperThreshold = 90;
    EXPECT_TRUE(pointsOf(*chart(wide, speedTrace()), "deviators").isEmpty());
}

TEST_F(SignalChart, ValueBetweenTwoGapsIsASinglePoint)
{
    Trace trace = speedTrace();
    EXPECT_EQ(pointsOf(*chart(speed(), trace), ""),
              (QVector<QPointF>{{10, 55}, {0, 40}, {10, 40}, {0, 60}, {10, 60}}));
    trace.breaks = {1, 2, 3};
    EXPECT_EQ(pointsOf(*chart(speed(), trace), "values"), trace.points);
}

TEST_F(SignalChart, LimitsAreShownWithinTheAxisRange)
{
    SignalStatistics statistics = speed();
    statistics.limits = monitor::ValueRange{0, 200};
    const auto shown = chart(statistics, speedTrace());
    EXPECT_EQ(pointsOf(*shown, "limits"), (QVector<QPointF>{{0, 0}, {10, 0}}));
    EXPECT_LT(axisOf(*shown, Qt::Vertical)->min(), 0);
    EXPECT_GT(axisOf(*shown, Qt::Vertical)->max(), 200);
}

TEST_F(SignalChart, TickIntervalIsTheLargestRoundNumberThatFits8Times)
{
    const QVector<double> round{0.1, 0.2, 0.5, 1, 2, 5, 10, 20, 50, 100, 200, 500};
    for (const double extent : {7.0, 8.0, 15.0, 20.0, 39.0, 41.0, 99.0, 160.0, 700.0}) {
        Trace trace;
        trace.points = {{0, 50}, {extent, 60}};
        const auto shown = chart(speed(), trace);
        const double interval = axisOf(*shown, Qt::Horizontal)->tickInterval();
        const auto next = std::upper_bound(round.begin(), round.end(), interval * 1.000001);
        ASSERT_GT(next, round.begin());
        EXPECT_NEAR(*(next - 1), interval, 1e-9 * interval) << extent;
        EXPECT_GE(extent / interval, 8 - 1e-9) << extent;
        EXPECT_LT(extent / *next, 8) << extent;
    }
}

TEST_F(SignalChart, LegendListsEachKindOfLineOnce)
{
    SignalStatistics statistics = speed();
    statistics.limits = monitor::ValueRange{0, 200};
    const auto shown = chart(statistics, speedTrace());
    QStringList names;
    for (const QLegendMarker* const marker : shown->legend()->markers()) {
        if (marker->isVisible())
            names += marker->label();
    }
    EXPECT_EQ(names, (QStringList{"band", "limits", "values", "average", "deviators"}));
}

TEST_F(SignalChart, ValuesWithTextsAreHeldUntilTheNextOne)
{
    SignalStatistics statistics = speed();
    statistics.valueTexts = {{10, "slow"}};
    const auto shown = chart(statistics, speedTrace());
    EXPECT_EQ(pointsOf(*shown, "values"),
              (QVector<QPointF>{{0, 50}, {1, 50}, {1, 90}, {2, 90}, {2, 10}}));
    EXPECT_EQ(pointsOf(*shown, "deviators"), (QVector<QPointF>{{1, 90}, {2, 10}}));
}

TEST_F(SignalChart, HeldValueIsTheLastOneOfItsColumn)
{
    SignalStatistics statistics = speed();
    statistics.valueTexts = {{10, "slow"}};
    Trace trace;
    trace.points = {{0, 50}, {0.001, 90}, {0.002, 10}, {0.003, 50}, {10, 55}};
    EXPECT_TRUE(pointsOf(*chart(statistics, trace), "values").contains({10, 50}));
}

TEST_F(SignalChart, TextsAreLabelsOfTheirValues)
{
    SignalStatistics statistics = speed();
    statistics.valueTexts = {{10, "slow"}, {50, "<b>"}, {70, "same"}, {90, "same"}, {500, "never"}};
    const auto shown = chart(statistics, speedTrace());
    auto* const axis = qobject_cast<QCategoryAxis*>(axisOf(*shown, Qt::Vertical));
    ASSERT_NE(axis, nullptr);
    EXPECT_EQ(axis->labelsPosition(), QCategoryAxis::AxisLabelsPositionOnValue);
    EXPECT_EQ(axis->categoriesLabels(), (QStringList{"slow", "&lt;b&gt;", "same", "same (90)"}));
    EXPECT_EQ(axis->endValue("slow"), 10);
    EXPECT_EQ(axis->endValue("same (90)"), 90);
    EXPECT_LT(axis->min(), 10);
    EXPECT_GT(axis->max(), 90);
}

TEST_F(SignalChart, LongTextsLeaveRoomForTheValues)
{
    SignalStatistics statistics = speed();
    statistics.valueTexts = {{10, QString(500, 'W')}};
    for (const QSize& size : {QSize(1200, 500), QSize(1200, 220)}) {
        QGraphicsScene scene;
        auto* const shown =
            chartOf(statistics, speedTrace(), {0, 10}, size).release(); // owned by the scene
        scene.addItem(shown);
        shown->layout()->activate();
        EXPECT_GT(shown->plotArea().width(), 800) << size.height();
    }
}

TEST_F(SignalChart, ManyTextsAreThinnedOutSoThatTheyDoNotOverlap)
{
    SignalStatistics statistics = speed();
    for (int i = 0; i < 1000; ++i)
        statistics.valueTexts.insert(i / 10.0, QString::number(i) + " x");
    const auto shown = chart(statistics, speedTrace());
    auto* const axis = qobject_cast<QCategoryAxis*>(axisOf(*shown, Qt::Vertical));
    ASSERT_NE(axis, nullptr);
    const double pixels = 500 / (axis->max() - axis->min());
    double previous = -1e9;
    for (const QString& label : axis->categoriesLabels()) {
        EXPECT_GE((axis->endValue(label) - previous) * pixels, 8) << label.toStdString();
        previous = axis->endValue(label);
    }
    EXPECT_GE(axis->categoriesLabels().size(), 10);
    for (const char* occurring : {"100 x", "500 x", "900 x"})
        EXPECT_TRUE(axis->categoriesLabels().contains(occurring)) << occurring;
}

TEST_F(SignalChart, ValuesWithoutTimesAreNumbered)
{
    Trace trace = speedTrace();
    trace.hasTimes = false;
    EXPECT_EQ(axisOf(*chart(speed(), trace), Qt::Horizontal)->titleText(), QString("value number"));
}

TEST_F(SignalChart, MarkupInNamesIsEscaped)
{
    SignalStatistics statistics = speed();
    statistics.name = "<img src=x>\n";
    EXPECT_EQ(chart(statistics, speedTrace())->title(), QString("&lt;img src=x&gt; , source 7"));
}

TEST_F(SignalChart, PlaceMarkersInNamesAreKept)
{
    SignalStatistics statistics = speed();
    statistics.name = "a%1 x";
    statistics.source = 7;
    EXPECT_EQ(monitor::plotTitleOf(statistics), QString("a%1 x, source 7"));
}

TEST_F(SignalChart, ExtremeDoublesHaveAFiniteAxis)
{
    constexpr double greatest = std::numeric_limits<double>::max();
    for (const double lowest : {-greatest, 1e20, 0.0, 5e-324}) {
        SignalStatistics statistics = speed();
        const double highest = lowest < 0 ? greatest : lowest;
        statistics.minimum = statistics.average = statistics.lowerThreshold = lowest;
        statistics.maximum = statistics.upperThreshold = highest;
        Trace trace;
        trace.points = {{0, lowest}, {0, highest}};
        const auto shown = chart(statistics, trace);
        for (const auto direction : {Qt::Horizontal, Qt::Vertical}) {
            const auto* const axis = axisOf(*shown, direction);
            EXPECT_GT(axis->max(), axis->min()) << lowest;
            EXPECT_TRUE(std::isfinite(axis->max() - axis->min())) << lowest;
        }
    }
}
