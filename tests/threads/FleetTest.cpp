#include <feed.h>

#include <QtCore/QThread>

#include <algorithm>
#include <atomic>
#include <memory>
#include <thread>
#include <vector>

namespace
{

constexpr int hostCount = 100;

/// Runs \a host in many threads in parallel, each with its number. These are QThreads: if other
/// threads create QThreads, QtCore 5.15 sometimes leaks the data that it keeps for such a thread.
template <typename Host>
void runInParallel(Host host)
{
    std::vector<std::unique_ptr<QThread>> hosts;
    hosts.reserve(hostCount);
    for (int number = 0; number < hostCount; ++number) {
        hosts.emplace_back(QThread::create(host, number));
        hosts.back()->start();
    }
    for (const std::unique_ptr<QThread>& thread : hosts)
        thread->wait();
}

template <typename T>
class SignalFleet : public testing::Test
{
};
TYPED_TEST_SUITE(SignalFleet, RecordTypes);

} // namespace

TYPED_TEST(SignalFleet, SwitchingAHundredSignalsInParallelDoesNotDisturbReaders)
{
    std::vector<std::unique_ptr<GenericSignalImpl<TypeParam>>> fleet;
    for (int i = 0; i < hostCount; ++i) {
        fleet.push_back(std::make_unique<GenericSignalImpl<TypeParam>>());
        fleet.back()->setDatatype(dataType(4));
    }
    std::atomic<bool> done{false};
    std::atomic<int> wrong{0};
    std::thread reader([&] {
        while (!done) {
            for (int number = 0; number < hostCount; ++number) {
                const auto& signal = fleet[static_cast<std::size_t>(number)];
                const double greatest = std::max(number, 9); // of the values fed
                const double cached = signal->getAverage(), fresh = signal->calcAverage();
                wrong += cached < 0 || cached > greatest || fresh < 0 || fresh > greatest;
                wrong += signal->getValueCount() > 1;
            }
        }
    });
    runInParallel([&](int number) {
        GenericSignalImpl<TypeParam>& signal = *fleet[static_cast<std::size_t>(number)];
        for (int round = 0; round < 10; ++round) {
            signal.setUpdatingEnabled(true);
            feed(signal, {round, number});
            // In even rounds, the worker may be stopped before it starts.
            wrong += round % 2 == 1 && !waitForCaches(signal);
            signal.setUpdatingEnabled(false);
        }
    });
    done = true;
    reader.join();
    EXPECT_EQ(wrong, 0);
    for (int number = 0; number < hostCount; ++number)
        EXPECT_EQ(fleet[static_cast<std::size_t>(number)]->calcAverage(), (4.5 + number) / 2);
}

TYPED_TEST(SignalFleet, SignalsCanBeCreatedAndDestroyedWhileOthersRun)
{
    GenericSignalImpl<TypeParam> lasting;
    lasting.setDatatype(dataType(4));
    lasting.setValueHandling(append);
    feed(lasting, {7});
    std::atomic<int> wrong{0};
    runInParallel([&](int number) {
        for (int round = 0; round < 3; ++round) {
            GenericSignalImpl<TypeParam> shortLived;
            shortLived.setDatatype(dataType(17));
            shortLived.setValueHandling(append);
            feed(shortLived, {number, round});
            wrong += shortLived.calcMedian() != (number + round) / 2.0;
            wrong += lasting.calcAverage() != 7 || lasting.getValues().size() != 1;
        }
    });
    EXPECT_EQ(wrong, 0);
}
