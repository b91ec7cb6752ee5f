#include "valueLabels.h"

#include <algorithm>
#include <cmath>

namespace monitor
{

namespace
{

constexpr int mostNumbers = 20;         // of values without a text that are labelled one by one
constexpr double longestInterval = 2.5; // between numbers, in distances; rounding divides it by 2.5
constexpr int mostTicks = 1000;         // where double has no digits left for round numbers

/// Keeps labels at a distance from each other.
class Labels
{
public:
    Labels(const ValueRange& shownRange, double minDistance)
        : range(shownRange), distance(minDistance)
    {
    }

    /// Adds a label unless it is out of range or too close to another one.
    void add(double value, const QString& text)
    {
        const auto next = labels.lowerBound(value);
        const bool isFree = (next == labels.end() || next.key() - value >= distance) &&
                            (next == labels.begin() || value - std::prev(next).key() >= distance);
        if (isFree && value >= range.lowest && value <= range.highest)
            labels.insert(value, text);
    }

    void addNumber(double value) { add(value, QString::number(value, 'g', 7)); }

    QVector<ValueLabel> inOrder() const
    {
        QVector<ValueLabel> all;
        for (auto label = labels.begin(); label != labels.end(); ++label)
            all.append({label.key(), label.value()});
        return all;
    }

private:
    ValueRange range;
    double distance;
    QMap<double, QString> labels;
};

/// The text of \a value, whose last digits may differ from those in \a texts by rounding; empty if
/// it has none.
QString textOf(double value, const QMap<double, QString>& texts, const ValueRange& range)
{
    const double error = std::max(std::fabs(value), range.highest - range.lowest) * 1e-12;
    const auto found = texts.lowerBound(value - error);
    return found != texts.end() && found.key() <= value + error ? found.value() : QString();
}

/// Whether \a value is closer than \a distance to one of \a values.
bool isNear(double value, const QVector<double>& values, double distance)
{
    const auto next = std::lower_bound(values.begin(), values.end(), value);
    return (next != values.end() && *next - value < distance) ||
           (next != values.begin() && value - *std::prev(next) < distance);
}

QVector<double> roundNumbersIn(const ValueRange& range, double distance)
{
    QVector<double> numbers;
    const double extent = range.highest - range.lowest;
    const double interval =
        roundInterval(extent, std::max(1, static_cast<int>(extent / distance / longestInterval)));
    const double first = std::ceil(range.lowest / interval);
    for (int i = 0; (first + i) * interval <= range.highest && i < mostTicks; ++i)
        numbers.append((first + i) * interval);
    return numbers;
}

} // namespace

QVector<ValueLabel> valueLabels(const QMap<double, QString>& texts,
                                const QVector<double>& occurring, const ValueRange& range,
                                double distance)
{
    Labels labels(range, distance);
    QVector<double> numbers;
    for (const double value : occurring) {
        const QString text = textOf(value, texts, range);
        if (text.isEmpty())
            numbers.append(value);
        else
            labels.add(value, text);
    }
    if (numbers.size() > mostNumbers)
        numbers = roundNumbersIn(range, distance);
    for (const double number : qAsConst(numbers))
        labels.addNumber(number);
    for (auto text = texts.begin(); text != texts.end(); ++text) {
        if (!text.value().isEmpty() && !isNear(text.key(), occurring, distance))
            labels.add(text.key(), text.value());
    }
    return labels.inOrder();
}

double roundInterval(double extent, int ticks)
{
    const double magnitude = std::pow(10, std::floor(std::log10(extent / ticks)));
    const double digits = extent / ticks / magnitude;
    return magnitude * (digits >= 5 ? 5 : digits >= 2 ? 2 : 1);
}

} // namespace monitor
