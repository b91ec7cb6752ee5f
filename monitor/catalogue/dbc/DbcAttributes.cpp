#include "DbcAttributes.h"

#include <cmath>

namespace monitor
{

namespace
{

constexpr char frameFormat[] = "VFrameFormat";
constexpr char protocolType[] = "ProtocolType";
constexpr char genMsgCycleTime[] = "GenMsgCycleTime";

template <typename Key, typename Value>
const Value* findIn(const QHash<Key, Value>& hash, const Key& key)
{
    const auto found = hash.constFind(key);
    return found == hash.cend() ? nullptr : &*found;
}

} // namespace

void DbcAttributes::define(const QString& attribute, const QStringList& texts)
{
    definitions.insert(attribute, texts);
}

void DbcAttributes::setDefault(const QString& attribute, const DbcValue& value)
{
    defaults.insert(attribute, value);
}

void DbcAttributes::setValue(const QString& attribute, const DbcValue& value)
{
    values.insert(attribute, value);
}

void DbcAttributes::setValue(const QString& attribute, quint32 message, const DbcValue& value)
{
    messageValues[attribute].insert(message, value);
}

std::optional<bool> DbcAttributes::isJ1939(quint32 message) const
{
    const auto format = textOf(QString::fromLatin1(frameFormat), message);
    if (!format)
        return std::nullopt;
    return *format == QLatin1String("J1939PG") || *format == QLatin1String("3");
}

std::optional<bool> DbcAttributes::isJ1939() const
{
    const QString attribute = QString::fromLatin1(protocolType);
    const auto type = textOf(attribute, findIn(values, attribute));
    if (!type || type->isEmpty())
        return std::nullopt;
    return type->compare(QLatin1String("J1939"), Qt::CaseInsensitive) == 0;
}

std::optional<double> DbcAttributes::cycleTime(quint32 message) const
{
    const auto text = textOf(QString::fromLatin1(genMsgCycleTime), message);
    const double milliseconds = text ? text->toDouble() : 0;
    return milliseconds > 0 && std::isfinite(milliseconds) ? std::optional(milliseconds)
                                                           : std::nullopt;
}

/// The text of \a value, or of the default if \a value is null. If the definition has a list of
/// texts, a number is an index into it. No value if the attribute is unknown.
std::optional<QString> DbcAttributes::textOf(const QString& attribute, const DbcValue* value) const
{
    if (value == nullptr) {
        value = findIn(defaults, attribute);
        if (value == nullptr)
            return definitions.contains(attribute) ? std::optional(QString()) : std::nullopt;
    }
    const QStringList texts = definitions.value(attribute);
    return value->isNumber && !texts.isEmpty() ? texts.value(value->text.toInt()) : value->text;
}

/// The same for the value of a message.
std::optional<QString> DbcAttributes::textOf(const QString& attribute, quint32 message) const
{
    const QHash<quint32, DbcValue> ofMessages = messageValues.value(attribute);
    return textOf(attribute, findIn(ofMessages, message));
}

} // namespace monitor
