#pragma once

#include <QtCore/QString>

/// The release that the files describe.
struct Release {
    QString program; ///< the name of the executable
    QString version;
    QString date; ///< of the newest release, as YYYY-MM-DD; may be empty
};

/// \a text with "vantrel" replaced by the name of the executable.
QString named(const QString& text, const Release& release);

/// The manual page of a command, or of the program if \a command is empty.
QString manualPage(const QString& command, const Release& release);

/// The completion scripts for shells.
QString bashCompletion(const Release& release);
QString zshCompletion(const Release& release);
QString fishCompletion(const Release& release);
