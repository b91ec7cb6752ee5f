#include "FileArguments.h"

namespace monitor
{

namespace
{

const QString plotOption = QStringLiteral("plot");
const QString saveOption = QStringLiteral("save");

} // namespace

void addFileOptions(QCommandLineParser& parser)
{
    parser.addOption({plotOption,
                      QStringLiteral("Write a plot of every signal, and overview.png with all of "
                                     "them, into that directory."),
                      QStringLiteral("DIRECTORY")});
    parser.addOption({saveOption,
                      QStringLiteral("Save what was recorded of the signals, to be shown again by "
                                     "show."),
                      QStringLiteral("FILE")});
}

QString readFileOptions(const QCommandLineParser& parser, MonitorOptions& options)
{
    options.plotDirectory = parser.value(plotOption);
    options.saveFile = parser.value(saveOption);
    if (parser.isSet(plotOption) && options.plotDirectory.isEmpty())
        return QStringLiteral("--plot needs a directory");
    if (parser.isSet(saveOption) && options.saveFile.isEmpty())
        return QStringLiteral("--save needs a file name");
    return QString();
}

} // namespace monitor
