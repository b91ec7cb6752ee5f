#pragma once

#include "Database.h"
#include "SummarySignal.h"

#include <vector>

namespace monitor
{

/// The numbers of frames in all groups of a merge, whose sum must not overflow either.
struct MergeTotals {
    FrameCounts counts;
    qint64 undecoded = 0;
};

/// A run that consists of the runs of summaries. The result does not depend on the order in which
/// they are added.
class MergedRun
{
public:
    /// The band reaches \a k deviations to either side of the average. Groups of one merge share
    /// their \a sums.
    explicit MergedRun(double k,
                       std::shared_ptr<MergeTotals> sums = std::make_shared<MergeTotals>())
        : merged({}, k), totals(std::move(sums))
    {
    }

    Session& session() { return merged; }

    /// A line for each signal that is not merged with another one of the same name, source and bus
    /// because their definitions differ.
    const QStringList& notes() const { return keptApart; }

private:
    friend class SummaryReader;

    struct Known {
        int number; // in the session
        QString file;
    };

    int add(const SummarySignal& signal, const QString& file);
    void noteKeptApart(const SummarySignal& signal, const QString& file, const Known& other);

    Session merged;
    bool isFirst = true;
    std::shared_ptr<MergeTotals> totals;
    QHash<QByteArray, int> numbers;     // by the definition of the signal
    QHash<QByteArray, Known> namesakes; // by either of their namesakeKeys()
    QStringList keptApart;
};

/// A run of a summary: all of it, or a group that was kept apart.
struct SummaryRun {
    qint64 id = 0;
    double k = 3; ///< half the width of the band, in deviations
    bool isComplete = true;
    std::map<QString, QString> labels;
};

/// Whether the file of that name is an SQLite database, judging by its first bytes.
bool isDatabase(const QString& fileName);

/// Whether it is a summary, judging by the same bytes.
bool isSummary(const QString& fileName);

/// Reads a summary, which need not be trusted. Functions that return a string return an error
/// message without the name of the file, or an empty string on success.
class SummaryReader
{
public:
    /// Opens the summary in a file, or in memory, and checks its structure and its checksum.
    [[nodiscard]] QString open(const QString& fileName);
    [[nodiscard]] QString open(const QByteArray& content);

    /// The runs of the summary. Valid after open().
    const std::vector<SummaryRun>& runs() const { return foundRuns; }

    /// The checksum of the content. Empty if the summary contains no values. Valid after open().
    QByteArray checksum() const { return foundChecksum; }

    /// Adds \a run of this summary to \a merged. The values are recounted, and statistics are
    /// computed from their counts. After an error, only part of the run was added. Messages name
    /// this summary \a file.
    [[nodiscard]] QString addTo(MergedRun& merged, const SummaryRun& run, const QString& file);

private:
    /// What the counts of a signal must still contain.
    struct Expected {
        qint64 values;                 // their number
        std::optional<quint64> newest; // the key of the newest one
        bool areFinite;                // whether infinite ones were not recorded
    };

    QString findRuns();
    void addRun(MergedRun& merged, qint64 run);
    void addUndecoded(MergedRun& merged, qint64 run);
    SummarySignal readDefinition(Statement& row);
    QHash<quint64, QString> readTexts(qint64 signal, const SignalLayout& layout);
    void addValues(Statement& row, qint64 id, SignalValues& values, const SignalLayout& layout);
    void addCounts(qint64 id, SignalValues& values, Expected expected);
    bool addPart(const QByteArray& data, qint64 entries, SignalValues& values, Expected& expected);
    void invalid(const QString& text);

    Database database;
    std::vector<SummaryRun> foundRuns;
    QByteArray foundChecksum;
    QString signalName;             // of the signal that is being read, for messages
    std::optional<quint64> lastKey; // of its counts
};

} // namespace monitor
