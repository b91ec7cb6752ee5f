#pragma once

#include <decoding/Decoder.h>
#include <descriptions/SignalNames.h>
#include <signals/DatatypeChoice.h>

#include <cstdlib>

/// Uses \a messages as the monitor does: every signal gets a name and a data type, and frames of
/// every length are decoded by them.
inline void checkDescriptions(QVector<monitor::MessageDescription> messages)
{
    monitor::giveReportedNames(messages);
    for (const monitor::MessageDescription& message : messages) {
        for (const monitor::SignalDescription& signal : message.signalDescriptions) {
            if (signal.length < 1 || signal.length > 64 || signal.reportedName.isEmpty())
                std::abort();
            monitor::datatypeOf(signal);
        }
    }
    monitor::Decoder decoder(messages);
    for (const monitor::MessageDescription& message : messages) {
        monitor::Frame frame;
        frame.id = message.id;
        frame.extended = message.extended;
        frame.data.fill(0x5A);
        for (frame.length = 0; frame.length < frame.data.size(); ++frame.length) {
            for (const monitor::DecodedSignal& found : decoder.decode(frame))
                frame.data.at(0) = static_cast<quint8>(found.bits);
        }
    }
}
