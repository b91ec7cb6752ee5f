#include "PendingUpdates.h"

#include <algorithm>

namespace monitor
{

qint64 PendingUpdates::note(const Snapshot& snapshot)
{
    qint64 skipped = 0;
    for (const SnapshotRow& row : snapshot.rows) {
        states.resize(std::max(states.size(), static_cast<size_t>(row.signal) + 1));
        State& state = at(row.signal);
        if (state.newest == row.statistics)
            continue;
        if (state.need == State::Need::FirstSending)
            ++skipped;
        state.newest = row.statistics;
        state.need = State::Need::FirstSending;
    }
    return skipped;
}

QVector<PendingUpdates::Update> PendingUpdates::take()
{
    QVector<Update> updates;
    for (size_t i = 0; i < states.size(); ++i) {
        State& state = states[i];
        if (state.need == State::Need::Nothing || state.isUnacknowledged)
            continue;
        updates.append({static_cast<int>(i), state.newest});
        state.need = State::Need::Nothing;
        state.isUnacknowledged = true;
    }
    return updates;
}

void PendingUpdates::acknowledge(int signal)
{
    at(signal).isUnacknowledged = false;
}

void PendingUpdates::loseConnection()
{
    for (State& state : states) {
        if (state.newest && state.need == State::Need::Nothing)
            state.need =
                state.isUnacknowledged ? State::Need::FirstSending : State::Need::Repetition;
        state.isUnacknowledged = false;
    }
}

bool PendingUpdates::isEmpty() const
{
    return std::all_of(states.begin(), states.end(), [](const State& state) {
        return state.need == State::Need::Nothing && !state.isUnacknowledged;
    });
}

} // namespace monitor
