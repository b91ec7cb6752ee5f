#pragma once

#include "DescriptionFile.h"

#include <QtCore/QStringList>

namespace monitor
{

/// A format of description files.
struct DescriptionReader {
    const char* name;     ///< also the name of its option, such as "dbc" for --dbc
    const char* fileHint; ///< the value of the option in help texts, such as "FILE.dbc"
    const char* help;     ///< the help text of the option
    bool needsNode;       ///< whether a file describes one CANopen node, given with --node
    bool isRepeatable;    ///< whether several files may be given
    ReadDescription (*read)(const DescriptionFile& file);
    QStringList endings; ///< the usual file name extensions
};

/// The table of formats. A new format needs a row here.
const QVector<DescriptionReader>& descriptionReaders();

/// Returns the format of that \a name, or null if the name is unknown.
const DescriptionReader* findDescriptionReader(const QString& name);

/// The CANopen node id in \a text: 1 to 127, decimal or hexadecimal after 0x.
[[nodiscard]] std::optional<quint8> readNodeId(const QString& text);

} // namespace monitor
