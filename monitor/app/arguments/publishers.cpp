#include "publishers.h"

#ifdef VANTREL_WITH_MQTT
#include "publishers/mqtt/MqttPublisher.h"
#endif
#ifdef VANTREL_WITH_METRICS
#include "publishers/prometheus/MetricsServer.h"
#endif

namespace monitor
{

namespace
{

/// Stands in for a publisher that this program was built without.
template <const char* option>
struct MissingPublisher {
    static QString check(const QString& /*value*/)
    {
        return QStringLiteral("is not available: this program was built with %1=OFF")
            .arg(QLatin1String(option));
    }

    static std::unique_ptr<Publisher> start(const PublisherSettings& /*settings*/,
                                            QString& /*note*/)
    {
        return nullptr;
    }
};

#ifndef VANTREL_WITH_METRICS
constexpr char metricsOption[] = "VANTREL_METRICS";
using MetricsServer = MissingPublisher<metricsOption>;
#endif
#ifndef VANTREL_WITH_MQTT
constexpr char mqttOption[] = "VANTREL_MQTT";
using MqttPublisher = MissingPublisher<mqttOption>;
#endif

/// A publisher of the class \a P.
template <typename P>
std::unique_ptr<Publisher> start(const PublisherSettings& settings, QString& note)
{
    return P::start(settings, note);
}

} // namespace

const QVector<PublisherKind>& publisherKinds()
{
    static const QVector<PublisherKind> kinds{
        {"metrics", "ADDRESS:PORT",
         "Serve the current statistics to Prometheus at http://ADDRESS:PORT/metrics. With a PORT "
         "alone, such as 9464, only programs on this machine can connect.",
         MetricsServer::check, start<MetricsServer>},
        {"mqtt", "URL",
         "Publish the statistics of signals to an MQTT broker when they change. URL is "
         "mqtt://HOST[:PORT]/PREFIX, or mqtts:// for TLS.",
         MqttPublisher::check, start<MqttPublisher>},
    };
    return kinds;
}

} // namespace monitor
