#include "BusSender.h"

#include "BusFrame.h"

#include <QtCore/QVariant>

#include <algorithm>
#include <cmath>

namespace monitor
{

BusSender::BusSender(QCanBusDevice& connectedDevice, FrameSource& frameSource, double speed)
    : device(connectedDevice), source(frameSource), pacing(speed)
{
    timer.setSingleShot(true);
    timer.setTimerType(Qt::PreciseTimer);
    QObject::connect(&timer, &QTimer::timeout, [this] { sendDue(); });
}

QString BusSender::send()
{
    const auto connection = QObject::connect(&device, &QCanBusDevice::stateChanged, [this] {
        end(QStringLiteral("the connection is lost"));
    });
    clock.start();
    if (readNext()) {
        timer.start(0);
        loop.exec();
    }
    QObject::disconnect(connection);
    return error;
}

void BusSender::sendDue()
{
    for (int i = 0; i < atOnce; ++i) {
        const double wait = due / 1000 - static_cast<double>(clock.elapsed());
        if (wait > 0)
            return timer.start(static_cast<int>(std::min(std::ceil(wait), 1e6)));
        if (!trySend())
            return;
        if (!readNext())
            return loop.quit();
    }
    timer.start(1);
}

bool BusSender::readNext()
{
    if (!source.next(frame))
        return false;
    due = pacing.dueTimeOf(frame);
    return true;
}

/// Sends the frame that is due. False if that has to wait, or is over.
bool BusSender::trySend()
{
    const QCanBusFrame busFrame = busFrameOf(frame);
    if (!busFrame.isValid()) {
        ++unfitFrames;
        return true;
    }
    const bool hasFd = device.configurationParameter(QCanBusDevice::CanFdKey).toBool();
    if (busFrame.hasFlexibleDataRateFormat() && !hasFd) {
        end(QStringLiteral("a CAN FD frame of the recording needs --fd"));
        return false;
    }
    if (!device.writeFrame(busFrame)) {
        tryAgain();
        return false;
    }
    refusals = 0;
    ++sentFrames;
    return true;
}

/// A driver whose queue is full refuses a frame; then it is tried again, for about a second.
void BusSender::tryAgain()
{
    constexpr int mostRefusals = 1000;
    if (++refusals < mostRefusals)
        timer.start(1);
    else
        end(QStringLiteral("a frame is refused: ") + device.errorString());
}

void BusSender::end(const QString& reason)
{
    error = reason;
    timer.stop();
    loop.quit();
}

} // namespace monitor
