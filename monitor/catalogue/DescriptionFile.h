#pragma once

#include "Description.h"
#include "text/Problems.h"

namespace monitor
{

/// A file that describes messages and signals.
struct DescriptionFile {
    QString fileName;
    std::optional<quint8> node; ///< the CANopen node that it describes, if the format needs one
    /// How frames of all messages with 29-bit ids are matched; default: as the file declares.
    std::optional<Protocol> protocol{};
};

/// The result of reading a description file.
struct ReadDescription {
    QVector<MessageDescription> messages;
    Problems problems; ///< skipped parts of the file, and other warnings
    QString note;      ///< about the file as a whole, naming it; empty if there is nothing to say
    QString error;     ///< names the file; empty if it could be read
};

} // namespace monitor
