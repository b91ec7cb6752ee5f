#pragma once

#include "catalogue/DescriptionFile.h"

namespace monitor
{

/// Reads a DBC description line by line: messages (BO_) and their signals (SG_), the signals that
/// are IEEE numbers (SIG_VALTYPE_), and SPNs (BA_). Everything else is skipped, including texts of
/// several lines and signals that belong to no message. A line of these kinds that cannot be used
/// is reported as a problem, and the rest is read. This class is reentrant.
class DbcReader
{
public:
    explicit DbcReader(Problems& found) : problems(found) {}

    /// Reads the line of that \a number, counted from 1.
    void readLine(qint64 number, const QByteArray& line);

    /// Call this after the last line. Returns the messages in the order of the file.
    QVector<MessageDescription> finish();

private:
    /// The owner of the next signals: missing, the last message, or the one of independent signals.
    enum class SignalHolder { None, Message, Independent };

    void readMessage(qint64 number, const QString& line);
    void readSignal(qint64 number, const QString& line);
    void readValueType(qint64 number, const QString& line);
    void readAttribute(qint64 number, const QString& line);
    void setFloat(qint64 number, int bits, SignalDescription& signal);
    QVector<SignalDescription*> find(const QString& dbcId, const QString& signalName);
    void dropUnclearSignals(MessageDescription& message);
    void skip(qint64 number, const QString& line);

    Problems& problems;
    QVector<MessageDescription> messages;
    SignalHolder holder = SignalHolder::None;
    qint64 textBegunInLine = 0; // 0: not within a text
};

/// Reads a DBC file. The node is ignored.
[[nodiscard]] ReadDescription readDbcFile(const DescriptionFile& file);

} // namespace monitor
