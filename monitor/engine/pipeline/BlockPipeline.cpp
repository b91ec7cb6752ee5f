#include "BlockPipeline.h"

#include <algorithm>
#include <thread>
#include <utility>

namespace monitor
{

BlockPipeline::BlockPipeline(Steps pipelineSteps)
    : steps(std::move(pipelineSteps)), lanes(static_cast<size_t>(steps.lanes))
{
}

void BlockPipeline::run(int threads)
{
    const auto wanted = static_cast<size_t>(threads);
    std::vector<std::thread> helpers;
    helpers.reserve(wanted);
    try {
        while (helpers.size() + 1 < wanted) {
            const size_t number = helpers.size() + 1;
            helpers.emplace_back([=] { work(number, wanted, {}); });
        }
    } catch (const std::exception&) { // the threads that could be started do the work
    }
    work(0, wanted, steps.update);
    for (std::thread& helper : helpers)
        helper.join();
    if (failure)
        std::rethrow_exception(failure);
}

void BlockPipeline::waitUntilProcessed()
{
    Lock lock(mutex);
    while (!failure && processedByAll() < blocksRead) {
        if (Lane* const lane = laneFor(0, 1))
            process(*lane, lock);
        else
            changed.wait(lock);
    }
    if (failure) // other threads may still be processing those blocks
        std::rethrow_exception(failure);
}

/// Calls a step. If it throws, notes the exception, so that all threads end. If several steps
/// throw, the first exception is kept.
template <typename Step>
void BlockPipeline::callUnlocked(const Step& step, Lock& lock)
{
    lock.unlock();
    try {
        step();
        lock.lock();
    } catch (...) {
        lock.lock();
        if (!failure)
            failure = std::current_exception();
        changed.notify_all();
    }
}

void BlockPipeline::work(size_t thread, size_t threads, const std::function<void()>& update)
{
    Lock lock(mutex);
    while (workOnce(thread, threads, lock)) {
        if (update)
            callUnlocked(update, lock);
    }
}

/// Does whatever can be done now, or waits for another thread. Returns false when all is done.
bool BlockPipeline::workOnce(size_t thread, size_t threads, Lock& lock)
{
    if (failure || (isAtEnd && processedByAll() == blocksRead))
        return false;
    // Reading comes first, so that there is work for the other threads.
    if (!isAtEnd && !isReading && blocksRead - processedByAll() < steps.blocks)
        read(lock);
    else if (Lane* const lane = laneFor(thread, threads))
        process(*lane, lock);
    else
        changed.wait(lock);
    return true;
}

void BlockPipeline::read(Lock& lock)
{
    isReading = true;
    const auto block = static_cast<int>(blocksRead % steps.blocks);
    bool isRead = false;
    callUnlocked([&] { isRead = steps.read(block); }, lock);
    isReading = false;
    blocksRead += isRead ? 1 : 0;
    isAtEnd = !isRead;
    changed.notify_all();
}

void BlockPipeline::process(Lane& lane, Lock& lock)
{
    lane.isBusy = true;
    const auto block = static_cast<int>(lane.processed % steps.blocks);
    callUnlocked([&] { steps.process(block, static_cast<int>(&lane - lanes.data())); }, lock);
    lane.isBusy = false;
    ++lane.processed;
    changed.notify_all();
}

/// A lane that has work to do: if possible, one that usually runs on \a thread, whose cache then
/// has its data.
BlockPipeline::Lane* BlockPipeline::laneFor(size_t thread, size_t threads)
{
    Lane* found = nullptr;
    for (size_t i = 0; i < lanes.size(); ++i) {
        Lane& lane = lanes[i];
        if (lane.isBusy || lane.processed == blocksRead)
            continue;
        if (i % threads == thread)
            return &lane;
        found = &lane;
    }
    return found;
}

/// The number of blocks that all lanes have processed.
qint64 BlockPipeline::processedByAll() const
{
    const auto isFewer = [](const Lane& left, const Lane& right) {
        return left.processed < right.processed;
    };
    return std::min_element(lanes.begin(), lanes.end(), isFewer)->processed;
}

} // namespace monitor
