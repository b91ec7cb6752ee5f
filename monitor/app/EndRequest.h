#pragma once

#include <QtCore/QSocketNotifier>

#include <functional>
#include <memory>

namespace monitor
{

/// Turns the wish of the system or the user that the program ends (Ctrl-C, SIGTERM, the terminal
/// closed) into a call in the event loop, as long as this object lives. One at a time, in the main
/// thread.
class EndRequest
{
public:
    explicit EndRequest(const std::function<void()>& whenAsked);
    ~EndRequest();

    EndRequest(const EndRequest&) = delete;
    EndRequest& operator=(const EndRequest&) = delete;

private:
    std::unique_ptr<QSocketNotifier> notifier;
};

} // namespace monitor
