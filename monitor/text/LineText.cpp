#include "LineText.h"

#include <QtCore/QTextCodec>

namespace monitor
{

QString textOf(const QByteArray& line)
{
    QTextCodec::ConverterState state;
    const QString text =
        QTextCodec::codecForName("UTF-8")->toUnicode(line.constData(), line.size(), &state);
    return state.invalidChars + state.remainingChars == 0
               ? text
               : QString::fromLatin1(line.constData(), line.size()); // zero bytes included
}

} // namespace monitor
