#pragma once

#include <catalogue/Catalogue.h>
#include <catalogue/DatatypeChoice.h>
#include <decoding/Decoder.h>

#include <cstdlib>
#include <vector>

/// Uses the messages \a described as the program does: gives every signal a name and a data type,
/// and decodes data of every length. The data is allocated exactly as long as it is, so that
/// AddressSanitizer reports a read past its end.
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
        quint8 first = 0x5A; // the byte that may hold the multiplexor
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
