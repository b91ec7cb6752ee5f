#pragma once

#include "Description.h"

#include <QtCore/QStringList>

namespace monitor
{

/// The options of a signal in one run.
struct SignalRules {
    bool chosen = true;               ///< false: not reported
    bool reservesRawValues = true;    ///< false: every raw value is measured, even in J1939
    int keptRecords = 0;              ///< the number of newest records to keep; 0: all
    std::optional<ValueRange> limits; ///< for the rating, instead of the band
};

/// A signal as it is used in a run, with the user's settings.
struct CatalogueSignal : SignalDescription {
    /// The name of the signal. It is prefixed with the name of its message if several messages of
    /// the same node, or several without a node, have a signal of that name on the same bus.
    QString reportedName;
    SignalRules rules;
};

/// A message with its signals as they are used in a run.
struct CatalogueMessage : MessageHeader {
    QVector<CatalogueSignal> catalogueSignals;
};

/// The user's settings for all signals that a pattern matches. A setting without a value changes
/// nothing.
struct SignalSettings {
    QString pattern; ///< see Catalogue
    std::optional<Scaling> scaling{};
    std::optional<ValueRange> limits{};
    std::optional<bool> reservesRawValues{};
};

/// The messages and signals known in a run: those of the description files, with the user's
/// settings.
///
/// A pattern matches a signal if it matches the whole reported name, the whole name, the whole
/// short name, or "SPN" followed by the SPN. In a pattern, * stands for any text and ? for any
/// character. Case matters.
///
/// Functions that return a string return an error message, or an empty string on success. A pattern
/// that matches no signal is an error. After an error, part of the changes may have been made.
///
/// This class is reentrant.
class Catalogue
{
public:
    Catalogue() = default;
    explicit Catalogue(const QVector<MessageDescription>& descriptions);

    const QVector<CatalogueMessage>& messages() const { return knownMessages; }

    /// Chooses only the signals that match one of \a patterns. Without patterns, changes nothing.
    [[nodiscard]] QString choose(const QStringList& patterns);

    /// Applies \a settings in order; for each signal the last setting wins. A scaling is an error
    /// unless the signal is a CANopen object whose values are not passed through, and if scaled
    /// values would exceed the range of double.
    [[nodiscard]] QString apply(const QVector<SignalSettings>& settings);

    /// Sets the limits of every chosen signal that has none to the range in its description, if its
    /// lower end is below its upper end. Returns the number of these signals.
    int useDescribedLimits();

    /// Limits every signal to its newest \a records; 0: no limit.
    void setKeptRecords(int records);

private:
    template <typename Call>
    QString forMatching(const QString& pattern, Call call);
    QString unknownPattern(const QString& pattern) const;

    QVector<CatalogueMessage> knownMessages;
};

} // namespace monitor
