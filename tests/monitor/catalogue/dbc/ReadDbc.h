#pragma once

#include "../../text/problemText.h"

#include <catalogue/dbc/DbcReader.h>

struct Dbc {
    QVector<monitor::MessageDescription> messages;
    QString warnings;
};

inline Dbc readDbc(const QByteArray& content)
{
    Dbc dbc;
    monitor::Problems problems("x.dbc");
    monitor::DbcReader reader(problems);
    qint64 number = 0;
    for (const QByteArray& line : content.split('\n'))
        reader.readLine(++number, line);
    dbc.messages = reader.finish();
    dbc.warnings = textOf(problems);
    return dbc;
}

const QByteArray messageLine = "BO_ 2364540158 EEC1: 8 Engine";
const QByteArray signalLine =
    R"( SG_ EngineSpeed : 24|16@1+ (0.125,0) [0|8031.875] "rpm" Vector__XXX)";

inline Dbc readDbcSignal(const QByteArray& line)
{
    return readDbc(messageLine + "\n" + line);
}
