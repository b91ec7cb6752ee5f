#include "ExportFile.h"

#include "text/LineCursor.h"
#include "text/WholeFile.h"
#include "views/statisticsFields.h"

#include <QtCore/QFileInfo>
#include <QtCore/QLocale>

namespace monitor
{

namespace
{

constexpr int bufferSize = 1 << 20;
const QByteArray header = QByteArrayLiteral("time,signal,source,raw,value,text,unit,bus\r\n");

/// A time in seconds, with nine decimals.
QByteArray secondsOf(qint64 nanoseconds)
{
    return QByteArray::number(nanoseconds / nanosecondsPerSecond) + '.' +
           QByteArray::number(nanoseconds % nanosecondsPerSecond).rightJustified(9, '0');
}

/// A number with enough digits to read the same number back, a text, or bytes in hexadecimal.
QByteArray plainValueOf(const QVariant& value)
{
    switch (value.userType()) {
    case QMetaType::QByteArray:
        return value.toByteArray().toHex(' ');
    case QMetaType::Float:
    case QMetaType::Double:
        return QByteArray::number(value.toDouble(), 'g', QLocale::FloatingPointShortest);
    case QMetaType::QString:
        return toCsvCell(value.toString()).toUtf8();
    default:
        return value.toByteArray();
    }
}

} // namespace

QString ExportFile::check()
{
    QFile present(file.fileName());
    const QString refused = file.fileName() + QStringLiteral(": cannot be written: ");
    if (file.fileName() == QLatin1String("-"))
        return refused + QStringLiteral("standard output is for the statistics; name a file");
    if (present.exists() && !QFileInfo(present).isFile())
        return refused + QStringLiteral("not a regular file");
    // So that a recording or description is not replaced by mistake.
    if (present.exists() && present.size() > 0 &&
        !(present.open(QIODevice::ReadOnly) && present.peek(header.size()) == header))
        return refused + QStringLiteral("the file exists and has other contents");
    if (!file.open(QIODevice::WriteOnly | QIODevice::Unbuffered))
        return cannotBeWritten(file);
    lines = header;
    return QString();
}

void ExportFile::take(const RecordedValue& value)
{
    const SignalStatistics& signal = value.signal.identity();
    if (value.nanoseconds)
        lines += secondsOf(*value.nanoseconds);
    lines += ',' + toCsvCell(signal.name).toUtf8() + ',';
    if (signal.source)
        lines += QByteArray::number(*signal.source);
    lines += ',' + plainValueOf(value.raw()) + ',' + plainValueOf(value.scaled());
    for (const QString& text : {value.text(), signal.unit, value.bus})
        lines += ',' + toCsvCell(text).toUtf8();
    lines += "\r\n";
    if (lines.size() >= bufferSize)
        flush();
}

QString ExportFile::error() const
{
    return isIntact ? QString() : couldNotBeCompleted(file);
}

void ExportFile::flush()
{
    isIntact = isIntact && writeAll(file, lines.constData(), lines.size());
    lines.resize(0);
}

OutputResult ExportFile::write(const FinishedRun& /*run*/, const OutputProgress& /*progress*/)
{
    flush();
    if (!isIntact)
        return {error(), {}};
    return {commitWhole(file) ? QString() : cannotBeWritten(file), {}};
}

} // namespace monitor
