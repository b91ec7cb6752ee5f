#pragma once

#include <QtCore/qglobal.h>

#include <condition_variable>
#include <exception>
#include <functional>
#include <mutex>
#include <vector>

namespace monitor
{

/// Reads blocks one after another, and processes each of them in several lanes, on several threads.
/// Only one thread at a time reads. A lane processes one block at a time, in their order, so the
/// results of a lane do not depend on the number of threads.
class BlockPipeline
{
public:
    /// How blocks are read and processed. There is storage for \a blocks of them, so their numbers
    /// are less than that.
    struct Steps {
        int blocks = 2;
        int lanes = 1;
        /// Reads the next block into the storage with this number. Returns false if there are no
        /// more blocks.
        std::function<bool(int block)> read;
        /// Processes the part of a block that belongs to \a lane.
        std::function<void(int block, int lane)> process;
        /// Called from time to time, on the thread that called run().
        std::function<void()> update;
    };

    explicit BlockPipeline(Steps pipelineSteps);

    /// Reads and processes all blocks on \a threads threads, one of which is the calling one. If
    /// fewer threads can be started, they do the work. An exception in a step ends the work and is
    /// rethrown here.
    void run(int threads);

    /// Helps to process all blocks read so far, and waits for them. Only Steps::read may call it.
    /// Throws the exception of another step if there is one.
    void waitUntilProcessed();

private:
    struct Lane {
        qint64 processed = 0; // blocks
        bool isBusy = false;
    };
    using Lock = std::unique_lock<std::mutex>;

    template <typename Step>
    void callUnlocked(const Step& step, Lock& lock);
    void work(size_t thread, size_t threads, const std::function<void()>& update);
    bool workOnce(size_t thread, size_t threads, Lock& lock);
    void read(Lock& lock);
    void process(Lane& lane, Lock& lock);
    Lane* laneFor(size_t thread, size_t threads);
    qint64 processedByAll() const;

    Steps steps;
    std::mutex mutex; // protects all members below
    std::condition_variable changed;
    std::vector<Lane> lanes;
    qint64 blocksRead = 0;
    bool isReading = false;
    bool isAtEnd = false;
    std::exception_ptr failure;
};

} // namespace monitor
