#pragma once

#include "EdsDictionary.h"
#include "catalogue/DescriptionFile.h"

namespace monitor
{

/// The PDOs that \a node sends according to its object dictionary (CiA 301: communication
/// parameters from 0x1800, mapping parameters from 0x1A00 on), one message each. PDOs that are not
/// valid (bit 31 of the COB-ID) are left out. Whatever is not understood is a problem, and the rest
/// is used as far as its position in the PDO is certain.
[[nodiscard]] QVector<MessageDescription> readTransmitPdos(const EdsDictionary& dictionary,
                                                           quint8 node, Problems& problems);

/// The PDOs that an EDS or DCF describes for its node. A missing node is an error.
[[nodiscard]] ReadDescription readEdsFile(const DescriptionFile& file);

} // namespace monitor
