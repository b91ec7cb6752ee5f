#include "FileArguments.h"

#include <limits>

namespace monitor
{

namespace
{

const QString keepOption = QStringLiteral("keep");
const QString plotOption = QStringLiteral("plot");
const QString saveOption = QStringLiteral("save");

/// A band takes two values, and so does a rating by it.
QString readKept(const QCommandLineParser& parser, MonitorOptions& options)
{
    constexpr int fewest = 2;
    constexpr int most = std::numeric_limits<int>::max() / 2; // twice as many are stored at times
    bool isNumber = true;
    if (parser.isSet(keepOption))
        options.keptRecords = parser.value(keepOption).toInt(&isNumber);
    const bool isKnown =
        !parser.isSet(keepOption) || (options.keptRecords >= fewest && options.keptRecords <= most);
    return isNumber && isKnown ? QString() : QStringLiteral("--keep needs a whole number from 2");
}

} // namespace

void describeFileOptions(QCommandLineParser& parser)
{
    parser.addOption({keepOption,
                      QStringLiteral("Keep the newest N records of each signal only, 2 or more."),
                      QStringLiteral("N")});
    parser.addOption({plotOption,
                      QStringLiteral("Write a plot of every signal, and overview.png with all of "
                                     "them, into that directory."),
                      QStringLiteral("DIRECTORY")});
    parser.addOption({saveOption,
                      QStringLiteral("Save what was recorded of the signals, to be shown again by "
                                     "show."),
                      QStringLiteral("FILE")});
}

QStringList fileOptionNames()
{
    return {keepOption, plotOption, saveOption};
}

QStringList showOptionNames()
{
    return {plotOption, saveOption};
}

QString readFileOptions(const QCommandLineParser& parser, MonitorOptions& options)
{
    options.plotDirectory = parser.value(plotOption);
    options.saveFile = parser.value(saveOption);
    if (parser.isSet(plotOption) && options.plotDirectory.isEmpty())
        return QStringLiteral("--plot needs a directory");
    if (parser.isSet(saveOption) && options.saveFile.isEmpty())
        return QStringLiteral("--save needs a file name");
    return readKept(parser, options);
}

} // namespace monitor
