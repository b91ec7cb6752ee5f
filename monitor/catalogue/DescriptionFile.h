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

} // namespace monitor
