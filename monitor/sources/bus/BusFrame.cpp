#include "BusFrame.h"

#include <algorithm>

namespace monitor
{

Frame frameOf(const QCanBusFrame& busFrame)
{
    Frame frame;
    frame.id = busFrame.frameId();
    frame.extended = busFrame.hasExtendedFrameFormat();
    frame.remote = busFrame.frameType() == QCanBusFrame::RemoteRequestFrame;
    if (frame.remote)
        return frame;
    frame.fd = busFrame.hasFlexibleDataRateFormat();
    frame.bitRateSwitch = busFrame.hasBitrateSwitch();
    const QByteArray payload = busFrame.payload();
    const auto length =
        std::min<std::size_t>(static_cast<std::size_t>(payload.size()), frame.data.size());
    std::copy_n(payload.constData(), length, frame.data.begin());
    frame.length = static_cast<quint8>(length);
    return frame;
}

QCanBusFrame busFrameOf(const Frame& frame)
{
    QCanBusFrame busFrame(frame.remote ? QCanBusFrame::RemoteRequestFrame
                                       : QCanBusFrame::DataFrame);
    busFrame.setFrameId(frame.id);
    busFrame.setExtendedFrameFormat(frame.extended);
    busFrame.setPayload(QByteArray(reinterpret_cast<const char*>(frame.data.data()), frame.length));
    // Not for a classic frame: a payload of more than 8 bytes has made it an FD frame.
    if (frame.fd)
        busFrame.setFlexibleDataRateFormat(true);
    busFrame.setBitrateSwitch(frame.bitRateSwitch);
    return busFrame;
}

} // namespace monitor
