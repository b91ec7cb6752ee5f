#pragma once

#include "catalogue/Description.h"

namespace monitor
{

/// Reads an id of a DBC file, in which bit 31 marks 29-bit ids. Returns false if it is not a 32-bit
/// number.
[[nodiscard]] bool readDbcId(const QString& digits, MessageDescription& message);

/// Reads a BO_ line, such as "BO_ 2364540158 EEC1: 8 Engine", into \a message. Returns an error
/// message, or an empty string on success. After an error \a message may be partly written.
[[nodiscard]] QString readDbcMessage(const QString& line, MessageDescription& message);

/// Reads an SG_ line, such as "SG_ EngineSpeed : 24|16@1+ (0.125,0) [0|8031.875] "rpm" Engine",
/// into \a signal, which must fit into \a messageSize bytes and have values in the range of double.
/// Returns an error message, or an empty string on success. After an error \a signal may be partly
/// written.
[[nodiscard]] QString readDbcSignal(const QString& line, int messageSize,
                                    SignalDescription& signal);

} // namespace monitor
