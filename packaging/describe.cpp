// Writes the manual pages and completion scripts of the program from the rows of its commands and
// options. Usage: vantrel-describe PROGRAM VERSION DATE DIRECTORY, where PROGRAM is the name of the
// executable.

#include "describe.h"

#include <app/arguments/CommandLine.h>
#include <text/WholeFile.h>

#include <QtCore/QDir>
#include <QtCore/QRegularExpression>

#include <cstdio>

QString named(const QString& text, const Release& release)
{
    // Not in vantrel-NAME, which already is the name of a page or an executable.
    static const QRegularExpression name(QStringLiteral("\\bvantrel\\b(?![\\\\-])"));
    return QString(text).replace(name, release.program);
}

int main(int argc, char* argv[])
{
    if (argc != 5) {
        std::fputs("usage: vantrel-describe PROGRAM VERSION DATE DIRECTORY\n", stderr);
        return 2;
    }
    const Release release{QString::fromLocal8Bit(argv[1]), QString::fromLocal8Bit(argv[2]),
                          QString::fromLocal8Bit(argv[3])};
    const QDir folder(QString::fromLocal8Bit(argv[4]));
    const auto write = [&folder](const QString& name, const QString& text) {
        const QString error = monitor::writeWholeFile(folder.filePath(name), text.toUtf8());
        if (!error.isEmpty())
            std::fprintf(stderr, "%s\n", qPrintable(error));
        return error.isEmpty();
    };
    bool isWritten = folder.mkpath(QStringLiteral(".")) &&
                     write(release.program + QStringLiteral(".1"), manualPage(QString(), release));
    for (const monitor::CommandRow& command : monitor::commandRows()) {
        const QString name = QLatin1String(command.name);
        isWritten = isWritten && write(QStringLiteral("%1-%2.1").arg(release.program, name),
                                       manualPage(name, release));
    }
    isWritten = isWritten && write(release.program, bashCompletion(release)) &&
                write('_' + release.program, zshCompletion(release)) &&
                write(release.program + QStringLiteral(".fish"), fishCompletion(release));
    return isWritten ? 0 : 1;
}
