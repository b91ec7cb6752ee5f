#pragma once

#include "Output.h"

#include <QtCore/QTextStream>

#include <memory>

namespace monitor
{

/// The destination of an output.
struct OutputTarget {
    QTextStream* stream = nullptr; ///< of a printed output; must outlive it
    QString path{};                ///< of any other output: the value of its option
};

/// The data that an output is written from.
enum class OutputNeeds {
    Counts, ///< statistics and the counts of values
    Values, ///< also individual values, which a summary does not contain
    Run     ///< individual values during the run, so a saved run is not enough either
};

/// The form in which a printed output is written.
enum class PrintedForm { None, Table, Json, Csv };

/// A kind of output.
struct OutputKind {
    const char* name;      ///< for a printed output, a value of --format; otherwise the option
    const char* valueName; ///< the value of the option, such as FILE; empty for a printed output
    const char* help;      ///< the help text of the option
    bool needsWidgets;     ///< true: there must be a QApplication
    OutputNeeds needs;
    std::unique_ptr<Output> (*make)(const OutputTarget& target);
    PrintedForm form = PrintedForm::None; ///< in which other subjects are printed too

    bool isPrinted() const { return form != PrintedForm::None; }
};

/// The table of outputs. A new kind needs a row here.
const QVector<OutputKind>& outputKinds();

/// The default printed output: the first one in the table.
const OutputKind& defaultOutputKind();

} // namespace monitor
