#pragma once

#include <catalogue/Catalogue.h>

/// The layout of an unsigned Intel signal that is not multiplexed.
inline monitor::SignalLayout describedLayout(int startBit, int length)
{
    monitor::SignalLayout layout;
    layout.startBit = startBit;
    layout.length = length;
    return layout;
}

/// A signal of that layout.
inline monitor::CatalogueSignal describedSignal(int startBit, int length)
{
    monitor::CatalogueSignal signal;
    signal.name = signal.reportedName = QStringLiteral("Signal");
    signal.layout = describedLayout(startBit, length);
    return signal;
}

/// A 29-bit message of 8 bytes.
inline monitor::CatalogueMessage
describedMessage(quint32 id, const QVector<monitor::CatalogueSignal>& descriptions)
{
    monitor::CatalogueMessage message;
    message.name = QStringLiteral("Message");
    message.id = id;
    message.extended = true;
    message.protocol = monitor::Protocol::J1939;
    message.size = 8;
    message.catalogueSignals = descriptions;
    return message;
}
