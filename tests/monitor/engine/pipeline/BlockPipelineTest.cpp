#include <AddressSpaceLimit.h>
#include <engine/pipeline/BlockPipeline.h>

#include <gtest/gtest.h>

#include <atomic>
#include <limits>
#include <new>
#include <optional>
#include <set>
#include <thread>

using monitor::BlockPipeline;

namespace
{

/// Reads numbers into blocks, and notes in each lane which of them it has processed.
class Numbers
{
public:
    explicit Numbers(int total) : wanted(total)
    {
        steps.blocks = 5;
        steps.lanes = 7;
        storage.resize(5);
        byLane.resize(7);
        steps.read = [this](int block) {
            EXPECT_EQ(readers++, 0);
            if (next < wanted)
                storage.at(static_cast<size_t>(block)) = next;
            --readers;
            return next++ < wanted;
        };
        steps.process = [this](int block, int lane) {
            byLane.at(static_cast<size_t>(lane)).push_back(storage.at(static_cast<size_t>(block)));
            const std::lock_guard<std::mutex> lock(mutex);
            threads.insert(std::this_thread::get_id());
        };
    }

    void expectAllInOrder() const
    {
        std::vector<int> all;
        for (int i = 0; i < wanted; ++i)
            all.push_back(i);
        for (const std::vector<int>& lane : byLane)
            EXPECT_EQ(lane, all);
    }

    BlockPipeline::Steps steps;
    std::vector<std::vector<int>> byLane;
    std::set<std::thread::id> threads;
    int wanted;
    int next = 0;

private:
    std::vector<int> storage;
    std::mutex mutex;
    std::atomic<int> readers{0};
};

} // namespace

TEST(BlockPipeline, EveryLaneProcessesAllBlocksInOrder)
{
    for (const int threads : {1, 2, 3, 8}) {
        for (const int blocks : {0, 1, 4, 5, 6, 1000}) {
            Numbers numbers(blocks);
            BlockPipeline(numbers.steps).run(threads);
            numbers.expectAllInOrder();
            EXPECT_LE(numbers.threads.size(), static_cast<size_t>(threads));
        }
    }
}

TEST(BlockPipeline, WorksOnTheCallingThreadIfNoOtherCanBeStarted)
{
    Numbers numbers(100);
    {
        const AddressSpaceLimit limit;
        BlockPipeline(numbers.steps).run(4);
    }
    numbers.expectAllInOrder();
    EXPECT_EQ(numbers.threads, std::set<std::thread::id>{std::this_thread::get_id()});
}

TEST(BlockPipeline, ReaderCanWaitUntilEarlierBlocksAreProcessed)
{
    for (const int threads : {1, 2, 4}) {
        Numbers numbers(200);
        std::optional<BlockPipeline> pipeline;
        const auto read = numbers.steps.read;
        numbers.steps.read = [&](int block) {
            if (numbers.next % 10 == 3) {
                pipeline->waitUntilProcessed();
                for (const std::vector<int>& lane : numbers.byLane)
                    EXPECT_EQ(lane.size(), static_cast<size_t>(numbers.next));
            }
            return read(block);
        };
        pipeline.emplace(numbers.steps);
        pipeline->run(threads);
        numbers.expectAllInOrder();
    }
}

TEST(BlockPipeline, UpdatesAreMadeOnTheCallingThread)
{
    for (const int threads : {1, 2}) {
        Numbers numbers(300);
        int updates = 0;
        numbers.steps.update = [&, caller = std::this_thread::get_id()] {
            EXPECT_EQ(std::this_thread::get_id(), caller);
            ++updates;
        };
        BlockPipeline(numbers.steps).run(threads);
        if (threads == 1) { // otherwise, another thread may do all the work
            EXPECT_GT(updates, 0);
        }
    }
}

TEST(BlockPipeline, ExceptionInAStepEndsTheWork)
{
    for (const int threads : {1, 3}) {
        Numbers failingReader(1000);
        const auto read = failingReader.steps.read;
        failingReader.steps.read = [&](int block) {
            if (failingReader.next == 50)
                throw std::bad_alloc();
            return read(block);
        };
        EXPECT_THROW(BlockPipeline(failingReader.steps).run(threads), std::bad_alloc);
        Numbers failingLane(1000);
        failingLane.steps.process = [](int, int lane) {
            if (lane == 6)
                throw std::bad_alloc();
        };
        EXPECT_THROW(BlockPipeline(failingLane.steps).run(threads), std::bad_alloc);
        EXPECT_LT(failingLane.next, 1000);
        Numbers endless(std::numeric_limits<int>::max()); // so that there are updates
        endless.steps.process = [](int, int) {};
        endless.steps.update = [] { throw std::bad_alloc(); };
        EXPECT_THROW(BlockPipeline(endless.steps).run(threads), std::bad_alloc);
    }
}
