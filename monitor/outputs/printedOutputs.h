#pragma once

#include "outputs.h"

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

/// Prints the statistics of each id, or only of ids and reassembled messages that are described.
/// The session must collect them.
class IdOutput : public Output
{
public:
    IdOutput(QTextStream& stream, PrintedForm idFormat, bool describedOnly)
        : output(stream), format(idFormat), onlyDescribed(describedOnly)
    {
    }

    [[nodiscard]] OutputResult write(const FinishedRun& run,
                                     const OutputProgress& progress) override;

private:
    QTextStream& output;
    PrintedForm format;
    bool onlyDescribed;
};

/// Prints how often each value of each signal occurred, in the order of raw values.
class CountsOutput : public Output
{
public:
    CountsOutput(QTextStream& stream, PrintedForm countsFormat)
        : output(stream), format(countsFormat)
    {
    }

    [[nodiscard]] OutputResult write(const FinishedRun& run,
                                     const OutputProgress& progress) override;

private:
    QTextStream& output;
    PrintedForm format;
};

/// Prints how the values of each signal differ between two groups, the largest change first.
class ComparisonOutput : public Output
{
public:
    ComparisonOutput(QTextStream& stream, PrintedForm comparisonForm)
        : output(stream), form(comparisonForm)
    {
    }

    [[nodiscard]] OutputResult write(const FinishedRun& run,
                                     const OutputProgress& progress) override;

private:
    QTextStream& output;
    PrintedForm form;
};

/// The texts printed by TableOutput and JsonOutput.
QString formatTable(const Snapshot& snapshot);
QString formatJson(const Snapshot& snapshot);

} // namespace monitor
