#include "SavedRun.h"

namespace monitor
{

SavedRun runOf(Session& session)
{
    SavedRun run{session.k(), session.counts(), session.table().firstTime(), {}};
    for (const int number : session.table().inOrder()) {
        MonitoredSignal& signal = session.table().at(number);
        run.recordedSignals.append({signal.identity().protocol, signal.identity().source,
                                    signal.description(), signal.getRecords()});
    }
    return run;
}

void restore(const SavedRun& run, Session& session)
{
    for (const SavedSignal& saved : run.recordedSignals) {
        MessageHeader message;
        message.protocol = saved.protocol;
        auto signal = std::make_unique<MonitoredSignal>(message, saved.description, saved.source);
        signal->restore(saved.records);
        session.table().add(std::move(signal));
    }
    session.table().setFirstTime(run.firstTime);
    session.setCounts(run.counts);
}

} // namespace monitor
