#pragma once

#include "Output.h"

#include <QtCore/QTextStream>

namespace monitor
{

/// Prints the statistics as a table for people to read, followed by the counts.
class TableOutput : public Output
{
public:
    explicit TableOutput(QTextStream& stream) : output(stream) {}

    [[nodiscard]] OutputResult write(const FinishedRun& run,
                                     const OutputProgress& progress) override;

private:
    QTextStream& output;
};

/// Prints the counts and the statistics as one JSON object, with a line for each signal.
/// docs/output.md describes its members.
class JsonOutput : public Output
{
public:
    explicit JsonOutput(QTextStream& stream) : output(stream) {}

    [[nodiscard]] OutputResult write(const FinishedRun& run,
                                     const OutputProgress& progress) override;

private:
    QTextStream& output;
};

/// Prints the statistics as comma-separated values, see formatCsv().
class CsvOutput : public Output
{
public:
    explicit CsvOutput(QTextStream& stream) : output(stream) {}

    [[nodiscard]] OutputResult write(const FinishedRun& run,
                                     const OutputProgress& progress) override;

private:
    QTextStream& output;
};

/// The form in which IdOutput and CountsOutput print.
enum class IdFormat { Table, Json, Csv };

/// Prints the statistics of each id, or only of ids and reassembled messages that are described.
/// The session must collect them.
class IdOutput : public Output
{
public:
    IdOutput(QTextStream& stream, IdFormat idFormat, bool describedOnly)
        : output(stream), format(idFormat), onlyDescribed(describedOnly)
    {
    }

    [[nodiscard]] OutputResult write(const FinishedRun& run,
                                     const OutputProgress& progress) override;

private:
    QTextStream& output;
    IdFormat format;
    bool onlyDescribed;
};

/// Prints how often each value of each signal occurred, in the order of raw values.
class CountsOutput : public Output
{
public:
    CountsOutput(QTextStream& stream, IdFormat countsFormat) : output(stream), format(countsFormat)
    {
    }

    [[nodiscard]] OutputResult write(const FinishedRun& run,
                                     const OutputProgress& progress) override;

private:
    QTextStream& output;
    IdFormat format;
};

/// The texts printed by TableOutput and JsonOutput.
QString formatTable(const Snapshot& snapshot);
QString formatJson(const Snapshot& snapshot);

} // namespace monitor
