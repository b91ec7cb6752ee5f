#pragma once

#include "engine/Snapshot.h"

#include <QtCore/QVector>

#include <cstddef>
#include <memory>
#include <vector>

namespace monitor
{

/// Which signals still have to be sent. There is at most one unacknowledged message for each
/// signal; newer statistics wait for it and replace each other meanwhile, so memory is limited
/// however slow the receiver is.
class PendingUpdates
{
public:
    /// A signal to send, by its number in the session.
    struct Update {
        int signal;
        std::shared_ptr<const SignalStatistics> statistics;
    };

    /// Marks the signals whose statistics have changed. Returns for how many of them the previous
    /// statistics have never been sent.
    qint64 note(const Snapshot& snapshot);

    /// The signals that can be sent now. For each, call acknowledge() later, or loseConnection().
    QVector<Update> take();

    void acknowledge(int signal);

    /// Marks all signals to be sent again, since the receiver may have lost their statistics.
    void loseConnection();

    /// Whether the receiver has the newest statistics of all signals.
    bool isEmpty() const;

private:
    struct State {
        std::shared_ptr<const SignalStatistics> newest; ///< null if the signal never occurred
        enum class Need { Nothing, Repetition, FirstSending } need = Need::Nothing;
        bool isUnacknowledged = false;
    };

    State& at(int signal) { return states[static_cast<size_t>(signal)]; }

    std::vector<State> states; // by the number of the signal
};

} // namespace monitor
