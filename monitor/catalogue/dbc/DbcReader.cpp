#include "DbcReader.h"

#include "DbcLine.h"
#include "text/LineReader.h"

#include <QtCore/QRegularExpression>

#include <algorithm>

namespace monitor
{

namespace
{

/// The message of this name and id lists the signals that belong to no message.
constexpr char independentSignals[] = "VECTOR__INDEPENDENT_SIG_MSG";
constexpr char independentId[] = "3221225472";

QString keywordOf(const QString& line)
{
    static const QRegularExpression pattern(QStringLiteral(R"(^\s*(\w+))"));
    return pattern.match(line).captured(1);
}

/// Whether a quoted text begins or ends in \a line, which then has an odd number of quotation
/// marks.
bool beginsOrEndsText(const QString& line)
{
    QString unescaped = line;
    unescaped.remove(QLatin1String("\\\""));
    return unescaped.count('"') % 2 != 0;
}

auto countOf(Multiplexing multiplexing, const MessageDescription& message)
{
    const auto& descriptions = message.signalDescriptions;
    return std::count_if(
        descriptions.begin(), descriptions.end(),
        [multiplexing](const auto& signal) { return signal.layout.multiplexing == multiplexing; });
}

/// Removes the signals for which \a unwanted returns true. Returns whether there were any.
template <typename Predicate>
bool removeSignals(MessageDescription& message, Predicate unwanted)
{
    auto& descriptions = message.signalDescriptions;
    const auto first = std::remove_if(descriptions.begin(), descriptions.end(), unwanted);
    const bool found = first != descriptions.end();
    descriptions.erase(first, descriptions.end());
    return found;
}

} // namespace

void DbcReader::readLine(qint64 number, const QByteArray& bytes)
{
    const QString line = textOf(bytes);
    const QString keyword = textBegunInLine == 0 ? keywordOf(line) : QString();
    if (keyword == QLatin1String("BO_"))
        readMessage(number, line);
    else if (keyword == QLatin1String("SG_"))
        readSignal(number, line);
    else if (keyword == QLatin1String("SIG_VALTYPE_"))
        readValueType(number, line);
    else if (keyword == QLatin1String("BA_"))
        readAttribute(number, line);
    else
        skip(number, line);
}

QVector<MessageDescription> DbcReader::finish()
{
    if (textBegunInLine != 0)
        problems.add(textBegunInLine, QStringLiteral("missing closing quotation mark"));
    for (MessageDescription& message : messages) {
        removeSignals(message, [](const auto& signal) { return signal.layout.length == 0; });
        dropUnclearSignals(message);
    }
    return std::move(messages);
}

void DbcReader::readMessage(qint64 number, const QString& line)
{
    MessageDescription message;
    const bool isIndependent = line.contains(QLatin1String(independentSignals));
    holder = isIndependent ? SignalHolder::Independent : SignalHolder::None;
    if (isIndependent)
        return;
    const QString error = readDbcMessage(line, message);
    if (!error.isEmpty()) {
        problems.add(number, error);
        return;
    }
    message.line = number;
    messages.append(message);
    holder = SignalHolder::Message;
}

void DbcReader::readSignal(qint64 number, const QString& line)
{
    if (holder == SignalHolder::Independent)
        return;
    if (holder == SignalHolder::None) {
        problems.add(number, QStringLiteral("signal (SG_) without a message"));
        return;
    }
    SignalDescription signal;
    const QString error = readDbcSignal(line, messages.last().size, signal);
    if (!error.isEmpty()) {
        problems.add(number, error);
        return;
    }
    messages.last().signalDescriptions.append(signal);
}

QVector<SignalDescription*> DbcReader::find(const QString& dbcId, const QString& signalName)
{
    QVector<SignalDescription*> found;
    MessageDescription wanted;
    if (!readDbcId(dbcId, wanted))
        return found;
    for (MessageDescription& message : messages) {
        if (message.id != wanted.id || message.extended != wanted.extended)
            continue;
        for (SignalDescription& signal : message.signalDescriptions) {
            if (signal.name == signalName)
                found += &signal;
        }
    }
    return found;
}

// These lines follow all messages. Reading the bits of an IEEE number as an integer would give
// wrong statistics, so a signal of a different length is dropped.
void DbcReader::readValueType(qint64 number, const QString& line)
{
    static const QRegularExpression pattern(
        QStringLiteral(R"(^\s*SIG_VALTYPE_\s+(\d+)\s+(\w+)\s*:?\s*([0-3])\s*;)"));
    const QRegularExpressionMatch match = pattern.match(line);
    if (line.simplified() == QLatin1String("SIG_VALTYPE_"))
        return; // in the list of keywords at the beginning of the file
    if (!match.hasMatch()) {
        problems.add(number, QStringLiteral("value type (SIG_VALTYPE_) cannot be parsed"));
        return;
    }
    const auto found = find(match.captured(1), match.captured(2));
    if (found.isEmpty() && match.captured(1) != QLatin1String(independentId))
        problems.add(number, QStringLiteral("value type (SIG_VALTYPE_) is for an unknown signal"));
    const int floatBits[] = {0, 32, 64, 0};
    for (SignalDescription* signal : found)
        setFloat(number, floatBits[match.captured(3).toInt()], *signal);
}

/// Makes \a signal an IEEE number of \a bits, or an integer if \a bits is 0.
void DbcReader::setFloat(qint64 number, int bits, SignalDescription& signal)
{
    signal.layout.isFloat = bits != 0;
    if (bits == 0 || signal.layout.length == bits)
        return;
    signal.layout.length = 0;
    problems.add(number, QStringLiteral("floating-point signal is not decoded: it is not %1 bits "
                                        "long")
                             .arg(bits));
}

void DbcReader::readAttribute(qint64 number, const QString& line)
{
    static const QRegularExpression pattern(
        QStringLiteral(R"RE(^\s*BA_\s+"SPN"\s+SG_\s+(\d+)\s+(\w+)\s+(\d+)\s*;)RE"));
    const QRegularExpressionMatch match = pattern.match(line);
    if (!match.hasMatch() || match.captured(1) == QLatin1String(independentId)) {
        skip(number, line);
        return;
    }
    constexpr quint32 lastSpn = 0x7FFFF; // 19 bits
    bool isNumber = false;
    const quint32 spn = match.captured(3).toUInt(&isNumber);
    const auto found = find(match.captured(1), match.captured(2));
    if (found.isEmpty() || !isNumber || spn > lastSpn) {
        problems.add(number, QStringLiteral("SPN out of range, or no such signal"));
        return;
    }
    for (SignalDescription* signal : found)
        signal->spn = spn;
}

void DbcReader::dropUnclearSignals(MessageDescription& message)
{
    if (countOf(Multiplexing::Multiplexor, message) == 1 &&
        countOf(Multiplexing::Nested, message) == 0)
        return;
    const auto dependsOnAnother = [](const SignalDescription& signal) {
        return signal.layout.multiplexing == Multiplexing::Multiplexed ||
               signal.layout.multiplexing == Multiplexing::Nested;
    };
    if (removeSignals(message, dependsOnAnother))
        problems.add(message.line, QStringLiteral("multiplexed signals of this message are not "
                                                  "decoded: it needs exactly one multiplexor"));
}

void DbcReader::skip(qint64 number, const QString& line)
{
    if (beginsOrEndsText(line))
        textBegunInLine = textBegunInLine == 0 ? number : 0;
}

ReadDescription readDbcFile(const DescriptionFile& file)
{
    ReadDescription read;
    read.problems = Problems(file.fileName, QStringLiteral("problem(s) found"));
    LineReader lines(file.fileName);
    DbcReader reader(read.problems);
    for (QByteArray line; lines.readLine(line);)
        reader.readLine(lines.lineNumber(), line);
    read.messages = reader.finish();
    read.error = lines.error();
    return read;
}

} // namespace monitor
