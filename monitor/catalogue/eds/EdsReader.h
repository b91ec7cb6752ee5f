#pragma once

#include "EdsDictionary.h"
#include "catalogue/Description.h"
#include "text/Problems.h"

namespace monitor
{

/// The PDOs that \a node sends according to its object dictionary (CiA 301: communication
/// parameters from 0x1800, mapping parameters from 0x1A00 on), one message each. PDOs that are not
/// valid (bit 31 of the COB-ID) are left out; what cannot be understood is a warning, and the rest
/// is used as far as its place in the PDO is certain.
QVector<MessageDescription> readTransmitPdos(const EdsDictionary& dictionary, quint8 node,
                                             Problems& problems);

/// Appends the PDOs that the EDS or DCF of that name describes for \a node to \a messages. Returns
/// what made that impossible, naming the file; empty if nothing did.
[[nodiscard]] QString readEdsFile(const QString& fileName, quint8 node, Problems& problems,
                                  QVector<MessageDescription>& messages);

} // namespace monitor
