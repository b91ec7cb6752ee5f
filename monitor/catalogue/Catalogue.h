#pragma once

#include "Description.h"

namespace monitor
{

/// What the user wants of a signal in one run.
struct SignalRules {
    bool chosen = true;               ///< false: not reported
    bool reservesRawValues = true;    ///< false: every raw value is a measured one, in J1939 too
    int keptRecords = 0;              ///< how many of its newest records are kept; 0: all
    std::optional<ValueRange> limits; ///< it is rated by these instead of its band
};

/// A described signal as a run uses it. A configuration may have changed its scaling.
struct CatalogueSignal : SignalDescription {
    QString reportedName; ///< see giveReportedNames()
    SignalRules rules;
};

/// A described message with its signals as a run uses them.
struct CatalogueMessage : MessageHeader {
    QVector<CatalogueSignal> catalogueSignals;
};

} // namespace monitor
