#pragma once

#include "EdsDictionary.h"
#include "catalogue/DescriptionFile.h"

namespace monitor
{

/// The PDOs that \a node sends according to its object dictionary (CiA 301: communication
/// parameters from 0x1800 on, mapping parameters from 0x1A00 on), one message each. PDOs marked as
/// not valid (bit 31 of the COB-ID) are left out. Entries that cannot be used are reported as
/// problems, and the rest is used as far as its position in the PDO is known.
[[nodiscard]] QVector<MessageDescription> readTransmitPdos(const EdsDictionary& dictionary,
                                                           quint8 node, Problems& problems);

/// Reads the PDOs of an EDS or DCF. It is an error if \a file has no node.
[[nodiscard]] ReadDescription readEdsFile(const DescriptionFile& file);

} // namespace monitor
