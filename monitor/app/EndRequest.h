#pragma once

#include <QtCore/QSocketNotifier>

#include <functional>
#include <memory>

namespace monitor
{

/// Turns the first request to end the program (Ctrl-C, SIGTERM, a closed terminal) into a call in
/// the event loop, as long as this object exists. There may be only one at a time, in the main
/// thread.
class EndRequest
{
public:
    explicit EndRequest(const std::function<void()>& onRequest = [] {});
    ~EndRequest();

    /// Whether the end has been requested, also without an event loop.
    bool isRequested() const;

    /// A descriptor that becomes readable when the end is requested; -1 if the system refused one.
    int descriptor() const;

    EndRequest(const EndRequest&) = delete;
    EndRequest& operator=(const EndRequest&) = delete;

private:
    std::unique_ptr<QSocketNotifier> notifier;
};

} // namespace monitor
