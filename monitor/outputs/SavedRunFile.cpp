#include "SavedRunFile.h"

#include "engine/saving/SavedSignal.h"
#include "text/WholeFile.h"

#include <QtCore/QFileInfo>

namespace monitor
{

QString SavedRunOutput::check()
{
    QFile present(file.fileName());
    const QString refused = file.fileName() + QStringLiteral(": cannot be written: ");
    if (present.exists() && !QFileInfo(present).isFile())
        return refused + QStringLiteral("not a regular file");
    if (present.exists() && !present.open(QIODevice::ReadOnly))
        return refused + QStringLiteral("the file exists and cannot be read: ") +
               present.errorString();
    if (present.size() > 0 && present.peek(savedRunMagicSize) != savedRunMagic)
        return refused + QStringLiteral("the file exists and is not a saved run");
    // With a buffer, the reason of an error would be lost.
    return file.open(QIODevice::WriteOnly | QIODevice::Unbuffered) ? QString()
                                                                   : cannotBeWritten(file);
}

OutputResult SavedRunOutput::write(const FinishedRun& run, const OutputProgress& /*progress*/)
{
    if (!file.isOpen()) {
        QString error = check();
        if (!error.isEmpty())
            return {std::move(error), {}};
    }
    if (!writer.finish(run.session))
        return {writer.error(), {}};
    return {commitWhole(file) ? QString() : cannotBeWritten(file), {}};
}

} // namespace monitor
