#include "SummaryFile.h"

#include "engine/summary/SummaryReader.h"
#include "engine/summary/SummaryWriter.h"
#include "text/WholeFile.h"

#include <QtCore/QFileInfo>
#include <QtCore/QTemporaryFile>

namespace monitor
{

namespace
{

/// Appends all of \a source to \a file.
bool copy(QFile& source, QSaveFile& file)
{
    constexpr qint64 chunk = 1 << 20;
    QByteArray bytes;
    do {
        bytes = source.read(chunk);
        if (!writeAll(file, bytes.constData(), bytes.size()))
            return false;
    } while (!bytes.isEmpty());
    return source.atEnd() && source.error() == QFileDevice::NoError;
}

} // namespace

QString SummaryFile::check()
{
    const QFileInfo present(file.fileName());
    const QString refused = file.fileName() + QStringLiteral(": cannot be written: ");
    if (file.fileName() == QLatin1String("-"))
        return refused + QStringLiteral("standard output is for the statistics; name a file");
    if (present.exists() && !present.isFile())
        return refused + QStringLiteral("not a regular file");
    if (present.exists() && !present.isReadable())
        return refused + QStringLiteral("the file exists and cannot be read");
    if (present.size() > 0 && !isSummary(file.fileName()))
        return refused + QStringLiteral("the file exists and is not a summary");
    // With a buffer, the reason of an error would be lost.
    return file.open(QIODevice::WriteOnly | QIODevice::Unbuffered) ? QString()
                                                                   : cannotBeWritten(file);
}

OutputResult SummaryFile::write(const FinishedRun& run, const OutputProgress& /*progress*/)
{
    if (!file.isOpen()) {
        QString error = check();
        if (!error.isEmpty())
            return {std::move(error), {}};
    }
    // SQLite writes to a file of its own, which is then copied, because QSaveFile does not tell
    // the name of its temporary file.
    QTemporaryFile database(file.fileName() + QStringLiteral(".XXXXXX"));
    if (!database.open())
        return {QStringLiteral("%1: cannot be written: %2")
                    .arg(file.fileName(), database.errorString()),
                {}};
    const std::vector<Session*> runs =
        run.groups.empty() ? std::vector<Session*>{&run.session} : run.groups;
    const QString error = writeSummary(database.fileName(), runs);
    if (!error.isEmpty())
        return {file.fileName() + QStringLiteral(": cannot be written: ") + error, {}};
    return {copy(database, file) && commitWhole(file) ? QString() : cannotBeWritten(file), {}};
}

} // namespace monitor
