#include "Preparation.h"

#include "catalogue/ConfigFile.h"
#include "catalogue/SignalNames.h"
#include "catalogue/readers.h"
#include "outputs/PlotFiles.h"
#include "outputs/SeriesFile.h"
#include "printProblems.h"

namespace monitor
{

namespace
{

struct GivenDescription {
    const DescriptionReader* reader;
    DescriptionFile file;
};

QVector<GivenDescription> descriptionsIn(const MonitorOptions& options)
{
    QVector<GivenDescription> given;
    if (!options.dbc.isEmpty())
        given.append({findDescriptionReader(QStringLiteral("dbc")), {options.dbc, std::nullopt}});
    for (const NodeDescription& node : options.nodes)
        given.append({findDescriptionReader(QStringLiteral("eds")), {node.fileName, node.node}});
    return given;
}

/// The messages and signals to look for, or what made that impossible.
QString readDescriptions(const MonitorOptions& options, QTextStream& messages,
                         QVector<CatalogueMessage>& descriptions)
{
    QVector<MessageDescription> found;
    for (const GivenDescription& given : descriptionsIn(options)) {
        const ReadDescription read = given.reader->read(given.file);
        print(read.problems, messages);
        if (!read.error.isEmpty())
            return read.error;
        found += read.messages;
    }
    descriptions = giveReportedNames(found);
    return QString();
}

/// Reads the configuration, if there is one, and changes \a prepared as it says.
QString applyConfig(const QString& fileName, Preparation& prepared)
{
    if (fileName.isEmpty())
        return QString();
    Config config;
    QString error = readConfigFile(fileName, config);
    if (!error.isEmpty())
        return error;
    prepared.k = config.k.value_or(prepared.k);
    for (const QString& complaint : {checkPatterns(config.patterns, prepared.descriptions),
                                     setScalings(config.scalings, prepared.descriptions),
                                     setLimits(config.limits, prepared.descriptions),
                                     setReservations(config.reservations, prepared.descriptions)}) {
        if (!complaint.isEmpty())
            return fileName + QStringLiteral(": ") + complaint;
    }
    return QString();
}

} // namespace

QString prepare(const MonitorOptions& options, QTextStream& messages, Preparation& prepared)
{
    QString error = readDescriptions(options, messages, prepared.descriptions);
    if (error.isEmpty())
        error = applyConfig(options.config, prepared);
    if (error.isEmpty())
        error = chooseSignals(options.patterns, prepared.descriptions);
    setKeptRecords(options.keptRecords, prepared.descriptions);
    prepared.k = options.k.value_or(prepared.k);
    if (error.isEmpty())
        error = setLimits(options.limits, prepared.descriptions);
    return error.isEmpty() ? checkTargets(options) : error;
}

QString checkTargets(const MonitorOptions& options)
{
    QString error;
    if (!options.saveFile.isEmpty())
        error = checkSeriesFile(options.saveFile);
    if (error.isEmpty() && !options.plotDirectory.isEmpty())
        error = makePlotDirectory(options.plotDirectory);
    return error;
}

QString descriptionFilesOf(const MonitorOptions& options)
{
    QStringList names;
    if (!options.dbc.isEmpty())
        names += options.dbc;
    for (const NodeDescription& node : options.nodes)
        names += node.fileName;
    return names.join(QStringLiteral(", "));
}

} // namespace monitor
