#include "DbcMultiplexing.h"

#include <QtCore/QHash>

namespace monitor
{

namespace
{

constexpr int alwaysThere = -1;
constexpr int notCertain = -2;

/// Finds the multiplexors of one message.
class Resolver
{
public:
    Resolver(const QVector<DbcSignal>& given, Problems& found) : dbcSignals(given), problems(found)
    {
        for (int i = 0; i < dbcSignals.size(); ++i) {
            const DbcSignal& signal = dbcSignals.at(i);
            if (!indices.contains(signal.name))
                indices.insert(signal.name, i);
            switches += signal.isSwitch ? 1 : 0;
            hasNames = hasNames || !signal.switchName.isEmpty();
            if (signal.isSwitch && !signal.switchValue)
                topSwitches += i;
        }
    }

    QVector<SignalDescription> resolve();

private:
    int multiplexorOf(const DbcSignal& signal);
    int refuse(const DbcSignal& signal, const QString& reason);
    void refuseDependents();
    QVector<RawRange> valuesOf(const DbcSignal& signal) const;

    const QVector<DbcSignal>& dbcSignals;
    Problems& problems;
    QHash<QString, int> indices; // by name
    QVector<int> topSwitches;    // which depend on no other signal
    int switches = 0;
    bool hasNames = false;
    QVector<int> multiplexors; // of each signal: an index, alwaysThere or notCertain
};

QVector<SignalDescription> Resolver::resolve()
{
    for (const DbcSignal& signal : dbcSignals)
        multiplexors += multiplexorOf(signal);
    refuseDependents();
    QVector<SignalDescription> resolved;
    QVector<int> places; // of the signals in the result
    for (int i = 0; i < dbcSignals.size(); ++i) {
        places += static_cast<int>(resolved.size());
        if (multiplexors.at(i) == notCertain)
            continue;
        const DbcSignal& signal = dbcSignals.at(i);
        resolved += signal;
        if (signal.longName.isEmpty())
            continue;
        resolved.last().name = signal.longName;
        resolved.last().shortName = signal.name;
    }
    for (int i = 0; i < dbcSignals.size(); ++i) {
        if (multiplexors.at(i) >= 0)
            resolved[places.at(i)].multiplexing = {places.at(multiplexors.at(i)),
                                                   valuesOf(dbcSignals.at(i))};
    }
    return resolved;
}

int Resolver::multiplexorOf(const DbcSignal& signal)
{
    if (signal.isUnclear)
        return refuse(signal, QStringLiteral("its SG_MUL_VAL_ cannot be parsed"));
    if (!signal.switchName.isEmpty()) {
        const int named = indices.value(signal.switchName, notCertain);
        return named == notCertain
                   ? refuse(signal, QStringLiteral("its multiplexor \"%1\" is not in the message")
                                        .arg(signal.switchName))
                   : named;
    }
    if (!signal.switchValue)
        return alwaysThere;
    if (topSwitches.isEmpty())
        return refuse(signal,
                      QStringLiteral("its message has no multiplexor that is always present (M)"));
    if (topSwitches.size() > 1 || (switches > 1 && !hasNames))
        return refuse(signal, QStringLiteral("its message has %1 multiplexors, but no SG_MUL_VAL_ "
                                             "says which one it depends on")
                                  .arg(switches));
    return topSwitches.first();
}

int Resolver::refuse(const DbcSignal& signal, const QString& reason)
{
    problems.add(signal.line,
                 QStringLiteral("signal \"%1\" is not decoded: %2").arg(signal.name, reason));
    return notCertain;
}

/// Refuses signals that depend on a refused signal or, in a circle, on themselves.
void Resolver::refuseDependents()
{
    enum class State { Unknown, OnThePath, Certain };
    QVector<State> states(multiplexors.size(), State::Unknown);
    for (int i = 0; i < multiplexors.size(); ++i) {
        QVector<int> path;
        int end = i;
        for (; end >= 0 && states.at(end) == State::Unknown; end = multiplexors.at(end)) {
            states[end] = State::OnThePath;
            path += end;
        }
        const bool isCircle = end >= 0 && states.at(end) == State::OnThePath;
        const bool isRefused =
            end == notCertain || (end >= 0 && multiplexors.at(end) == notCertain);
        for (const int signal : qAsConst(path)) {
            states[signal] = State::Certain;
            if (multiplexors.at(signal) != notCertain && (isCircle || isRefused))
                multiplexors[signal] = refuse(
                    dbcSignals.at(signal),
                    isCircle ? QStringLiteral("its multiplexors depend on each other in a cycle")
                             : QStringLiteral("its multiplexor is not decoded"));
        }
    }
}

/// The values of its multiplexor for which \a signal is present. If there are ranges that do not
/// include the N of its marker mN, N is added if the message has only one multiplexor. With several
/// multiplexors, only the ranges apply: N is meant for tools that do not support ranges.
QVector<RawRange> Resolver::valuesOf(const DbcSignal& signal) const
{
    QVector<RawRange> values = signal.switchValues;
    const bool isMissing = signal.switchValue && !contains(values, *signal.switchValue);
    if (isMissing && (values.isEmpty() || switches == 1))
        values.append({*signal.switchValue, *signal.switchValue});
    return values;
}

} // namespace

QVector<SignalDescription> resolveMultiplexing(const QVector<DbcSignal>& dbcSignals,
                                               Problems& problems)
{
    return Resolver(dbcSignals, problems).resolve();
}

} // namespace monitor
