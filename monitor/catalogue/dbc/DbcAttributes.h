#pragma once

#include <QtCore/QHash>
#include <QtCore/QStringList>

#include <optional>

namespace monitor
{

/// A value as an attribute has it: a text, or a number, which may be an index into a list of texts.
struct DbcValue {
    QString text;
    bool isNumber = false;
};

/// The user-defined attributes of a DBC file that tell how frames are matched: their definitions
/// (BA_DEF_), defaults (BA_DEF_DEF_) and values (BA_), in any order. This class is reentrant.
class DbcAttributes
{
public:
    /// Defines an attribute; \a texts are those of an ENUM, in their order, and empty otherwise.
    void define(const QString& attribute, const QStringList& texts);
    void setDefault(const QString& attribute, const DbcValue& value);

    /// Gives the file that value, or the message of that number in the file.
    void setValue(const QString& attribute, const DbcValue& value);
    void setValue(const QString& attribute, quint32 message, const DbcValue& value);

    /// Whether VFrameFormat declares that the message of that number in the file is one of J1939;
    /// nothing if neither the message has that attribute nor the file defines it.
    std::optional<bool> isJ1939(quint32 message) const;

    /// Whether ProtocolType declares that the file describes J1939; nothing if it does not say.
    std::optional<bool> isJ1939() const;

private:
    std::optional<QString> textOf(const QString& attribute, const DbcValue* value) const;

    QHash<QString, QStringList> definitions;
    QHash<QString, DbcValue> defaults;
    QHash<QString, DbcValue> values; // of the file
    QHash<QString, QHash<quint32, DbcValue>> messageValues;
};

} // namespace monitor
