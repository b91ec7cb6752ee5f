#pragma once

#include "sources/FrameSource.h"

#include <QtCore/QIODevice>

#include <memory>

namespace monitor
{

/// 0 if \a start, the first bytes of a recording, begins like a pcap file, else -1.
qint64 findPcap(const QByteArray& start);

/// 0 if \a start, the first bytes of a recording, begins like a pcapng file, else -1.
qint64 findPcapng(const QByteArray& start);

/// The CAN frames of the pcap file in \a device. Packets with the link types CAN_SOCKETCAN (227),
/// LINUX_SLL (113) and LINUX_SLL2 (276) are read. All other packets are skipped.
std::unique_ptr<FrameSource> openPcap(std::unique_ptr<QIODevice> device, const QString& name);

/// The same for a pcapng file. Enhanced, simple and obsolete packet blocks are read. All other
/// blocks that do not describe packets are skipped.
std::unique_ptr<FrameSource> openPcapng(std::unique_ptr<QIODevice> device, const QString& name);

} // namespace monitor
