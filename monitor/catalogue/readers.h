#pragma once

#include "DescriptionFile.h"

namespace monitor
{

/// A format of description files.
struct DescriptionReader {
    const char* name;     ///< also of the option that names a file, "dbc" of --dbc
    const char* fileHint; ///< the value of that option in the help, "FILE.dbc"
    const char* help;     ///< the help on that option
    bool needsNode;       ///< whether a file describes one CANopen node, given with --node
    bool isRepeatable;    ///< whether several files may be given
    ReadDescription (*read)(const DescriptionFile& file);
};

/// All formats: a new one is a row here.
const QVector<DescriptionReader>& descriptionReaders();

/// The format of that \a name, or null.
const DescriptionReader* findDescriptionReader(const QString& name);

/// The CANopen node id in \a text: 1 to 127, decimal or hexadecimal after 0x.
[[nodiscard]] std::optional<quint8> readNodeId(const QString& text);

} // namespace monitor
