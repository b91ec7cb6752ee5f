#pragma once

#include "catalogue/Description.h"

#include "text/Problems.h"
#include <QtCore/QPair>

namespace monitor
{

/// A signal as written in a DBC file, before its multiplexor is known.
struct DbcSignal : SignalDescription {
    qint64 line = 0;
    QVector<QPair<QString, QString>> writtenTexts; ///< numbers as in the file, and their texts
    QString longName;                              ///< the full name if the name is an abbreviation
    bool isSwitch = false;                         ///< M or mNM: other signals may depend on it
    std::optional<quint64> switchValue;            ///< N of mN or mNM
    QString switchName;                            ///< name of its multiplexor, from SG_MUL_VAL_
    QVector<RawRange> switchValues;                ///< from SG_MUL_VAL_
    bool isUnclear = false; ///< true: one of its SG_MUL_VAL_ cannot be parsed
};

/// Determines the multiplexors of the signals of one message. SG_MUL_VAL_ names the multiplexor and
/// its values. Without it, a signal marked mN is present when the only M of the message has the
/// value N. Signals with an uncertain multiplexor, and signals that depend on them, are left out
/// and reported as problems. The others get their long names.
QVector<SignalDescription> resolveMultiplexing(const QVector<DbcSignal>& dbcSignals,
                                               Problems& problems);

} // namespace monitor
