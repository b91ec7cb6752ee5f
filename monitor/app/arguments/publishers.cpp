#include "publishers.h"

#ifdef VANTREL_WITH_METRICS
#include "publishers/prometheus/MetricsServer.h"
#endif

namespace monitor
{

namespace
{

#ifndef VANTREL_WITH_METRICS
/// Stands in for the server, which this program was built without.
struct MetricsServer {
    static QString check(const QString& /*address*/)
    {
        return QStringLiteral("is not available: this program was built with VANTREL_METRICS=OFF");
    }

    static std::unique_ptr<SnapshotSink> start(const PublisherSettings& /*settings*/,
                                               QString& /*note*/)
    {
        return nullptr;
    }
};
#endif

/// A publisher of the class \a P.
template <typename P>
std::unique_ptr<SnapshotSink> start(const PublisherSettings& settings, QString& note)
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
    };
    return kinds;
}

} // namespace monitor
