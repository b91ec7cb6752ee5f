#pragma once

#include "catalogue/Description.h"
#include "text/Problems.h"

namespace monitor
{

/// A signal as written in a DBC file, before its multiplexor is known.
struct DbcSignal : SignalDescription {
    qint64 line = 0;
    QString longName;                   ///< if the file abbreviates it; then the name is short
    bool isSwitch = false;              ///< M or mNM: others may depend on it
    std::optional<quint64> switchValue; ///< N of mN or mNM
    QString switchName;                 ///< of its multiplexor, by SG_MUL_VAL_
    QVector<RawRange> switchValues;     ///< by SG_MUL_VAL_
    bool isUnclear = false;             ///< true: one of its SG_MUL_VAL_ cannot be parsed
};

/// Determines the multiplexors of the signals of one message. SG_MUL_VAL_ names the multiplexor and
/// its values. Without it, mN means that the only M of the message has the value N. Signals with an
/// uncertain multiplexor, and signals that depend on them, are left out, each with a problem. The
/// others get their long names.
QVector<SignalDescription> resolveMultiplexing(const QVector<DbcSignal>& dbcSignals,
                                               Problems& problems);

} // namespace monitor
