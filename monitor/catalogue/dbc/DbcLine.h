#pragma once

#include "catalogue/Description.h"

namespace monitor
{

/// Reads an id of a DBC file, in which bit 31 marks 29-bit ids. False if it is not a number of 32
/// bits.
[[nodiscard]] bool readDbcId(const QString& digits, MessageDescription& message);

/// Reads a BO_ line, such as "BO_ 2364540158 EEC1: 8 Engine", into \a message. Returns what is
/// wrong with the line, or an empty text. After an error \a message may be partly written.
[[nodiscard]] QString readDbcMessage(const QString& line, MessageDescription& message);

/// Reads an SG_ line, such as "SG_ EngineSpeed : 24|16@1+ (0.125,0) [0|8031.875] "rpm" Engine",
/// into \a signal, which must fit into \a messageSize bytes and have values in the range of double.
/// Returns the error, or an empty text on success. After an error \a signal may be partly
/// written.
[[nodiscard]] QString readDbcSignal(const QString& line, int messageSize,
                                    SignalDescription& signal);

} // namespace monitor
