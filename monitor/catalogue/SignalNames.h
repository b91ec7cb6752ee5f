#pragma once

#include "Catalogue.h"

namespace monitor
{

/// Gives every signal the name that reports use: its own, with that of its message before it where
/// several messages of the same node, or of none, have a signal of that name.
QVector<CatalogueMessage> giveReportedNames(const QVector<MessageDescription>& messages);

/// Whether \a pattern means \a signal: it matches its reported name, its own name, or "SPN" and
/// its number. In a pattern * stands for any text and ? for any character; upper and lower case
/// are different.
bool isMeant(const CatalogueSignal& signal, const QString& pattern);

} // namespace monitor
