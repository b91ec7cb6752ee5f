#include "BusSender.h"

#include "BusFrame.h"

#include <QtCore/QVariant>

#include <algorithm>
#include <cmath>

namespace monitor
{

double Pacing::dueTimeOf(const Frame& frame)
{
    if (!frame.microseconds)
        return due;
    const qint64 waited =
        std::max<qint64>(0, *frame.microseconds - previous.value_or(*frame.microseconds));
    previous = frame.microseconds;
    due += static_cast<double>(waited) / speed;
    return due;
}

BusSender::BusSender(QCanBusDevice& connectedDevice, FrameSource& frameSource, double speed)
    : device(connectedDevice), source(frameSource), pacing(speed)
{
    timer.setSingleShot(true);
    timer.setTimerType(Qt::PreciseTimer);
    QObject::connect(&timer, &QTimer::timeout, [this] { sendDue(); });
}

QString BusSender::send()
{
    const auto connection = QObject::connect(&device, &QCanBusDevice::stateChanged,
                                             [this] { end(QStringLiteral("connection lost")); });
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
        if (wait > 0) {
            timer.start(static_cast<int>(std::min(std::ceil(wait), 1e6)));
            return;
        }
        if (!trySend())
            return;
        if (!readNext()) {
            loop.quit();
            return;
        }
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

/// Sends the frame that is due. False if it must wait, or if sending has ended.
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

/// A driver refuses a frame while its queue is full, so the frame is tried again, for about 1 s.
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
