#pragma once

#include "catalogue/DescriptionFile.h"

namespace monitor
{

/// Reads the messages of a DBC file from its \a content: messages (BO_), signals (SG_), IEEE
/// numbers (SIG_VALTYPE_), multiplexing (SG_MUL_VAL_), SPNs and what tells whether frames are
/// matched as J1939 (BA_). Everything else is skipped, and so is what is not understood, which is a
/// problem. \a file names the file and says how it is read. Reentrant.
[[nodiscard]] ReadDescription parseDbc(const QByteArray& content, const DescriptionFile& file);

/// The messages of a DBC file. The node is ignored. A file without messages is an error.
[[nodiscard]] ReadDescription readDbcFile(const DescriptionFile& file);

} // namespace monitor
