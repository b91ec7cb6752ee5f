#pragma once

#include "catalogue/DescriptionFile.h"

namespace monitor
{

/// Reads a DBC description line by line: messages (BO_), their signals (SG_), which of these are
/// IEEE numbers (SIG_VALTYPE_) and their SPNs (BA_). Everything else is skipped, including texts of
/// several lines and signals that belong to no message. Such a line that is not understood is a
/// problem, and the rest is used. This class is reentrant.
class DbcReader
{
public:
    explicit DbcReader(Problems& found) : problems(found) {}

    /// Reads the line of that \a number, counted from 1.
    void readLine(qint64 number, const QByteArray& line);

    /// To be called after the last line. The messages in the order of the file.
    QVector<MessageDescription> finish();

private:
    /// The owner of the next signals: none, the last message, or intentionally none.
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

/// The messages of a DBC file. The node is ignored.
[[nodiscard]] ReadDescription readDbcFile(const DescriptionFile& file);

} // namespace monitor
