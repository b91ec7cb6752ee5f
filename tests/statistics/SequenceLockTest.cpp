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

/// What a thread of this process does while it pauses.
std::function<void(unsigned long)> duringPause = [](unsigned long) {
    QThread::yieldCurrentThread();
};

/// Two pages of memory. The first access to the second one that its protection refuses is
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

    /// Runs \a access while the second page has no more than \a protection. Returns whether it was
    /// interrupted by \a call.
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
            sigaction(SIGSEGV, &formerAction, nullptr); // not meant: the access fails once more
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

/// Calculators that begin in the first page and end in the second one.
template <typename N>
class InterruptedCalculator : public testing::Test
{
protected:
    using Calculator = StatisticCalculator<N>;
    using Change = void (*)(Calculator&);
    using Answer = double (Calculator::*)() const;

    static constexpr Change changes[] = {
        [](Calculator& calculator) { calculator.clear(); },
        [](Calculator& calculator) { calculator.addValue(static_cast<N>(-8)); }};
    static constexpr Answer answers[] = {&Calculator::getAverage, &Calculator::getDeviation};
    /// An average takes three words, so there are at least two places between two of them.
    static constexpr int leastInterruptions = 2 * std::size(changes) * std::size(answers);

    /// Calls \a test with a new calculator, a change and an answer of it: each of them with each
    /// number of words in the first page. The values reach into every word of the sums of integers.
    template <typename Test>
    void forEachPlace(Test test)
    {
        for (const Change change : changes) {
            for (const Answer answer : answers) {
                for (std::size_t first = 8; first < sizeof(Calculator); first += 8) {
                    SCOPED_TRACE(testing::Message() << first << " bytes in the first page");
                    const std::unique_ptr<Calculator, void (*)(Calculator*)> calculator(
                        new (memory.secondPage() - first) Calculator(std::nullopt),
                        std::destroy_at);
                    calculator->addValue(static_cast<N>(-3));
                    calculator->addValue(static_cast<N>(-1));
                    test(*calculator, change, answer);
                }
            }
        }
    }

    /// What \a answer is after the values and \a change.
    static double answerAfter(Change change, Answer answer)
    {
        Calculator calculator{std::nullopt};
        calculator.addValue(static_cast<N>(-3));
        calculator.addValue(static_cast<N>(-1));
        change(calculator);
        return (calculator.*answer)();
    }

    InterruptingMemory memory;
};
TYPED_TEST_SUITE(InterruptedCalculator, ElementTypes, ElementTypeName);

/// Thrown by a reader that would try again.
struct Waiting {
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

TYPED_TEST(InterruptedCalculator, ReadsAnewIfAClearOrANewValueFallsBetweenTwoWords)
{
    int interruptions = 0;
    this->forEachPlace([&](auto& calculator, auto change, auto answer) {
        const double before = (calculator.*answer)();
        const double after = this->answerAfter(change, answer);
        double read = -1;
        const bool interrupted = this->memory.runInterrupted(
            PROT_NONE, [&] { change(calculator); }, [&] { read = (calculator.*answer)(); });
        EXPECT_EQ(read, interrupted ? after : before);
        interruptions += interrupted;
    });
    EXPECT_GE(interruptions, this->leastInterruptions);
}

TYPED_TEST(InterruptedCalculator, GivesNoAnswerInTheMiddleOfAClearOrOfANewValue)
{
    const auto formerPause = std::exchange(duringPause, [](unsigned long) { throw Waiting(); });
    int interruptions = 0;
    this->forEachPlace([&](auto& calculator, auto change, auto answer) {
        const auto read = [&] { (calculator.*answer)(); };
        const bool interrupted = this->memory.runInterrupted(
            PROT_READ, [&] { EXPECT_THROW(read(), Waiting); }, [&] { change(calculator); });
        EXPECT_EQ((calculator.*answer)(), this->answerAfter(change, answer));
        interruptions += interrupted;
    });
    duringPause = formerPause;
    EXPECT_GE(interruptions, this->leastInterruptions);
}
