#include "MetricsServer.h"

#include "metrics.h"

#include <httplib.h>

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <exception>
#include <memory>
#include <mutex>
#include <string>
#include <system_error>
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

/// The server, which its thread also owns: a client that sends its request one byte at a time can
/// delay the end of that thread indefinitely.
class MetricsServer::Server : public std::enable_shared_from_this<Server>
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
        // By default, several programs could listen at the same port.
        server.set_socket_options([](socket_t socket) {
            const int yes = 1;
            setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
        });
        server.Get("/metrics", [this](const httplib::Request&, httplib::Response& response) {
            response.set_content(metrics().toStdString(), "text/plain; version=0.0.4");
        });
        server.Get("/", [](const httplib::Request&, httplib::Response& response) {
            response.set_content("The metrics are at /metrics.\n", "text/plain");
        });
    }

    /// Listens at \a port, or at any free one if it is 0. Returns the port, or -1.
    int listen(const QString& host, int port)
    {
        const std::string name = host.toStdString();
        if (port == 0)
            port = server.bind_to_any_port(name);
        else if (!server.bind_to_port(name, port))
            port = -1;
        if (port < 0)
            return port;
        try {
            std::thread([self = shared_from_this()] { self->answer(); }).detach();
        } catch (const std::system_error&) {
            return -1;
        }
        return port;
    }

    /// Stops listening, and waits a second at most for answers that are being sent.
    void stop()
    {
        constexpr std::chrono::milliseconds pause(1);
        constexpr std::chrono::seconds longestWait(1);
        std::unique_lock<std::mutex> lock(mutex);
        while (!hasEnded && !server.is_running()) // it could not be stopped yet
            ended.wait_for(lock, pause);
        if (!hasEnded)
            server.stop();
        ended.wait_for(lock, longestWait, [this] { return hasEnded; });
    }

    void set(const Snapshot& newSnapshot, const BusState& newBus)
    {
        const std::lock_guard<std::mutex> lock(mutex);
        snapshot = newSnapshot;
        bus = newBus;
    }

private:
    void answer()
    {
        try {
            server.listen_after_bind();
        } catch (const std::exception&) { // such as too many threads
        }
        const std::lock_guard<std::mutex> lock(mutex);
        hasEnded = true;
        ended.notify_all();
    }

    QByteArray metrics()
    {
        std::unique_lock<std::mutex> lock(mutex);
        const Snapshot shown = snapshot;
        const BusState shownBus = bus;
        lock.unlock();
        return formatMetrics(shown, shownBus, busName);
    }

    const QString busName;
    std::mutex mutex; // protects the next three
    Snapshot snapshot;
    BusState bus;
    bool hasEnded = false;
    std::condition_variable ended;
    httplib::Server server;
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
    auto server = std::make_shared<Server>(settings.bus);
    const int port = server->listen(host, wantedPort);
    if (port < 0) {
        note = QStringLiteral("--metrics %1: cannot listen there: the address is not one of this "
                              "machine, the port is in use or not permitted, or there are too "
                              "many threads")
                   .arg(settings.value);
        return nullptr;
    }
    const QString shownHost = host.contains(':') ? '[' + host + ']' : host;
    note = QStringLiteral("metrics: http://%1:%2/metrics").arg(shownHost).arg(port);
    return std::unique_ptr<MetricsServer>(new MetricsServer(std::move(server)));
}

MetricsServer::MetricsServer(std::shared_ptr<Server> startedServer)
    : server(std::move(startedServer))
{
}

MetricsServer::~MetricsServer()
{
    server->stop();
}

bool MetricsServer::take(const Snapshot& snapshot, const BusState& bus)
{
    server->set(snapshot, bus);
    return true;
}

} // namespace monitor
