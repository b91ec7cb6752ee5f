#include "SummarySignal.h"

namespace monitor
{

namespace
{

QString textOf(double number)
{
    constexpr int digits = 17; // all that a double has
    return QString::number(number + 0.0, 'g', digits);
}

QString textOf(bool flag)
{
    return QString::number(flag ? 1 : 0);
}

} // namespace

SummarySignal summarySignalOf(Session& session, int number)
{
    const MonitoredSignal& signal = session.registry().at(number);
    return {signal.message(), signal.identity().source, session.registry().busOf(number),
            signal.description()};
}

QVector<QPair<QString, QString>> definitionOf(const SummarySignal& signal)
{
    const CatalogueSignal& description = signal.description;
    const SignalLayout& layout = description.layout;
    const bool isKnown = signal.isMessageKnown();
    const auto known = [isKnown](const QString& text) {
        return isKnown ? text : QStringLiteral("unknown");
    };
    const auto& limits = description.rules.limits;
    return {
        {"name", description.reportedName},
        {"bus", signal.bus},
        {"source", signal.source ? QString::number(*signal.source) : QString()},
        {"kind", signal.message.protocol == Protocol::J1939 ? "j1939" : "canopen"},
        {"message", known(signal.message.name)},
        {"message_id", known(QString::number(signal.message.id))},
        {"extended", known(textOf(signal.message.extended))},
        {"start_bit", known(QString::number(layout.startBit))},
        {"byte_order", known(layout.byteOrder == ByteOrder::Intel ? "intel" : "motorola")},
        {"length", QString::number(layout.length)},
        {"signed", textOf(layout.isSigned)},
        {"float", textOf(layout.isFloat)},
        {"data_type",
         layout.datatype ? QString::number(static_cast<quint32>(*layout.datatype)) : QString()},
        {"passed_through", textOf(layout.passThrough)},
        {"reserved_values", known(textOf(signal.reservesRawValues()))},
        {"factor", textOf(description.scaling.factor)},
        {"offset", textOf(description.scaling.offset)},
        {"unit", description.scaling.unit},
        {"lower_limit", limits ? textOf(limits->lowest) : QString()},
        {"upper_limit", limits ? textOf(limits->highest) : QString()},
    };
}

QByteArray keyOf(const SummarySignal& signal)
{
    QByteArray key;
    for (const auto& [column, text] : definitionOf(signal)) {
        const QByteArray bytes = text.toUtf8();
        key += QByteArray::number(bytes.size()) + ':' + bytes;
    }
    return key;
}

QString differencesBetween(const SummarySignal& left, const SummarySignal& right)
{
    QStringList differences;
    const auto definition = definitionOf(left);
    const auto other = definitionOf(right);
    for (int i = 0; i < definition.size(); ++i) {
        if (definition.at(i).second != other.at(i).second)
            differences +=
                QStringLiteral("%1: \"%2\" and \"%3\"")
                    .arg(definition.at(i).first, definition.at(i).second, other.at(i).second);
    }
    return differences.join(QStringLiteral(", "));
}

qint64 rawNumber(quint64 bits, const SignalLayout& layout)
{
    return layout.isSigned && !layout.isFloat ? signExtended(bits, layout.length)
                                              : static_cast<qint64>(bits);
}

std::optional<quint64> bitsOfRawNumber(qint64 number, const SignalLayout& layout)
{
    const quint64 bits = static_cast<quint64>(number) & (~quint64{0} >> (64 - layout.length));
    return rawNumber(bits, layout) == number ? std::optional(bits) : std::nullopt;
}

} // namespace monitor
