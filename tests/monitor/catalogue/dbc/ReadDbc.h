#pragma once

#include "../../text/problemText.h"

#include <catalogue/dbc/DbcReader.h>

struct Dbc {
    QVector<monitor::MessageDescription> messages;
    QString warnings;
    QString note;
    QString error;
};

inline Dbc readDbc(const QByteArray& content, std::optional<monitor::Protocol> protocol = {})
{
    const monitor::ReadDescription read =
        monitor::parseDbc(content, {"x.dbc", std::nullopt, protocol});
    return {read.messages, textOf(read.problems), read.note, read.error};
}

const QByteArray messageLine = "BO_ 2364540158 EEC1: 8 Engine";
const QByteArray signalLine =
    R"( SG_ EngineSpeed : 24|16@1+ (0.125,0) [0|8031.875] "rpm" Vector__XXX)";

inline Dbc readDbcSignal(const QByteArray& line)
{
    return readDbc(messageLine + "\n" + line);
}

/// The names of the signals of the first message.
inline QStringList namesIn(const Dbc& dbc)
{
    QStringList names;
    for (const auto& signal : dbc.messages.value(0).signalDescriptions)
        names += signal.name;
    return names;
}
