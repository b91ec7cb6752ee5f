#include "elementTypeList.h"

#include "sequenceLock.h"
#include <statistics/StatisticCalculator.h>

#include <gtest/gtest.h>

#include <sys/mman.h>
#include <unistd.h>

#include <csignal>
#include <functional>
#include <iterator>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>
#include <vector>

namespace
{

/// Called instead of QThread::usleep().
std::function<void(unsigned long)> duringPause = [](unsigned long) {
    QThread::yieldCurrentThread();
};

/// Two pages of memory. The first access that the protection of the second page forbids is
/// interrupted by a call, and then carried out.
class InterruptingMemory
{
public:
    InterruptingMemory()
    {
        pages = static_cast<char*>(mmap(nullptr, 2 * pageSize, PROT_READ | PROT_WRITE,
                                        MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
        if (pages == MAP_FAILED)
            throw std::bad_alloc();
        struct sigaction action = {};
        action.sa_sigaction = interrupt;
        action.sa_flags = SA_SIGINFO;
        sigaction(SIGSEGV, &action, &formerAction);
    }

    ~InterruptingMemory()
    {
        sigaction(SIGSEGV, &formerAction, nullptr);
        munmap(pages, 2 * pageSize);
    }

    InterruptingMemory(const InterruptingMemory&) = delete;
    InterruptingMemory& operator=(const InterruptingMemory&) = delete;

    char* secondPage() const { return pages + pageSize; }

    /// Runs \a access while the second page allows no more than \a protection. Returns whether it
    /// was interrupted by \a call.
    template <typename Access>
    bool runInterrupted(int protection, std::function<void()> call, Access access)
    {
        interruption = std::move(call);
        interruptedPage = secondPage();
        mprotect(interruptedPage, pageSize, protection);
        access();
        mprotect(interruptedPage, pageSize, PROT_READ | PROT_WRITE);
        return !std::exchange(interruption, nullptr);
    }

private:
    static void interrupt(int, siginfo_t* info, void*)
    {
        const auto* const address = static_cast<const char*>(info->si_addr);
        const auto call = std::exchange(interruption, nullptr);
        if (!call || address < interruptedPage || address >= interruptedPage + pageSize) {
            sigaction(SIGSEGV, &formerAction, nullptr); // not our page: the access faults again
            return;
        }
        mprotect(interruptedPage, pageSize, PROT_READ | PROT_WRITE);
        call();
    }

    static inline const auto pageSize = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    static inline struct sigaction formerAction;
    static inline std::function<void()> interruption;
    static inline char* interruptedPage = nullptr;
    char* pages;
};

/// Calculators that begin in the first page and end in the second.
template <typename N>
class InterruptedCalculator : public testing::Test
{
protected:
    using Calculator = StatisticCalculator<N>;
    using Change = void (*)(Calculator&);
    using Query = double (Calculator::*)() const;

    static constexpr Change changes[] = {
        [](Calculator& calculator) { calculator.clear(); },
        [](Calculator& calculator) { calculator.addValue(static_cast<N>(-8)); }};
    static constexpr Query queries[] = {&Calculator::getAverage, &Calculator::getDeviation};
    /// An average reads three words, so it can be interrupted in at least two places between them.
    static constexpr int leastInterruptions = 2 * std::size(changes) * std::size(queries);

    /// Calls \a test with a new calculator for each change, each query and each number of words in
    /// the first page. The values use every word of the sums of integers.
    template <typename Test>
    void forEachPlace(Test test)
    {
        for (const Change change : changes) {
            for (const Query query : queries) {
                for (std::size_t first = 8; first < sizeof(Calculator); first += 8) {
                    SCOPED_TRACE(testing::Message() << first << " bytes in the first page");
                    const std::unique_ptr<Calculator, void (*)(Calculator*)> calculator(
                        new (memory.secondPage() - first) Calculator(std::nullopt),
                        std::destroy_at);
                    calculator->addValue(static_cast<N>(-3));
                    calculator->addValue(static_cast<N>(-1));
                    test(*calculator, change, query);
                }
            }
        }
    }

    /// The result of \a query after the values and \a change.
    static double resultAfter(Change change, Query query)
    {
        Calculator calculator{std::nullopt};
        calculator.addValue(static_cast<N>(-3));
        calculator.addValue(static_cast<N>(-1));
        change(calculator);
        return (calculator.*query)();
    }

    InterruptingMemory memory;
};
TYPED_TEST_SUITE(InterruptedCalculator, ElementTypes, ElementTypeName);

/// Thrown when a reader would wait and try again.
struct Waiting {
};

} // namespace

/// Overrides QtCore's function.
void QThread::usleep(unsigned long microseconds)
{
    duringPause(microseconds);
}

TEST(SequenceLock, AWriterCannotBeCopied)
{
    EXPECT_FALSE(std::is_copy_constructible_v<SequenceWriter>);
    EXPECT_FALSE(std::is_copy_assignable_v<SequenceWriter>);
}

TEST(SequenceLock, AReaderPausesAfterEveryThousandTries)
{
    std::atomic<quint64> sequence{1}; // a change is in progress
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

TYPED_TEST(InterruptedCalculator, ReadsAgainIfAClearOrANewValueComesBetweenTwoWords)
{
    int interruptions = 0;
    this->forEachPlace([&](auto& calculator, auto change, auto query) {
        const double before = (calculator.*query)();
        const double after = this->resultAfter(change, query);
        double read = -1;
        const bool interrupted = this->memory.runInterrupted(
            PROT_NONE, [&] { change(calculator); }, [&] { read = (calculator.*query)(); });
        EXPECT_EQ(read, interrupted ? after : before);
        interruptions += interrupted;
    });
    EXPECT_GE(interruptions, this->leastInterruptions);
}

TYPED_TEST(InterruptedCalculator, ReturnsNoResultInTheMiddleOfAClearOrANewValue)
{
    const auto formerPause = std::exchange(duringPause, [](unsigned long) { throw Waiting(); });
    int interruptions = 0;
    this->forEachPlace([&](auto& calculator, auto change, auto query) {
        const auto read = [&] { (calculator.*query)(); };
        const bool interrupted = this->memory.runInterrupted(
            PROT_READ, [&] { EXPECT_THROW(read(), Waiting); }, [&] { change(calculator); });
        EXPECT_EQ((calculator.*query)(), this->resultAfter(change, query));
        interruptions += interrupted;
    });
    duringPause = formerPause;
    EXPECT_GE(interruptions, this->leastInterruptions);
}
