#pragma once

#include "Output.h"

#include <QtCore/QTextStream>

#include <memory>

namespace monitor
{

/// Where an output goes.
struct OutputTarget {
    QTextStream* stream = nullptr; ///< for a printed output; must outlive it
    QString path{};                ///< for an output into files: the value of its option
};

/// One kind of output: a row of the table.
struct OutputKind {
    const char* name;      ///< of a printed output: a value of --format; otherwise of the option
    const char* valueName; ///< what the option needs, such as FILE; empty for a printed output
    const char* help;      ///< for the option
    bool needsWidgets;     ///< true: there must be a QApplication
    std::unique_ptr<Output> (*make)(const OutputTarget& target);

    bool isPrinted() const { return *valueName == '\0'; }
};

/// All kinds of output: a new one is a row here.
const QVector<OutputKind>& outputKinds();

/// The default of the printed outputs: the first one of the table.
const OutputKind& defaultOutputKind();

} // namespace monitor
