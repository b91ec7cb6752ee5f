#include "EndRequest.h"

#include <fcntl.h>
#include <unistd.h>

#include <csignal>

namespace monitor
{

namespace
{

constexpr int endSignals[] = {SIGINT, SIGTERM, SIGHUP, SIGQUIT};
int ends[2] = {-1, -1}; // of a pipe: the handler of a signal may do little more than write to one

void handle(int)
{
    const char byte = 0;
    const ssize_t ignored = write(ends[1], &byte, 1); // a full pipe has asked already
    static_cast<void>(ignored);
}

/// What the program has been told to ignore stays ignored, as SIGHUP after nohup.
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

EndRequest::EndRequest(const std::function<void()>& whenAsked)
{
    if (pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0)
        return; // then the program ends at once, as it would without this
    notifier = std::make_unique<QSocketNotifier>(ends[0], QSocketNotifier::Read);
    QObject::connect(notifier.get(), &QSocketNotifier::activated, [this, whenAsked] {
        notifier->setEnabled(false);
        whenAsked();
    });
    setHandlers(handle);
}

EndRequest::~EndRequest()
{
    if (!notifier)
        return;
    setHandlers(SIG_DFL);
    notifier.reset();
    close(ends[0]);
    close(ends[1]);
}

} // namespace monitor
