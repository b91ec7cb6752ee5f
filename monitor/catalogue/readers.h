#pragma once

#include "Description.h"
#include "text/Problems.h"

namespace monitor
{

/// A file that describes messages and signals.
struct DescriptionFile {
    QString fileName;
    std::optional<quint8> node; ///< the CANopen node that it describes, if its format needs one
};

/// What was read of a description file.
struct ReadDescription {
    QVector<MessageDescription> messages;
    Problems problems; ///< the parts of the file that were skipped, and other doubts
    QString error;     ///< why the file cannot be read, naming it; empty without an error
};

/// A format of description files.
struct DescriptionReader {
    const char* name;     ///< also of the option that names a file, "dbc" of --dbc
    const char* fileHint; ///< the value of that option in the help, "FILE.dbc"
    const char* help;     ///< the help on that option
    bool needsNode;       ///< whether a file describes one CANopen node, to be given beside it
    bool isRepeatable;    ///< whether several files may be given
    ReadDescription (*read)(const DescriptionFile& file);
};

/// All formats: a new one is a row here.
const QVector<DescriptionReader>& descriptionReaders();

/// The format of that \a name; null if there is none.
const DescriptionReader* findDescriptionReader(const QString& name);

/// The CANopen node id in \a text: 1 to 127, decimal or hexadecimal after 0x.
std::optional<quint8> readNodeId(const QString& text);

} // namespace monitor
