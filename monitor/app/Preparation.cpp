#include "Preparation.h"

#include "catalogue/ConfigFile.h"

namespace monitor
{

namespace
{

/// Reads all description files. Returns an error message, or an empty string on success.
QString readDescriptions(const MonitorOptions& options, QTextStream& diagnostics,
                         Catalogue& catalogue)
{
    QVector<MessageDescription> found;
    for (const GivenDescription& given : options.descriptions) {
        const ReadDescription read = given.reader->read(given.file);
        print(read.problems, diagnostics);
        if (!read.error.isEmpty())
            return read.error;
        found += read.messages;
    }
    catalogue = Catalogue(found);
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
    prepared.k = config.k.value_or(prepared.k);
    const QString error = prepared.catalogue.apply(config.settings);
    return error.isEmpty() ? error : fileName + QStringLiteral(": ") + error;
}

} // namespace

void print(const Problems& problems, QTextStream& diagnostics)
{
    for (const QString& line : problems.lines())
        diagnostics << line << '\n';
    if (problems.count() > 0)
        diagnostics << problems.total() << '\n';
}

QString prepare(const MonitorOptions& options, QTextStream& diagnostics, Preparation& prepared)
{
    QString error = readDescriptions(options, diagnostics, prepared.catalogue);
    if (error.isEmpty())
        error = applyConfig(options.config, prepared);
    if (error.isEmpty())
        error = prepared.catalogue.choose(options.patterns);
    if (error.isEmpty())
        error = prepared.catalogue.apply(options.limits);
    prepared.catalogue.setKeptRecords(options.keptRecords);
    prepared.k = options.k.value_or(prepared.k);
    return error;
}

PreparedRun prepareRun(const MonitorOptions& options, QTextStream& output, QTextStream& diagnostics)
{
    Preparation prepared;
    RunOutputs outputs(options, output);
    QString error = prepare(options, diagnostics, prepared);
    if (error.isEmpty())
        error = outputs.check();
    return {std::move(outputs),
            std::make_unique<Session>(prepared.catalogue.messages(), prepared.k), error};
}

QString nothingDecoded(const QString& origin, const MonitorOptions& options)
{
    QStringList names;
    for (const GivenDescription& given : options.descriptions)
        names += given.file.fileName;
    return QStringLiteral("%1: no frame could be decoded with %2")
        .arg(origin, names.join(QStringLiteral(", ")));
}

} // namespace monitor
