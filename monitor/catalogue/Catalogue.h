#pragma once

#include "Description.h"

#include <QtCore/QStringList>

namespace monitor
{

/// The options of a signal in one run.
struct SignalRules {
    bool chosen = true;               ///< false: not reported
    bool reservesRawValues = true;    ///< false: every raw value is a measured one, in J1939 too
    int keptRecords = 0;              ///< how many of its newest records are kept; 0: all
    std::optional<ValueRange> limits; ///< rate the signal instead of its band
};

/// A described signal as a run uses it. The user may have changed its scaling.
struct CatalogueSignal : SignalDescription {
    /// Its own name, preceded by that of its message where several messages of the same node, or
    /// of none, have a signal of that name.
    QString reportedName;
    SignalRules rules;
};

/// A described message with its signals as a run uses them.
struct CatalogueMessage : MessageHeader {
    QVector<CatalogueSignal> catalogueSignals;
};

/// The user's settings for all signals that a pattern matches. Settings without a value change
/// nothing.
struct SignalSettings {
    QString pattern; ///< see Catalogue
    std::optional<Scaling> scaling{};
    std::optional<ValueRange> limits{};
    std::optional<bool> reservesRawValues{};
};

/// The messages and signals that are known in a run: those declared by description files, with the
/// settings of the user.
///
/// A pattern matches a signal if it matches all of its reported name, of its own name, or of "SPN"
/// and its number. * stands for any text and ? for any character; case matters.
///
/// Functions that return a text return the error, or an empty text on success. A pattern that
/// matches no signal is an error. After an error some of the changes may have been made.
///
/// This class is reentrant.
class Catalogue
{
public:
    Catalogue() = default;
    explicit Catalogue(const QVector<MessageDescription>& descriptions);

    const QVector<CatalogueMessage>& messages() const { return knownMessages; }

    /// Leaves chosen only the signals that one of \a patterns matches. Without patterns nothing
    /// changes.
    [[nodiscard]] QString choose(const QStringList& patterns);

    /// Applies \a settings in their order, so that the last of several for one signal counts. A
    /// scaling is an error for a signal that is not a number of a CANopen object, and if scaled
    /// values would leave the range of double.
    [[nodiscard]] QString apply(const QVector<SignalSettings>& settings);

    /// Lets every signal keep no more than its newest \a records; 0: all.
    void setKeptRecords(int records);

private:
    template <typename Call>
    QString forMatching(const QString& pattern, Call call);
    QString unknownPattern(const QString& pattern) const;

    QVector<CatalogueMessage> knownMessages;
};

} // namespace monitor
