#pragma once

#include <catalogue/Description.h>

/// A plain unsigned Intel signal, to be varied by the tests.
inline monitor::SignalDescription describedSignal(int startBit, int length)
{
    monitor::SignalDescription signal;
    signal.name = signal.reportedName = QStringLiteral("Signal");
    signal.startBit = startBit;
    signal.length = length;
    return signal;
}

/// A 29-bit message of 8 bytes.
inline monitor::MessageDescription
describedMessage(quint32 id, const QVector<monitor::SignalDescription>& descriptions)
{
    monitor::MessageDescription message;
    message.name = QStringLiteral("Message");
    message.id = id;
    message.extended = true;
    message.protocol = monitor::Protocol::J1939;
    message.size = 8;
    message.signalDescriptions = descriptions;
    return message;
}
