#include "MetricsServer.h"

#include "metrics.h"

#include <httplib.h>

#include <chrono>
#include <cstddef>
#include <mutex>
#include <string>
#include <thread>
#include <utility>

namespace monitor
{

namespace
{

/// Splits "HOST:PORT". The host is 127.0.0.1 if only a port is given, and empty if the port is not
/// valid.
std::pair<QString, int> hostAndPort(const QString& address)
{
    const auto colon = address.lastIndexOf(':');
    QString host = colon < 0 ? QStringLiteral("127.0.0.1") : address.left(colon);
    if (host.startsWith('[') && host.endsWith(']'))
        host = host.mid(1, host.size() - 2);
    bool isNumber = false;
    const ushort port = address.mid(colon + 1).toUShort(&isNumber);
    return {isNumber ? host : QString(), port};
}

} // namespace

class MetricsServer::Server
{
public:
    explicit Server(QString nameOfBus) : busName(std::move(nameOfBus))
    {
        constexpr size_t threads = 2;
        constexpr size_t longestRequest = 8192;
        using std::chrono::seconds;
        server.new_task_queue = [] { return new httplib::ThreadPool(threads); };
        // A connection that stays open would occupy one of the threads.
        server.set_keep_alive_max_count(1);
        server.set_keep_alive_timeout(1);
        server.set_read_timeout(seconds(1));
        server.set_write_timeout(seconds(5));
        server.set_payload_max_length(longestRequest);
        server.Get("/metrics", [this](const httplib::Request&, httplib::Response& response) {
            response.set_content(metrics().toStdString(), "text/plain; version=0.0.4");
        });
        server.Get("/", [](const httplib::Request&, httplib::Response& response) {
            response.set_content("The metrics are at /metrics.\n", "text/plain");
        });
    }

    ~Server()
    {
        if (!listener.joinable())
            return;
        while (!server.is_running()) // it could not be stopped yet
            std::this_thread::yield();
        server.stop();
        listener.join();
    }

    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    /// Listens at \a port, or at any free one if it is 0. Returns the port, or -1.
    int listen(const QString& host, int port)
    {
        const std::string name = host.toStdString();
        if (port == 0)
            port = server.bind_to_any_port(name);
        else if (!server.bind_to_port(name, port))
            port = -1;
        if (port > 0)
            listener = std::thread([this] { server.listen_after_bind(); });
        return port;
    }

    void set(const Snapshot& newSnapshot, const BusState& newBus)
    {
        const std::lock_guard<std::mutex> lock(mutex);
        snapshot = newSnapshot;
        bus = newBus;
    }

private:
    QByteArray metrics()
    {
        std::unique_lock<std::mutex> lock(mutex);
        const Snapshot shown = snapshot;
        const BusState shownBus = bus;
        lock.unlock();
        return formatMetrics(shown, shownBus, busName);
    }

    const QString busName;
    std::mutex mutex; // protects the next two
    Snapshot snapshot;
    BusState bus;
    httplib::Server server;
    std::thread listener;
};

QString MetricsServer::check(const QString& address)
{
    return hostAndPort(address).first.isEmpty()
               ? QStringLiteral("needs ADDRESS:PORT, such as 127.0.0.1:9464, not \"%1\"")
                     .arg(address)
               : QString();
}

std::unique_ptr<MetricsServer> MetricsServer::start(const PublisherSettings& settings,
                                                    QString& note)
{
    const auto [host, wantedPort] = hostAndPort(settings.value);
    auto server = std::make_unique<Server>(settings.bus);
    const int port = server->listen(host, wantedPort);
    if (port < 0) {
        note = QStringLiteral("--metrics %1: cannot listen there: the address is not one of this "
                              "machine, or the port is in use or not permitted")
                   .arg(settings.value);
        return nullptr;
    }
    const QString shownHost = host.contains(':') ? '[' + host + ']' : host;
    note = QStringLiteral("metrics: http://%1:%2/metrics").arg(shownHost).arg(port);
    return std::unique_ptr<MetricsServer>(new MetricsServer(std::move(server)));
}

MetricsServer::MetricsServer(std::unique_ptr<Server> startedServer)
    : server(std::move(startedServer))
{
}

MetricsServer::~MetricsServer() = default;

bool MetricsServer::take(const Snapshot& snapshot, const BusState& bus)
{
    server->set(snapshot, bus);
    return true;
}

} // namespace monitor
