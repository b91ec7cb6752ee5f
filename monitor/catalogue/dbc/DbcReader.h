#pragma once

#include "catalogue/DescriptionFile.h"

namespace monitor
{

/// Reads the \a content of a DBC file: messages (BO_), signals (SG_), floating-point signals
/// (SIG_VALTYPE_), multiplexing (SG_MUL_VAL_), value texts (VAL_), comments (CM_), and the
/// attributes (BA_) for SPNs, long names, cycle times and J1939. Everything else is skipped. Parts
/// that cannot be parsed are skipped and reported as problems. \a file names the file and says how
/// to read it. Reentrant.
[[nodiscard]] ReadDescription parseDbc(const QByteArray& content, const DescriptionFile& file);

/// Reads the messages of a DBC file. The node is ignored. A file without messages is an error.
[[nodiscard]] ReadDescription readDbcFile(const DescriptionFile& file);

} // namespace monitor
