#include "displays.h"

#include "displays/terminal/TerminalDisplay.h"
#include "displays/window/MonitorWindow.h"

namespace monitor
{

namespace
{

QString checkTerminal()
{
    return Terminal::isAvailable()
               ? QString()
               : QStringLiteral("--display terminal needs standard output to be a terminal");
}

} // namespace

const QVector<DisplayKind>& displayKinds()
{
    static const QVector<DisplayKind> kinds{
        {"terminal", "a table on the terminal", false, checkTerminal,
         [](Session& session, const DisplaySettings& settings) -> std::unique_ptr<SnapshotSink> {
             return std::make_unique<TerminalDisplay>(session, settings.leastRating);
         }},
        {"window", "a window with charts", true, [] { return QString(); },
         [](Session& session, const DisplaySettings& settings) -> std::unique_ptr<SnapshotSink> {
             return std::make_unique<MonitorWindow>(session, settings.source, settings.leastRating);
         }},
    };
    return kinds;
}

const DisplayKind* findDisplay(const QString& name)
{
    for (const DisplayKind& kind : displayKinds()) {
        if (name == QLatin1String(kind.name))
            return &kind;
    }
    return nullptr;
}

} // namespace monitor
