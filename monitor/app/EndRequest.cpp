#include "EndRequest.h"

#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <csignal>

namespace monitor
{

namespace
{

constexpr int endSignals[] = {SIGINT, SIGTERM, SIGHUP, SIGQUIT};
int pipeEnds[2] = {-1, -1};         // a signal handler can do little more than write to a pipe
std::atomic<bool> requested{false}; // read by the thread that reads a recording
static_assert(std::atomic<bool>::is_always_lock_free, "not safe in a signal handler");

void handle(int)
{
    requested = true;
    const char byte = 0;
    const ssize_t ignored = write(pipeEnds[1], &byte, 1); // a full pipe already has a request
    static_cast<void>(ignored);
}

/// Signals that the program was started to ignore stay ignored, such as SIGHUP after nohup.
void setHandlers(void (*handler)(int))
{
    struct sigaction action = {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    for (const int number : endSignals) {
        struct sigaction before = {};
        if (sigaction(number, nullptr, &before) == 0 && before.sa_handler != SIG_IGN)
            sigaction(number, &action, nullptr);
    }
}

} // namespace

EndRequest::EndRequest(const std::function<void()>& onRequest)
{
    requested = false;
    if (pipe2(pipeEnds, O_CLOEXEC | O_NONBLOCK) != 0)
        return; // a signal then ends the program at once
    notifier = std::make_unique<QSocketNotifier>(pipeEnds[0], QSocketNotifier::Read);
    QObject::connect(notifier.get(), &QSocketNotifier::activated, [this, onRequest] {
        notifier->setEnabled(false);
        onRequest();
    });
    setHandlers(handle);
}

bool EndRequest::isRequested() const
{
    return requested;
}

int EndRequest::descriptor() const
{
    return notifier ? pipeEnds[0] : -1;
}

EndRequest::~EndRequest()
{
    if (!notifier)
        return;
    setHandlers(SIG_DFL);
    notifier.reset();
    close(pipeEnds[0]);
    close(pipeEnds[1]);
}

} // namespace monitor
