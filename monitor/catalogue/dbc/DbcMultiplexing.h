#pragma once

#include "catalogue/Description.h"
#include "text/Problems.h"

namespace monitor
{

/// A signal as a DBC file writes it, before it is clear what its multiplexor is.
struct DbcSignal : SignalDescription {
    qint64 line = 0;
    QString longName;                   ///< if the file abbreviates it; then the name is short
    bool isSwitch = false;              ///< M or mNM: others may depend on it
    std::optional<quint64> switchValue; ///< N of mN or mNM
    QString switchName;                 ///< of its multiplexor, by SG_MUL_VAL_
    QVector<RawRange> switchValues;     ///< by SG_MUL_VAL_
    bool isUnclear = false;             ///< true: a SG_MUL_VAL_ of it is not understood
};

/// Finds the multiplexors of the signals of one message. SG_MUL_VAL_ names the multiplexor and its
/// values; without it mN means the only M of the message and N. Signals whose multiplexor is not
/// certain, and those that depend on them, are left out, each with a problem. The others get their
/// long names.
QVector<SignalDescription> resolveMultiplexing(const QVector<DbcSignal>& dbcSignals,
                                               Problems& problems);

} // namespace monitor
