#pragma once

#include "publishers/Publisher.h"
#include "publishers/PublisherSettings.h"

#include <memory>

namespace monitor
{

/// Serves the newest snapshot at /metrics. Requests are answered in threads of the server, so they
/// do not delay the run.
class MetricsServer : public Publisher
{
public:
    /// Checks an address: a host and port such as "127.0.0.1:9464" or "[::1]:9464", or a port alone
    /// for 127.0.0.1. Returns the error as the rest of a sentence that begins with the option, or
    /// an empty string.
    static QString check(const QString& address);

    /// Starts a server at the address in \a settings; port 0 is any free port. Sets \a note to
    /// where the metrics are. If that fails, returns null and sets \a note to the error message.
    static std::unique_ptr<MetricsServer> start(const PublisherSettings& settings, QString& note);

    ~MetricsServer() override;
    MetricsServer(const MetricsServer&) = delete;
    MetricsServer& operator=(const MetricsServer&) = delete;

    [[nodiscard]] bool take(const Snapshot& snapshot, const BusState& bus) override;

private:
    class Server;
    explicit MetricsServer(std::shared_ptr<Server> startedServer);

    std::shared_ptr<Server> server;
};

} // namespace monitor
