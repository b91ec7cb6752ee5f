#include "BusArguments.h"

#include <cmath>
#include <limits>

namespace monitor
{

namespace
{

const QString bitRateOption = QStringLiteral("bitrate");
const QString durationOption = QStringLiteral("duration");
const QString fdOption = QStringLiteral("fd");
const QString framesOption = QStringLiteral("frames");
const QString highlightOption = QStringLiteral("highlight");
const QString interfaceOption = QStringLiteral("interface");
const QString pluginOption = QStringLiteral("plugin");
const QString speedOption = QStringLiteral("speed");

/// A number above 0; none otherwise.
std::optional<double> readPositive(const QString& text)
{
    bool isNumber = false;
    const double number = text.toDouble(&isNumber);
    return isNumber && std::isfinite(number) && number > 0 ? std::optional(number) : std::nullopt;
}

/// Reads a positive number into \a number if the option is given. False if it is none.
bool readNumber(const QCommandLineParser& parser, const QString& option, double& number)
{
    if (!parser.isSet(option))
        return true;
    const std::optional<double> given = readPositive(parser.value(option));
    number = given.value_or(number);
    return given.has_value();
}

QString readBus(const QCommandLineParser& parser, BusAddress& bus)
{
    if (!parser.isSet(pluginOption) || !parser.isSet(interfaceOption))
        return QStringLiteral("--plugin PLUGIN and --interface NAME are needed, as socketcan and "
                              "can0");
    bus.plugin = parser.value(pluginOption);
    bus.device = parser.value(interfaceOption);
    bus.fd = parser.isSet(fdOption);
    return QString();
}

bool readRating(const QCommandLineParser& parser, int& rating)
{
    bool isNumber = true;
    if (parser.isSet(highlightOption))
        rating = parser.value(highlightOption).toInt(&isNumber);
    return isNumber && rating >= 0 && rating <= 100;
}

} // namespace

void describeBusOptions(QCommandLineParser& parser)
{
    parser.addOption(
        {pluginOption,
         QStringLiteral("live, window, send: the plugin of Qt Serial Bus that knows the bus, "
                        "as socketcan."),
         QStringLiteral("PLUGIN")});
    parser.addOption({interfaceOption,
                      QStringLiteral("live, window, send: the interface, as can0."),
                      QStringLiteral("NAME")});
    parser.addOption({fdOption, QStringLiteral("live, window, send: CAN FD frames too.")});
    parser.addOption(
        {bitRateOption,
         QStringLiteral("live, window: the bit rate of the bus, for its load (default: "
                        "250000). That of the interface is not changed."),
         QStringLiteral("RATE")});
    parser.addOption({durationOption,
                      QStringLiteral("live, window: end by itself (default: with Ctrl-C, or q)."),
                      QStringLiteral("SECONDS")});
    parser.addOption({framesOption, QStringLiteral("live, window: end after so many frames."),
                      QStringLiteral("COUNT")});
    parser.addOption(
        {highlightOption,
         QStringLiteral("live, window: highlight signals rated under RATING (default: 50)."),
         QStringLiteral("RATING")});
    parser.addOption({speedOption,
                      QStringLiteral("send: so many times as fast as recorded, or max: as fast as "
                                     "possible (default: 1)."),
                      QStringLiteral("FACTOR")});
}

QStringList liveOptionNames()
{
    return {pluginOption,   interfaceOption, fdOption,       bitRateOption,
            durationOption, framesOption,    highlightOption};
}

QStringList sendOptionNames()
{
    return {pluginOption, interfaceOption, fdOption, speedOption};
}

QString readLiveOptions(const QCommandLineParser& parser, LiveOptions& options)
{
    if (!readNumber(parser, bitRateOption, options.bitRate))
        return QStringLiteral("--bitrate needs a number above 0");
    if (!readNumber(parser, durationOption, options.duration))
        return QStringLiteral("--duration needs a number of seconds above 0");
    if (!readNumber(parser, framesOption, options.frames))
        return QStringLiteral("--frames needs a number above 0");
    if (!readRating(parser, options.leastRating))
        return QStringLiteral("--highlight needs a rating from 0 to 100");
    return readBus(parser, options.bus);
}

QString readSendOptions(const QCommandLineParser& parser, SendOptions& options)
{
    if (parser.value(speedOption) == QLatin1String("max"))
        options.speed = std::numeric_limits<double>::infinity();
    else if (!readNumber(parser, speedOption, options.speed))
        return QStringLiteral("--speed needs a factor above 0, or max");
    return readBus(parser, options.bus);
}

} // namespace monitor
