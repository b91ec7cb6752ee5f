#pragma once

#include "publishers/Publisher.h"
#include "publishers/PublisherSettings.h"

#include <memory>

namespace monitor
{

/// A kind of publisher, which sends the signals of a live run to other programs.
struct PublisherKind {
    const char* name;      ///< the option
    const char* valueName; ///< the value of the option, such as ADDRESS
    const char* help;      ///< the help text of the option
    /// Checks the value of the option. Returns the error as the rest of a sentence that begins with
    /// the option, such as "needs an address", or an empty string.
    QString (*check)(const QString& value);
    /// Starts a publisher with a valid value, and sets \a note to what the user should know about
    /// it, such as its address. Returns null and sets \a note to an error message if that fails.
    std::unique_ptr<Publisher> (*start)(const PublisherSettings& settings, QString& note);
};

/// The table of publishers. A new kind needs a row here.
const QVector<PublisherKind>& publisherKinds();

} // namespace monitor
