#pragma once

#include <QtCore/QHash>
#include <QtCore/QStringList>

#include <optional>

namespace monitor
{

/// The value of an attribute: a text or a number. The number may be an index into a list of texts.
struct DbcValue {
    QString text;
    bool isNumber = false;
};

/// The user-defined attributes of a DBC file that declare J1939 and cycle times: their definitions
/// (BA_DEF_), defaults (BA_DEF_DEF_) and values (BA_), in any order. This class is reentrant.
class DbcAttributes
{
public:
    /// Defines an attribute. \a texts are the values of an ENUM, in order; empty for other types.
    void define(const QString& attribute, const QStringList& texts);
    void setDefault(const QString& attribute, const DbcValue& value);

    /// Sets the value for the file, or for the message with that number.
    void setValue(const QString& attribute, const DbcValue& value);
    void setValue(const QString& attribute, quint32 message, const DbcValue& value);

    /// Whether VFrameFormat declares the message with that number as J1939. No value if the message
    /// does not have that attribute and the file does not define it.
    std::optional<bool> isJ1939(quint32 message) const;

    /// Whether ProtocolType declares the file as J1939. No value if it declares nothing.
    std::optional<bool> isJ1939() const;

    /// GenMsgCycleTime of the message with that number, in ms. No value if it is 0 or less, not a
    /// number, or unknown.
    std::optional<double> cycleTime(quint32 message) const;

private:
    std::optional<QString> textOf(const QString& attribute, const DbcValue* value) const;
    std::optional<QString> textOf(const QString& attribute, quint32 message) const;

    QHash<QString, QStringList> definitions;
    QHash<QString, DbcValue> defaults;
    QHash<QString, DbcValue> values; // of the file
    QHash<QString, QHash<quint32, DbcValue>> messageValues;
};

} // namespace monitor
