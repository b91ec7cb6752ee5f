#pragma once

#include "catalogue/Description.h"

namespace monitor
{

/// What is wrong with a line of a DBC file; empty: nothing.
using DbcComplaint = QString;

/// Reads an id as it stands in a DBC file: bit 31 marks one of 29 bits. False if it is no number of
/// 32 bits.
bool readDbcId(const QString& digits, MessageDescription& message);

/// Reads a BO_ line, as "BO_ 2364540158 EEC1: 8 Engine", into \a message. After a complaint \a
/// message may be partly written.
DbcComplaint readDbcMessage(const QString& line, MessageDescription& message);

/// Reads an SG_ line, as "SG_ EngineSpeed : 24|16@1+ (0.125,0) [0|8031.875] "rpm" Engine", into
/// \a signal. What it describes lies within \a messageSize bytes, and none of its values leaves
/// the range of double. After a complaint \a signal may be partly written.
DbcComplaint readDbcSignal(const QString& line, int messageSize, SignalDescription& signal);

} // namespace monitor
