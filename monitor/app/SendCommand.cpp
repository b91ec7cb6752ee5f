#include "SendCommand.h"

#include "sources/bus/BusConnection.h"
#include "sources/bus/BusSender.h"

namespace monitor
{

namespace
{

void printCounts(const BusSender& sender, const RecordingFile& recording, QTextStream& output)
{
    output << "sent        " << sender.sent() << '\n'
           << "not sent    " << recording.errorFrames() << " error frame(s), " << sender.unfit()
           << " of a length that no frame has\n";
}

} // namespace

ExitCode send(const SendOptions& options, QTextStream& output, QTextStream& messages)
{
    RecordingFile recording(options.recording, messages);
    QString error = recording.error();
    BusConnection connection;
    if (error.isEmpty())
        error = connection.connect(options.bus);
    if (!error.isEmpty()) {
        messages << error << '\n';
        return ExitCode::WrongUse;
    }
    BusSender sender(connection.device(), recording, options.speed);
    const QString busError = sender.send();
    connection.disconnect();
    printCounts(sender, recording, output);
    if (!busError.isEmpty())
        messages << options.bus.name() << ": " << busError << '\n';
    if (!recording.error().isEmpty())
        messages << recording.error() << '\n';
    if (!busError.isEmpty() || !recording.error().isEmpty())
        return ExitCode::WrongUse;
    if (sender.sent() > 0)
        return ExitCode::Success;
    messages << options.recording << ": holds no frame that can be sent\n";
    return ExitCode::NothingDecoded;
}

} // namespace monitor
