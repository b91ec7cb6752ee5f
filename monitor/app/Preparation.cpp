#include "Preparation.h"

#include "catalogue/ConfigFile.h"

#include <QtCore/QCryptographicHash>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QHash>
#include <QtCore/QPair>

#include <algorithm>
#include <cmath>

namespace monitor
{

namespace
{

/// The messages of all description files, at most one for each id on a bus.
class KnownMessages
{
public:
    /// Adds the messages of a file. A message with the id of an earlier one is left out and
    /// reported as a problem.
    void add(const QString& fileName, const QString& bus, ReadDescription& read)
    {
        for (MessageDescription& message : read.messages) {
            message.bus = bus;
            const auto key = qMakePair(bus, qMakePair(message.extended, message.id));
            const auto same = origins.constFind(key);
            if (same == origins.cend()) {
                origins.insert(key, QStringLiteral("\"%1\" of %2").arg(message.name, fileName));
                found.append(message);
            } else {
                read.problems.add(
                    message.line,
                    QStringLiteral("message \"%1\" is not decoded: it has the same id as ")
                            .arg(message.name) +
                        *same);
            }
        }
    }

    const QVector<MessageDescription>& descriptions() const { return found; }

private:
    QVector<MessageDescription> found;
    QHash<QPair<QString, QPair<bool, quint32>>, QString> origins;
};

/// Adds the hash of the file to the origin of a run. Leaves out pipes, which cannot be read twice.
void addHash(const QString& fileName, RunOrigin& origin)
{
    QFile file(fileName);
    QCryptographicHash hash(QCryptographicHash::Sha256);
    if (QFileInfo(fileName).isFile() && file.open(QIODevice::ReadOnly) && hash.addData(&file))
        origin.descriptions.insert({QFileInfo(fileName).fileName(), hash.result()});
}

/// Whether the same file is given again after \a given, for the same bus and node if any. Only the
/// last one is used, so --j1939 and --plain replace --dbc.
bool isReplaced(const GivenDescription& given, const QVector<GivenDescription>& all)
{
    return std::any_of(&given + 1, all.constData() + all.size(),
                       [&given](const GivenDescription& later) {
                           return later.file.fileName == given.file.fileName &&
                                  later.bus == given.bus && later.file.node == given.file.node;
                       });
}

/// Reads all description files. Returns an error message, or an empty string on success.
QString readDescriptions(const MonitorOptions& options, QTextStream& diagnostics,
                         Preparation& prepared)
{
    KnownMessages known;
    for (const GivenDescription& given : options.descriptions) {
        if (isReplaced(given, options.descriptions))
            continue;
        ReadDescription read = given.reader->read(given.file);
        if (read.error.isEmpty())
            known.add(given.file.fileName, given.bus, read);
        print(read.problems, diagnostics);
        if (!read.note.isEmpty())
            diagnostics << read.note << '\n';
        if (!read.error.isEmpty())
            return read.error;
        addHash(given.file.fileName, prepared.origin);
    }
    prepared.catalogue = Catalogue(known.descriptions());
    return QString();
}

/// Applies the configuration, if there is one. Returns an error message, or an empty string.
QString applyConfig(const QString& fileName, Preparation& prepared)
{
    if (fileName.isEmpty())
        return QString();
    const Config config = readConfigFile(fileName);
    if (!config.error.isEmpty())
        return config.error;
    addHash(fileName, prepared.origin);
    prepared.k = config.k.value_or(prepared.k);
    const QString error = prepared.catalogue.apply(config.settings);
    return error.isEmpty() ? error : fileName + QStringLiteral(": ") + error;
}

/// The number of chosen signals.
qint64 countOfSignals(const Catalogue& catalogue)
{
    qint64 count = 0;
    for (const CatalogueMessage& message : catalogue.messages()) {
        for (const CatalogueSignal& signal : message.catalogueSignals)
            count += signal.rules.chosen ? 1 : 0;
    }
    return count;
}

/// Prints how much memory --keep may take if that is much.
void printMemoryOfKept(qint64 records, qint64 signalCount, QTextStream& diagnostics)
{
    // Up to twice as many values are kept, each with its time, and the distinct ones are counted.
    constexpr qint64 bytesPerRecord = 64;
    constexpr qint64 muchMemory = 1000000000;
    constexpr double bytesPerMegabyte = 1e6;
    if (records * bytesPerRecord < muchMemory / std::max(signalCount, qint64{1}))
        return;
    diagnostics
        << QStringLiteral(
               "--keep %1: may take %2 MB of memory for each of %3 signal(s), and again for "
               "each further source; without --keep, memory does not "
               "depend on the number of values\n")
               .arg(records)
               .arg(std::ceil(static_cast<double>(records * bytesPerRecord) / bytesPerMegabyte))
               .arg(signalCount);
}

} // namespace

void print(const Problems& problems, QTextStream& diagnostics)
{
    for (const QString& line : problems.lines())
        diagnostics << line << '\n';
    if (problems.count() > 0)
        diagnostics << problems.total() << '\n';
}

void printMissingBuses(const MonitorOptions& options, const FrameSource& source,
                       QTextStream& diagnostics)
{
    QStringList buses = source.buses();
    buses.removeAll(QString());
    for (const GivenDescription& given : options.descriptions) {
        if (!given.bus.isEmpty() && !buses.contains(given.bus))
            diagnostics << (buses.isEmpty()
                                ? QStringLiteral("%1: is for bus \"%2\", but the frames have no "
                                                 "buses; give the file without a bus\n")
                                      .arg(given.file.fileName, given.bus)
                                : QStringLiteral("%1: bus \"%2\" has no frames (buses: %3)\n")
                                      .arg(given.file.fileName, given.bus,
                                           buses.join(QStringLiteral(", "))));
    }
}

QString prepare(const MonitorOptions& options, QTextStream& diagnostics, Preparation& prepared)
{
    QString error = readDescriptions(options, diagnostics, prepared);
    if (error.isEmpty())
        error = applyConfig(options.config, prepared);
    if (error.isEmpty())
        error = prepared.catalogue.choose(options.patterns);
    if (error.isEmpty())
        error = prepared.catalogue.apply(options.limits);
    if (error.isEmpty() && options.usesDescribedLimits &&
        prepared.catalogue.useDescribedLimits() == 0)
        diagnostics << "--limits described: has no effect: all chosen signals already have limits "
                       "or lack a range in their descriptions\n";
    if (error.isEmpty() && options.keptRecords > 0)
        printMemoryOfKept(options.keptRecords, countOfSignals(prepared.catalogue), diagnostics);
    prepared.catalogue.setKeptRecords(options.keptRecords);
    prepared.origin.labels = options.labels;
    prepared.origin.programs.insert(QStringLiteral(VANTREL_VERSION));
    prepared.k = options.k.value_or(prepared.k);
    return error;
}

PreparedRun prepareRun(const MonitorOptions& options, QTextStream& output, QTextStream& diagnostics)
{
    Preparation prepared;
    PreparedRun run{RunOutputs(options, output), nullptr, prepare(options, diagnostics, prepared)};
    if (run.error.isEmpty())
        run.error = run.outputs.check();
    run.session = std::make_unique<Session>(prepared.catalogue.messages(), prepared.k);
    run.session->origin() = prepared.origin;
    run.outputs.connectTo(*run.session);
    if (options.subject != MonitorOptions::Subject::Signals)
        run.session->collectIds();
    return run;
}

} // namespace monitor
