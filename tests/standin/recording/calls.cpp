#include <recording/calls.h>

#include <algorithm>
#include <mutex>

namespace
{

std::mutex mutex;
std::vector<Call> calls;

bool isOwn(const Call& call)
{
    return call.thread == std::this_thread::get_id();
}

} // namespace

void record(const std::string& what)
{
    const std::lock_guard<std::mutex> lock(mutex);
    calls.push_back({what, std::this_thread::get_id()});
}

std::vector<std::string> takeOwnCalls()
{
    const std::lock_guard<std::mutex> lock(mutex);
    std::vector<std::string> own;
    for (const Call& call : calls) {
        if (isOwn(call))
            own.push_back(call.what);
    }
    calls.erase(std::remove_if(calls.begin(), calls.end(), isOwn), calls.end());
    return own;
}

std::vector<Call> callsOfOtherThreads()
{
    const std::lock_guard<std::mutex> lock(mutex);
    std::vector<Call> others;
    std::copy_if(calls.begin(), calls.end(), std::back_inserter(others),
                 [](const Call& call) { return !isOwn(call); });
    return others;
}

int& failingConstruction()
{
    static int number = 0;
    return number;
}

std::atomic<bool>& failOperations()
{
    static std::atomic<bool> fail{false};
    return fail;
}

bool& failLogSwitches()
{
    static bool fail = false;
    return fail;
}

std::atomic<bool>& endNextThread()
{
    static std::atomic<bool> end{false};
    return end;
}
