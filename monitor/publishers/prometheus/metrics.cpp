#include "metrics.h"

#include <array>
#include <charconv>
#include <iterator>
#include <optional>

namespace monitor
{

namespace
{

enum class Type { Gauge, Counter };

/// A metric of each signal.
struct SignalMetric {
    const char* name;
    Type type;
    const char* help;
    /// Nothing if the signal has no such value.
    std::optional<double> (*valueOf)(const SignalStatistics& statistics);
};

std::optional<double> newestOf(const SignalStatistics& statistics)
{
    return statistics.isPassedThrough ? statistics.newestNumber : statistics.newest;
}

template <auto Member>
std::optional<double> computed(const SignalStatistics& statistics)
{
    if (statistics.isPassedThrough)
        return std::nullopt;
    return static_cast<double>(statistics.*Member);
}

template <auto Member>
std::optional<double> counted(const SignalStatistics& statistics)
{
    return static_cast<double>(statistics.*Member);
}

const SignalMetric signalMetrics[] = {
    {"vantrel_signal_newest", Type::Gauge, "Newest value, in the unit of the signal.", newestOf},
    {"vantrel_signal_average", Type::Gauge, "Average of all values.",
     computed<&SignalStatistics::average>},
    {"vantrel_signal_deviation", Type::Gauge, "Population standard deviation of all values.",
     computed<&SignalStatistics::deviation>},
    {"vantrel_signal_minimum", Type::Gauge, "Smallest value.",
     computed<&SignalStatistics::minimum>},
    {"vantrel_signal_maximum", Type::Gauge, "Greatest value.",
     computed<&SignalStatistics::maximum>},
    {"vantrel_signal_median", Type::Gauge, "Median of all values, or of the kept ones.",
     computed<&SignalStatistics::median>},
    {"vantrel_signal_rating", Type::Gauge,
     "Rating of the newest value by the limits or the band, from 0 to 100.",
     computed<&SignalStatistics::rating>},
    {"vantrel_signal_band_lower", Type::Gauge, "Lower end of the band.",
     computed<&SignalStatistics::lowerThreshold>},
    {"vantrel_signal_band_upper", Type::Gauge, "Upper end of the band.",
     computed<&SignalStatistics::upperThreshold>},
    {"vantrel_signal_values_total", Type::Counter, "Number of measured values.",
     counted<&SignalStatistics::count>},
    {"vantrel_signal_deviators_total", Type::Counter,
     "Number of values outside the current band. Decreases if the band widens to include some.",
     computed<&SignalStatistics::deviators>},
    {"vantrel_signal_not_available_total", Type::Counter, "How often the sender had no value.",
     counted<&SignalStatistics::notAvailable>},
    {"vantrel_signal_errors_total", Type::Counter, "How often the sender reported an error.",
     counted<&SignalStatistics::errors>},
};

bool isAlwaysKnown(const SignalMetric& metric)
{
    return metric.type == Type::Counter;
}

/// Appends the shortest form of \a value from which the same double can be read.
void appendNumber(QByteArray& text, double value)
{
    std::array<char, 32> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value).ptr;
    text.append(digits.data(), static_cast<int>(std::distance(digits.data(), end)));
}

void appendLabel(QByteArray& labels, const char* name, const QString& value)
{
    labels += labels.isEmpty() ? '{' : ',';
    labels += name;
    labels += "=\"";
    for (const char c : value.toUtf8()) {
        if (c == '\n') {
            labels += "\\n";
            continue;
        }
        if (c == '\\' || c == '"')
            labels += '\\';
        labels += c;
    }
    labels += '"';
}

QByteArray labelsOf(const SignalStatistics& statistics, const QString& busName)
{
    QByteArray labels;
    appendLabel(labels, "signal", statistics.name);
    appendLabel(labels, "source",
                statistics.source ? QString::number(*statistics.source) : QString());
    appendLabel(labels, "bus", statistics.bus.isEmpty() ? busName : statistics.bus);
    appendLabel(labels, "unit", statistics.unit);
    return labels + '}';
}

void appendHead(QByteArray& text, const char* name, Type type, const char* help)
{
    text += QByteArray("# HELP ") + name + ' ' + help + "\n# TYPE " + name +
            (type == Type::Counter ? " counter\n" : " gauge\n");
}

void appendSample(QByteArray& text, const char* name, const QByteArray& labels, double value)
{
    text += name;
    text += labels;
    text += ' ';
    appendNumber(text, value);
    text += '\n';
}

/// A metric of the run.
struct RunMetric {
    const char* name;
    Type type;
    const char* help;
    double value;
};

} // namespace

QByteArray formatMetrics(const Snapshot& snapshot, const BusState& bus, const QString& busName)
{
    const FrameCounts& counts = snapshot.counts;
    const RunMetric runMetrics[] = {
        {"vantrel_frames_total", Type::Counter, "Received data and remote frames.",
         static_cast<double>(counts.total)},
        {"vantrel_frames_decoded_total", Type::Counter, "Frames with at least one signal.",
         static_cast<double>(counts.decoded)},
        {"vantrel_frames_dropped_total", Type::Counter, "Frames that were lost.",
         static_cast<double>(counts.dropped)},
        {"vantrel_error_frames_total", Type::Counter, "Error frames.",
         static_cast<double>(counts.errors)},
        {"vantrel_bus_load_ratio", Type::Gauge, "Load of the bus in the last second, from 0 to 1.",
         bus.loadPercent / 100},
    };
    QByteArray busLabel;
    appendLabel(busLabel, "bus", busName);
    busLabel += '}';
    QByteArray text;
    for (const RunMetric& metric : runMetrics) {
        appendHead(text, metric.name, metric.type, metric.help);
        appendSample(text, metric.name, busLabel, metric.value);
    }
    QVector<QByteArray> labels;
    for (const SnapshotRow& row : snapshot.rows)
        labels += labelsOf(*row.statistics, busName);
    for (const SignalMetric& metric : signalMetrics) {
        appendHead(text, metric.name, metric.type, metric.help);
        for (int i = 0; i < snapshot.rows.size(); ++i) {
            const SignalStatistics& statistics = *snapshot.rows.at(i).statistics;
            if (statistics.count == 0 && !isAlwaysKnown(metric))
                continue;
            if (const std::optional<double> value = metric.valueOf(statistics))
                appendSample(text, metric.name, labels.at(i), *value);
        }
    }
    return text;
}

} // namespace monitor
