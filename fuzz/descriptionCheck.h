#pragma once

#include <catalogue/Catalogue.h>
#include <decoding/Decoder.h>
#include <engine/DatatypeChoice.h>

#include <cstdlib>
#include <vector>

/// Uses \a messages as the monitor does: every signal gets a name and a data type, and data of
/// every length is decoded by them, with nothing behind it that could be read unnoticed.
inline void checkDescriptions(const QVector<monitor::MessageDescription>& described)
{
    const auto messages = monitor::Catalogue(described).messages();
    for (const monitor::CatalogueMessage& message : messages) {
        for (const monitor::CatalogueSignal& signal : message.catalogueSignals) {
            if (signal.layout.length < 1 || signal.layout.length > 64 ||
                signal.reportedName.isEmpty())
                std::abort();
            monitor::datatypeOf(signal);
        }
    }
    monitor::Decoder decoder(messages);
    constexpr auto longestFrame =
        static_cast<int>(std::tuple_size_v<decltype(monitor::Frame::data)>);
    for (const monitor::CatalogueMessage& message : messages) {
        quint8 first = 0x5A; // may be a multiplexor
        for (int length = 0; length <= longestFrame; ++length) {
            std::vector<quint8> bytes(static_cast<std::size_t>(length), 0x5A);
            if (length > 0)
                bytes.front() = first;
            const monitor::Payload payload{message.id, message.extended, bytes.data(), length, {}};
            for (const monitor::DecodedSignal& found : decoder.decode(payload))
                first = static_cast<quint8>(found.bits);
        }
    }
}
