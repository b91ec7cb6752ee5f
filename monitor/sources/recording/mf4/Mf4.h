#pragma once

#include "sources/FrameSource.h"

#include <QtCore/QIODevice>

#include <memory>

namespace monitor
{

/// 0 if \a start, the first bytes of a recording, begins an MDF file of version 4, otherwise -1.
qint64 findMf4(const QByteArray& start);

/// The CAN frames in the ASAM MDF 4 file in \a device, in order of time. A file that was not
/// finalised is read up to its end. The records of a group are expected in order of time, but those
/// of different groups in the same stream may be mixed: frames are put in order if no record is
/// stored after another one that is more than 3 seconds later. At most 1,000,000 frames wait for
/// their turn; beyond that, the earliest is delivered even if an earlier one may follow. notes()
/// tells how many frames are still out of order.
std::unique_ptr<FrameSource> openMf4(std::unique_ptr<QIODevice> device, const QString& name);

} // namespace monitor
