#include "BusSender.h"

#include "BusFrame.h"

#include <QtCore/QVariant>

#include <algorithm>
#include <cmath>

namespace monitor
{

double Pacing::dueTimeOf(const Frame& frame)
{
    if (!frame.nanoseconds)
        return due;
    const qint64 waited =
        std::max<qint64>(0, *frame.nanoseconds - previous.value_or(*frame.nanoseconds));
    previous = frame.nanoseconds;
    due += static_cast<double>(waited) / 1000 / speed;
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
    if (error.isEmpty() && readNext()) {
        timer.start(0);
        loop.exec();
    }
    QObject::disconnect(connection);
    return error;
}

void BusSender::sendDue()
{
    for (int i = 0; i < maxBurst; ++i) {
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

/// Sends the frame that is due. Returns false if it must wait or sending has ended.
bool BusSender::trySend()
{
    const QCanBusFrame busFrame = busFrameOf(frame);
    if (!busFrame.isValid()) {
        ++skippedFrames;
        return true;
    }
    const bool hasFd = device.configurationParameter(QCanBusDevice::CanFdKey).toBool();
    if (busFrame.hasFlexibleDataRateFormat() && !hasFd) {
        end(QStringLiteral("the recording contains CAN FD frames; use --fd"));
        return false;
    }
    if (!device.writeFrame(busFrame)) {
        retryLater();
        return false;
    }
    rejections = 0;
    ++sentFrames;
    return true;
}

/// Drivers reject frames while their queue is full, so the frame is retried for about 1 s.
void BusSender::retryLater()
{
    constexpr int maxRejections = 1000;
    if (++rejections < maxRejections)
        timer.start(1);
    else
        end(QStringLiteral("cannot send a frame: ") + device.errorString());
}

void BusSender::end(const QString& reason)
{
    error = reason;
    timer.stop();
    loop.quit();
}

} // namespace monitor
