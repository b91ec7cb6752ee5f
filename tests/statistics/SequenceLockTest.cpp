#include "sequenceLock.h"

#include <gtest/gtest.h>

#include <functional>
#include <type_traits>
#include <utility>
#include <vector>

namespace
{

/// What a thread of this process does while it pauses.
std::function<void(unsigned long)> duringPause = [](unsigned long) {
    QThread::yieldCurrentThread();
};

} // namespace

/// Found before QtCore's.
void QThread::usleep(unsigned long microseconds)
{
    duringPause(microseconds);
}

TEST(SequenceLock, AChangeIsOneWritersOwn)
{
    EXPECT_FALSE(std::is_copy_constructible_v<SequenceWriter>);
    EXPECT_FALSE(std::is_copy_assignable_v<SequenceWriter>);
}

TEST(SequenceLock, AReaderLeavesTheProcessorToTheWriterAtEveryThousandthTry)
{
    std::atomic<quint64> sequence{1}; // a change is under way
    int tries = 0;
    std::vector<std::pair<int, unsigned long>> pauses; // after how many tries, for how long
    const auto before = std::exchange(duringPause, [&](unsigned long microseconds) {
        pauses.emplace_back(tries, microseconds);
        if (pauses.size() == 3)
            sequence = 2;
    });
    readBetweenChanges(sequence, [&] {
        if (++tries > 4000) // without a pause
            sequence = 2;
    });
    duringPause = before;
    EXPECT_EQ(pauses,
              (std::vector<std::pair<int, unsigned long>>{{1000, 1}, {2000, 1}, {3000, 1}}));
    EXPECT_EQ(tries, 3001);
}
