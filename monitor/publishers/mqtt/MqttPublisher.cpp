#include "MqttPublisher.h"

#include "MqttConnection.h"
#include "PendingUpdates.h"
#include "mqttSettings.h"
#include "views/statisticsFields.h"

#include <QtCore/QHash>
#include <QtCore/QSet>
#include <QtCore/QUuid>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <utility>

namespace monitor
{

namespace
{

using Clock = std::chrono::steady_clock;
using std::chrono::seconds;

constexpr seconds longestEnd{2};
constexpr seconds firstPause{1};
constexpr seconds longestPause{30};

/// All connections of a run use the same id, so that a broker which has not yet noticed the loss of
/// one ends it before it accepts the next. Later, that would set the status to offline.
QByteArray makeClientId()
{
    constexpr int longest = 23; // that every broker accepts
    return ("vantrel-" + QUuid::createUuid().toRfc4122().toHex()).left(longest);
}

} // namespace

class MqttPublisher::Worker
{
public:
    explicit Worker(MqttSettings mqttSettings) : settings(std::move(mqttSettings)) {}

    // Called by the main thread.

    void note(const Snapshot& snapshot)
    {
        const std::lock_guard<std::mutex> lock(mutex);
        skipped += updates.note(snapshot);
    }

    void noteLast(const Snapshot& snapshot)
    {
        const std::lock_guard<std::mutex> lock(mutex);
        updates.note(snapshot); // not counted: the replaced updates may be only a moment old
    }

    /// Tells the thread to end when it has sent everything, after \a longest at the latest, and
    /// waits for the end. Returns false if the thread is still waiting for the network.
    bool end(seconds longest)
    {
        constexpr std::chrono::milliseconds forLastStep{200};
        std::unique_lock<std::mutex> lock(mutex);
        if (!endsBefore)
            endsBefore = Clock::now() + longest;
        changed.notify_all();
        return changed.wait_until(lock, *endsBefore + forLastStep, [this] { return isDone; });
    }

    /// Whether the broker has all statistics.
    bool isComplete()
    {
        const std::lock_guard<std::mutex> lock(mutex);
        return isClosed;
    }

    /// The number of updates skipped since the last call, as a part of a message; empty if it is 0.
    QString takeSkipped()
    {
        const std::lock_guard<std::mutex> lock(mutex);
        const qint64 number = std::exchange(skipped, 0);
        return number == 0 ? QString() : QStringLiteral("; skipped updates: %1").arg(number);
    }

    void report(const QString& message)
    {
        constexpr int most = 100; // nobody takes them while a display uses the terminal
        const std::lock_guard<std::mutex> lock(mutex);
        if (messages.size() == most)
            messages.removeFirst();
        messages += QStringLiteral("mqtt: ") + message;
    }

    QStringList takeMessages()
    {
        const std::lock_guard<std::mutex> lock(mutex);
        return std::exchange(messages, {});
    }

    // Called by the publishing thread.

    void run()
    {
        const QByteArray clientId = makeClientId();
        seconds pause = firstPause;
        bool isLastAttempt = false;
        while (!isLastAttempt && !isTooLate()) {
            isLastAttempt = isEnding();
            MqttConnection connection(settings, clientId);
            const QString problem = serve(connection);
            if (problem.isEmpty())
                break;
            if (connection.isAccepted())
                pause = firstPause;
            loseConnection(connection.isAccepted(), problem);
            wait(pause);
            pause = std::min(2 * pause, longestPause);
        }
        const std::lock_guard<std::mutex> lock(mutex);
        isDone = true;
        changed.notify_all();
    }

private:
    bool isEnding()
    {
        const std::lock_guard<std::mutex> lock(mutex);
        return endsBefore.has_value();
    }

    bool isTooLate()
    {
        const std::lock_guard<std::mutex> lock(mutex);
        return endsBefore && Clock::now() >= *endsBefore;
    }

    /// Waits until another attempt to connect should be made.
    void wait(seconds pause)
    {
        std::unique_lock<std::mutex> lock(mutex);
        changed.wait_for(lock, pause, [this] { return endsBefore.has_value(); });
    }

    /// Sends until the run ends. Returns why the connection ended earlier, or an empty string.
    QString serve(MqttConnection& connection)
    {
        QString problem = connection.open();
        bool isGreeted = false;
        while (problem.isEmpty() && !isTooLate()) {
            if (connection.isAccepted() && !isGreeted) {
                isGreeted = true;
                greet(connection);
            }
            if (isGreeted && send(connection))
                return QString();
            problem = connection.process();
        }
        return problem;
    }

    void greet(MqttConnection& connection)
    {
        connection.publishStatus("online");
        report((wasConnected ? QStringLiteral("connected again") : QStringLiteral("connected")) +
               takeSkipped());
        wasConnected = true;
        lastProblem.clear();
    }

    /// Sends what can be sent now. Returns true if the run has ended and the broker has everything;
    /// the connection is then closed.
    bool send(MqttConnection& connection)
    {
        for (const int message : connection.takeAcknowledged()) {
            if (message == farewell) {
                connection.close();
                const std::lock_guard<std::mutex> lock(mutex);
                isClosed = true;
                return true;
            }
            const auto found = signalOf.constFind(message); // other messages are the status
            if (found != signalOf.constEnd()) {
                acknowledge(*found);
                signalOf.erase(found);
            }
        }
        const bool isLast = isEnding(); // checked first, so that the updates sent are the last ones
        sendUpdates(connection);
        const std::lock_guard<std::mutex> lock(mutex);
        if (isLast && !farewell && updates.isEmpty())
            farewell = connection.publishStatus("offline");
        return false;
    }

    void sendUpdates(MqttConnection& connection)
    {
        std::unique_lock<std::mutex> lock(mutex);
        const QVector<PendingUpdates::Update> due = updates.take();
        lock.unlock();
        for (const PendingUpdates::Update& update : due) {
            const SignalStatistics& statistics = *update.statistics;
            const QByteArray topic = mqttTopic(settings.prefix, statistics);
            const QByteArray payload =
                toJsonObject(statisticsFieldNames(), statisticsFieldsOf(statistics)).toUtf8();
            QByteArray& last = sent[update.signal];
            if (payload == last || !isUsable(topic)) {
                acknowledge(update.signal);
                continue;
            }
            const std::optional<int> message = connection.publish(topic, payload);
            if (!message)
                return; // the connection has ended
            signalOf[*message] = update.signal;
            last = payload;
        }
    }

    /// Whether messages can have that topic. If not, the user is told so once.
    bool isUsable(const QByteArray& topic)
    {
        if (isValidMqttTopic(topic))
            return true;
        if (!unusable.contains(topic)) {
            unusable.insert(topic);
            report(QStringLiteral("signal not published, because its topic is too long or contains "
                                  "invalid characters: ") +
                   QString::fromUtf8(topic.left(200)));
        }
        return false;
    }

    void acknowledge(int signal)
    {
        const std::lock_guard<std::mutex> lock(mutex);
        updates.acknowledge(signal);
    }

    void loseConnection(bool wasAccepted, const QString& problem)
    {
        const QString text = (wasAccepted ? QStringLiteral("connection lost: ")
                                          : QStringLiteral("cannot connect: ")) +
                             problem;
        if (text != lastProblem)
            report(text);
        lastProblem = text;
        farewell.reset();
        signalOf.clear();
        sent.clear();
        const std::lock_guard<std::mutex> lock(mutex);
        updates.loseConnection();
    }

    const MqttSettings settings;

    std::mutex mutex; // protects the following members
    PendingUpdates updates;
    qint64 skipped = 0;
    std::optional<Clock::time_point> endsBefore; // empty during the run
    bool isClosed = false;
    bool isDone = false; // whether the thread has stopped using this object
    QStringList messages;
    std::condition_variable changed; // notified when endsBefore or isDone is set

    // Used only by the publishing thread:
    QHash<int, int> signalOf;    // the signals of the messages that were not acknowledged
    QHash<int, QByteArray> sent; // the last message of each signal on this connection
    std::optional<int> farewell; // the number of the last message of the run
    QSet<QByteArray> unusable;   // topics
    QString lastProblem;         // since the last connection
    bool wasConnected = false;
};

QString MqttPublisher::check(const QString& url)
{
    MqttSettings settings;
    return readMqttAddress(url, settings);
}

std::unique_ptr<MqttPublisher> MqttPublisher::start(const PublisherSettings& settings,
                                                    QString& note)
{
    MqttSettings mqttSettings;
    QString warning;
    note = readMqttAddress(settings.value, mqttSettings);
    if (note.isEmpty())
        note = readMqttFiles(settings, mqttSettings, warning);
    if (!note.isEmpty())
        return nullptr;
    note = QStringLiteral("mqtt: ") + settings.value;
    auto worker = std::make_shared<Worker>(std::move(mqttSettings));
    if (!warning.isEmpty())
        worker->report(warning);
    return std::unique_ptr<MqttPublisher>(new MqttPublisher(std::move(worker), settings.period));
}

MqttPublisher::MqttPublisher(std::shared_ptr<Worker> newWorker, double periodInSeconds)
    : worker(std::move(newWorker)),
      thread([shared = worker] { shared->run(); }),
      period(periodInSeconds)
{
    sinceStart.start();
}

MqttPublisher::~MqttPublisher()
{
    if (worker->end(seconds(0)))
        thread.join();
    else
        thread.detach();
}

bool MqttPublisher::take(const Snapshot& snapshot, const BusState& /*bus*/)
{
    constexpr double perSecond = 1000;
    const double now = static_cast<double>(sinceStart.elapsed()) / perSecond;
    if (now >= nextUpdate) {
        nextUpdate = std::max(nextUpdate + period, now);
        worker->note(snapshot);
    }
    return true;
}

void MqttPublisher::finish(const Snapshot& snapshot)
{
    worker->noteLast(snapshot);
    worker->end(longestEnd);
    const QString skipped = worker->takeSkipped();
    if (!worker->isComplete())
        worker->report(QStringLiteral("the final statistics could not be published") + skipped);
    else if (!skipped.isEmpty())
        worker->report(QStringLiteral("the final statistics were published") + skipped);
}

QStringList MqttPublisher::takeMessages()
{
    return worker->takeMessages();
}

} // namespace monitor
