#include <views/Trace.h>

#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <random>

using monitor::Joining;
using monitor::OutlineColumn;
using monitor::SeriesOutline;
using monitor::SignalSeries;
using monitor::Trace;
using monitor::traceOf;

namespace
{

constexpr int pixels = 1200;
constexpr qint64 start = 1600000000000000; // of the run, in microseconds
constexpr qint64 period = 10000;

using Random = std::mt19937_64;

/// A way in which the times of a series may advance: the microseconds after the value \a i.
struct Timing {
    const char* name;
    std::function<qint64(Random& random, int i)> step;
};

bool happens(Random& random, double probability)
{
    return std::bernoulli_distribution(probability)(random);
}

qint64 jittered(Random& random)
{
    return std::llround(std::normal_distribution<double>(period, period / 50)(random));
}

const Timing timings[] = {
    {"regular", [](Random&, int) { return period; }},
    {"jittered", [](Random& random, int) { return jittered(random); }},
    {"gaps",
     [](Random& random, int) {
         return happens(random, 0.002)  ? period * 2000
                : happens(random, 0.01) ? period * 7
                                        : period;
     }},
    {"one long gap", [](Random&, int i) { return i == 4000 ? period * 1000000 : period; }},
    {"bursts", [](Random& random, int i) { return i % 50 < 49 ? 300 : 50 * jittered(random); }},
    {"simultaneous", [](Random& random, int i) { return i % 3 ? 0 : jittered(random); }},
    {"events",
     [](Random& random, int) {
         return std::llround(std::exponential_distribution<double>(1.0 / period)(random));
     }},
    {"clock set back",
     [](Random& random, int) { return happens(random, 0.001) ? -50 * period : jittered(random); }},
    {"slower in the second half", [](Random&, int i) { return i < 30000 ? period : 20 * period; }},
};

/// Noise on a wave, with rare peaks; or rare changes of a small number, if \a hasTexts.
double valueAt(Random& random, int i, bool hasTexts, double before)
{
    if (hasTexts)
        return happens(random, 0.002) ? double(random() % 6) : before;
    const double peak = happens(random, 0.0005) ? 50 : 0;
    return 10 * std::sin(i / 3000.0) + std::normal_distribution<double>()(random) + peak;
}

SignalSeries seriesOf(const Timing& timing, int count, bool hasTexts, quint64 seed)
{
    Random random(seed);
    SignalSeries series;
    qint64 time = start + 123456;
    for (int i = 0; i < count; ++i) {
        series.microseconds.append(time);
        series.values.append(valueAt(random, i, hasTexts, i == 0 ? 0 : series.values.last()));
        time += timing.step(random, i);
    }
    return series;
}

SeriesOutline outlineOf(const SignalSeries& series)
{
    SeriesOutline outline;
    for (int i = 0; i < series.values.size(); ++i) {
        const qint64 time = series.microseconds.at(i);
        outline.add(time == SignalSeries::noTime ? std::nullopt : std::optional<qint64>(time),
                    series.values.at(i));
    }
    return outline;
}

/// How many pixels wide the range of the full series is drawn.
struct Scale {
    double from;
    double to;
    int pixelOf(double x) const
    {
        return int(std::clamp((x - from) / (to - from) * pixels, 0.0, pixels - 1.0));
    }
    double pixel() const { return (to - from) / pixels; }
};

/// What is drawn in a column of pixels.
struct Extremes {
    double lowest = std::numeric_limits<double>::infinity();
    double highest = -std::numeric_limits<double>::infinity();
    double last = 0;
    bool isEmpty() const { return lowest > highest; }
};

using Picture = std::vector<Extremes>;

Picture pictureOf(const QVector<QPointF>& points, const Scale& scale)
{
    Picture picture(pixels);
    for (const QPointF& point : points) {
        Extremes& column = picture.at(size_t(scale.pixelOf(point.x())));
        column.lowest = std::min(column.lowest, point.y());
        column.highest = std::max(column.highest, point.y());
        column.last = point.y();
    }
    return picture;
}

/// The points that reduceToColumns() leaves of \a trace.
Picture drawn(const Trace& trace, const Scale& scale, Joining joining)
{
    QVector<QPointF> points;
    for (const auto& line : reduceToColumns(trace, scale.from, scale.to, pixels, joining))
        points += line;
    return pictureOf(points, scale);
}

/// Everything in a column of pixels and its neighbours.
Extremes around(const Picture& picture, int column)
{
    Extremes all;
    for (int i = std::max(0, column - 1); i <= std::min(pixels - 1, column + 1); ++i) {
        all.lowest = std::min(all.lowest, picture.at(size_t(i)).lowest);
        all.highest = std::max(all.highest, picture.at(size_t(i)).highest);
    }
    return all;
}

/// Expects the extremes of each column of \a part in the same column of \a whole or in one of its
/// neighbours.
void expectWithin(const Picture& part, const Picture& whole, const char* what)
{
    for (int i = 0; i < pixels; ++i) {
        const Extremes& column = part.at(size_t(i));
        if (column.isEmpty())
            continue;
        const Extremes expected = around(whole, i);
        ASSERT_LE(expected.lowest, column.lowest) << what << " in column " << i;
        ASSERT_GE(expected.highest, column.highest) << what << " in column " << i;
    }
}

/// Expects the same held value in columns without values that are not next to a column with values.
void expectSameHeldValues(const Picture& outline, const Picture& full)
{
    double held = 0;
    double expected = 0;
    for (int i = 0; i < pixels; ++i) {
        if (around(full, i).isEmpty()) {
            ASSERT_EQ(held, expected) << "held in column " << i;
        }
        held = outline.at(size_t(i)).isEmpty() ? held : outline.at(size_t(i)).last;
        expected = full.at(size_t(i)).isEmpty() ? expected : full.at(size_t(i)).last;
    }
}

/// The gaps of \a trace that are at least \a width wide, from the beginning to the end of each.
std::map<double, double> gapsOf(const Trace& trace, double width)
{
    std::map<double, double> gaps;
    for (const int place : trace.breaks) {
        const double from = trace.points.at(place - 1).x();
        const double to = trace.points.at(place).x();
        if (to - from >= width)
            gaps[from] = to;
    }
    return gaps;
}

/// Expects each of \a gaps in \a others too, unless it is within 1 % of \a limit.
void expectGaps(const std::map<double, double>& gaps, const std::map<double, double>& others,
                double limit, const char* what)
{
    for (const auto& [from, to] : gaps) {
        if (std::fabs(to - from - limit) < limit / 100)
            continue;
        const auto other = others.lower_bound(from - 1e-6);
        ASSERT_TRUE(other != others.end() && std::fabs(other->first - from) < 2e-6 &&
                    std::fabs(other->second - to) < 2e-6)
            << what << " from " << from << " to " << to;
    }
}

/// The median step forward in seconds.
double usualPeriodOf(const SignalSeries& series)
{
    std::vector<qint64> steps;
    for (int i = 1; i < series.microseconds.size(); ++i) {
        if (series.microseconds.at(i) > series.microseconds.at(i - 1))
            steps.push_back(series.microseconds.at(i) - series.microseconds.at(i - 1));
    }
    std::sort(steps.begin(), steps.end());
    return double(steps.at(steps.size() / 2)) / 1e6;
}

void expectSamePicture(const SignalSeries& series, Joining joining)
{
    const Trace full = traceOf(series, start);
    const Trace outline = traceOf(outlineOf(series), start);
    ASSERT_EQ(outline.hasTimes, full.hasTimes);
    const Scale scale{full.points.first().x(), full.points.last().x()};
    EXPECT_NEAR(outline.points.first().x(), scale.from, 1e-6);
    EXPECT_NEAR(outline.points.last().x(), scale.to, 1e-6);
    const Picture expected = pictureOf(full.points, scale);
    const Picture picture = drawn(outline, scale, joining);
    expectWithin(picture, expected, "a point that is not in the series");
    expectWithin(expected, picture, "a missing extreme");
    if (joining == Joining::Steps)
        expectSameHeldValues(picture, expected);
    if (!full.hasTimes)
        return;
    const double limit = 5 * usualPeriodOf(series);
    expectGaps(gapsOf(outline, 0), gapsOf(full, 0), limit, "a gap that is not in the series");
    expectGaps(gapsOf(full, scale.pixel()), gapsOf(outline, 0), limit, "a missing gap");
}

} // namespace

TEST(OutlineTrace, IsTheTraceOfTheSeriesAsLongAsEachValueIsKept)
{
    for (const Timing& timing : timings) {
        for (const int count : {1, 2, 3, 100, 2600}) {
            const SignalSeries series = seriesOf(timing, count, false, quint64(count));
            const Trace expected = traceOf(series, start);
            const Trace trace = traceOf(outlineOf(series), start);
            EXPECT_EQ(trace.breaks, expected.breaks) << timing.name << ' ' << count;
            ASSERT_EQ(trace.points.size(), expected.points.size());
            for (int i = 0; i < count; ++i) {
                ASSERT_NEAR(trace.points.at(i).x(), expected.points.at(i).x(), 1e-6) << timing.name;
                ASSERT_EQ(trace.points.at(i).y(), expected.points.at(i).y()) << timing.name;
            }
        }
    }
    EXPECT_TRUE(traceOf(SeriesOutline(), start).points.isEmpty());
}

TEST(OutlineTrace, LooksLikeTheSeriesWithinOneColumnOfPixels)
{
    for (const Timing& timing : timings) {
        for (const int count : {2601, 5000, 70000}) {
            for (const bool hasTexts : {false, true}) {
                for (quint64 seed = 1; seed <= 3; ++seed) {
                    SCOPED_TRACE(testing::Message() << timing.name << ", " << count << " values, "
                                                    << (hasTexts ? "texts, " : "") << seed);
                    expectSamePicture(seriesOf(timing, count, hasTexts, seed),
                                      hasTexts ? Joining::Steps : Joining::Straight);
                }
            }
        }
    }
}

TEST(OutlineTrace, ValuesAreNumberedOnceATimeIsUnknown)
{
    for (const int unknown : {0, 1, 2600, 10000, 39999}) {
        SignalSeries series = seriesOf(timings[0], 40000, false, 1);
        series.microseconds[unknown] = SignalSeries::noTime;
        SCOPED_TRACE(unknown);
        ASSERT_FALSE(traceOf(outlineOf(series), start).hasTimes);
        expectSamePicture(series, Joining::Straight);
    }
}

// In the second column, the last value is neither the lowest nor the highest.
TEST(OutlineTrace, ColumnIsDrawnFromItsFirstExtremeToItsLastValue)
{
    const std::vector<OutlineColumn> columns{{0, 1000000, 2, 2, 2, 9},
                                             {2000000, 4000000, 1, 9, 5, 7},
                                             {5000000, 6000000, 1, 9, 1, 7, true}};
    const Trace trace = traceOf(partOf(columns), 10, 1000000);
    EXPECT_EQ(trace.points,
              (QVector<QPointF>{{10, 2}, {11, 2}, {12, 1}, {14, 9}, {14, 5}, {15, 9}, {16, 1}}));
    EXPECT_TRUE(trace.breaks.isEmpty());
    EXPECT_EQ(traceOf(partOf(columns), 10, 199999).breaks, (QVector<int>{2, 5}));
}

TEST(OutlineTrace, SeriesThatBeginsBeforeTheStartIsShiftedToIt)
{
    SeriesOutline outline;
    outline.add(10, 7);
    outline.add(1000010, 8);
    EXPECT_EQ(traceOf(outline, 5000000).points, (QVector<QPointF>{{0, 7}, {1, 8}}));
}
