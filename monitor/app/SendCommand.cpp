#include "SendCommand.h"

#include "printProblems.h"
#include "sources/bus/BusConnection.h"
#include "sources/bus/BusSender.h"
#include "sources/recording/formats.h"

namespace monitor
{

namespace
{

void printCounts(const BusSender& sender, const SourceCounts& counts, QTextStream& output)
{
    output << "sent        " << sender.sent() << '\n'
           << "not sent    " << counts.errorFrames << " error frame(s), " << sender.unfit()
           << " of a length that no frame has\n";
}

} // namespace

ExitCode send(const SendOptions& options, QTextStream& output, QTextStream& messages)
{
    const OpenedRecording recording = openRecording(options.recording);
    QString error = recording.error;
    BusConnection connection;
    if (error.isEmpty())
        error = connection.connect(options.bus);
    if (!error.isEmpty()) {
        messages << error << '\n';
        return ExitCode::WrongUse;
    }
    FrameSource& source = *recording.source;
    BusSender sender(connection.device(), source, options.speed);
    const QString busError = sender.send();
    connection.disconnect();
    print(source.problems(), messages);
    printCounts(sender, source.counts(), output);
    if (!busError.isEmpty())
        messages << options.bus.name() << ": " << busError << '\n';
    if (!source.error().isEmpty())
        messages << source.error() << '\n';
    if (!busError.isEmpty() || !source.error().isEmpty())
        return ExitCode::WrongUse;
    if (sender.sent() > 0)
        return ExitCode::Success;
    messages << options.recording << ": holds no frame that can be sent\n";
    return ExitCode::NothingDecoded;
}

} // namespace monitor
