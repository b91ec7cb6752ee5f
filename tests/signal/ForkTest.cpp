#include <feed.h>

#include <QtCore/QDir>
#include <QtCore/QFile>

#include <csignal>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

/// Runs \a body in a child process. The child is killed in the end, so that none of the parent's
/// destructors, exit handlers and leak checks run in it.
class Child
{
public:
    /// \a body is passed a function that sends a number to the parent.
    template <typename Body>
    explicit Child(Body body)
    {
        EXPECT_EQ(pipe2(ends, O_NONBLOCK), 0);
        id = fork();
        if (id != 0)
            return;
        body([this](int number) { return write(ends[1], &number, sizeof number) > 0; });
        kill(getpid(), SIGKILL);
    }

    ~Child()
    {
        if (id > 0) { // kill(-1) would end every process
            kill(id, SIGKILL);
            waitpid(id, nullptr, 0);
        }
        close(ends[0]);
        close(ends[1]);
    }

    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    /// Waits for the next number from the child and returns it; -1 if none arrives.
    int receive() const
    {
        int number = -1;
        waitUntil([&] { return read(ends[0], &number, sizeof number) > 0; });
        return number;
    }

    /// Whether the child has only one thread, and that is sleeping.
    bool isAloneAndAsleep() const
    {
        const QString directory = QStringLiteral("/proc/%1/").arg(id);
        const QDir tasks(directory + "task");
        QFile file(directory + "stat");
        if (!file.open(QIODevice::ReadOnly))
            return false;
        const QByteArray status = file.readAll();
        return tasks.entryList(QDir::Dirs | QDir::NoDotAndDotDot).size() == 1 &&
               status.mid(status.lastIndexOf(')')).startsWith(") S");
    }

private:
    int ends[2] = {-1, -1};
    pid_t id = -1;
};

template <typename T>
class SignalFork : public testing::Test
{
protected:
    void SetUp() override
    {
        signal.setDatatype(dataType(4));
        signal.setValueHandling(append);
        feed(signal, {8, 12});
        ASSERT_TRUE(waitForCaches(signal)); // so that the worker sleeps
    }

    GenericSignalImpl<T> signal;
};
TYPED_TEST_SUITE(SignalFork, RecordTypes);

} // namespace

TYPED_TEST(SignalFork, AChildReadsAndFeedsTheSignalsOfItsParent)
{
    const Child child([this](auto send) {
        feed(this->signal, {40});
        send(static_cast<int>(this->signal.calcAverage()));
    });
    EXPECT_EQ(child.receive(), 20);
    EXPECT_EQ(this->signal.calcAverage(), 10);
}

TYPED_TEST(SignalFork, AChildUpdatesSignalsOfItsOwn)
{
    const Child child([](auto send) {
        GenericSignalImpl<TypeParam> own;
        own.setDatatype(dataType(4));
        own.setValueHandling(append);
        feed(own, {5});
        if (waitForCaches(own))
            send(static_cast<int>(own.getAverage()));
    });
    EXPECT_EQ(child.receive(), 5);
}

TYPED_TEST(SignalFork, AChildThatSwitchesOffItsParentsUpdatingWaitsForAThreadThatItDoesNotHave)
{
    const Child child([this](auto send) {
        send(1);
        this->signal.setUpdatingEnabled(false);
        send(2);
    });
    EXPECT_EQ(child.receive(), 1);
    EXPECT_TRUE(waitUntil([&] { return child.isAloneAndAsleep(); }));
}
