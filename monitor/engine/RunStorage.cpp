#include "RunStorage.h"

namespace monitor
{

SavedRun runOf(const SignalTable& table, double k, const FrameCounts& counts)
{
    SavedRun run;
    run.k = k;
    run.counts = counts;
    run.firstTime = table.firstTime();
    for (MonitoredSignal* signal : table.inOrder())
        run.recordedSignals.append({signal->heading().protocol, signal->heading().source,
                                    signal->signalDescription(), signal->records()});
    return run;
}

void restoreSignals(const SavedRun& run, SignalTable& table)
{
    for (const SavedSignal& saved : run.recordedSignals) {
        MessageHeader message;
        message.protocol = saved.protocol;
        auto signal = monitorSignal(message, saved.description, saved.source);
        signal->restore(saved.records);
        table.add(std::move(signal));
    }
    table.setFirstTime(run.firstTime);
}

} // namespace monitor
