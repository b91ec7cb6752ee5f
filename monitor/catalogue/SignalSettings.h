#pragma once

#include "Catalogue.h"

#include <QtCore/QStringList>

namespace monitor
{

/// Limits for the signals that a pattern means (see isMeant()).
struct SignalLimits {
    QString pattern;
    ValueRange limits;
};

/// A scaling for the CANopen objects that a pattern means: value = raw x factor + offset.
struct SignalScaling {
    QString pattern;
    double factor = 1;
    double offset = 0;
    QString unit{};
};

/// Whether raw values of the signals that a pattern means are reserved; if not, all of them are
/// measured ones.
struct SignalReservation {
    QString pattern;
    bool reserves = true;
};

/// Leaves only the signals chosen that one of \a patterns means; no pattern at all leaves them as
/// they are. Returns the complaint about a pattern that means no signal, else an empty text.
QString chooseSignals(const QStringList& patterns, QVector<CatalogueMessage>& messages);

/// Gives the signals their limits; of several for one signal the last counts. Returns the
/// complaint about one that means no signal, else an empty text.
QString setLimits(const QVector<SignalLimits>& limits, QVector<CatalogueMessage>& messages);

/// Gives CANopen objects their scaling; of several for one object the last counts. Returns the
/// complaint about one that means no signal or one that cannot be scaled so, else an empty text.
QString setScalings(const QVector<SignalScaling>& scalings, QVector<CatalogueMessage>& messages);

/// Lets every signal keep no more than its newest \a records; 0: all.
void setKeptRecords(int records, QVector<CatalogueMessage>& messages);

/// Says whether raw values of the signals are reserved; of several for one signal the last counts.
/// Returns the complaint about one that means no signal, else an empty text.
QString setReservations(const QVector<SignalReservation>& reservations,
                        QVector<CatalogueMessage>& messages);

/// Returns the complaint about a pattern that means no signal, else an empty text.
QString checkPatterns(const QStringList& patterns, const QVector<CatalogueMessage>& messages);

} // namespace monitor
