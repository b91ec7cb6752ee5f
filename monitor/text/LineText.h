#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>

namespace monitor
{

/// \a line as text. Older tools write names and units in Latin-1, newer ones in UTF-8: what is no
/// UTF-8 is taken for Latin-1.
QString textOf(const QByteArray& line);

} // namespace monitor
