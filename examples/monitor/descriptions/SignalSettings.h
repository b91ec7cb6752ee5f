#pragma once

#include "Description.h"

#include <QtCore/QStringList>

namespace monitor
{

/// Limits for the signals that a pattern means (see isMeant()).
struct SignalLimits {
    QString pattern;
    ValueRange limits;
};

/// Leaves only the signals chosen that one of \a patterns means; no pattern at all leaves them as
/// they are. Returns the complaint about a pattern that means no signal, else an empty text.
QString chooseSignals(const QStringList& patterns, QVector<MessageDescription>& messages);

/// Gives the signals their limits; of several for one signal the last counts. Returns the
/// complaint about one that means no signal, else an empty text.
QString setLimits(const QVector<SignalLimits>& limits, QVector<MessageDescription>& messages);

} // namespace monitor
