// Prints how the library reads, compares and streams variants of many types and values, one result
// per line: "operation|variant|element type or other variant|result".

#include <variants.h>

#include <vantrel/handlers/GenericValueHandler.h>
#include <vantrel/handlers/elementTypes.h>
#include <vantrel/signal/GenericSignalImpl.h>

#include <QtCore/QBitArray>
#include <QtCore/QCborArray>
#include <QtCore/QCborMap>
#include <QtCore/QCborValue>
#include <QtCore/QDataStream>
#include <QtCore/QDateTime>
#include <QtCore/QHash>
#include <QtCore/QIODevice>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>
#include <QtCore/QJsonValue>
#include <QtCore/QLine>
#include <QtCore/QLocale>
#include <QtCore/QPoint>
#include <QtCore/QRect>
#include <QtCore/QSize>
#include <QtCore/QStringList>
#include <QtCore/QUrl>
#include <QtCore/QUuid>
#include <QtCore/QVariant>
#include <QtCore/qfloat16.h>

#include <cmath>
#include <cstdio>
#include <limits>
#include <set>
#include <string>
#include <vector>

struct OwnType {
    int number;
};
enum OwnEnum { Five = 5 };
Q_DECLARE_METATYPE(OwnType)
enum class OwnByteEnum : quint8 { Five = 5 };
enum class OwnLongEnum : qint64 { Five = 5 };
Q_DECLARE_METATYPE(OwnEnum)
Q_DECLARE_METATYPE(OwnByteEnum)
Q_DECLARE_METATYPE(OwnLongEnum)
#if QT_VERSION_MAJOR == 5
Q_DECLARE_METATYPE(char16_t)
Q_DECLARE_METATYPE(char32_t)
#endif

namespace
{

struct Field {
    std::string name;
    QVariant value;
};
using Fields = std::vector<Field>;

template <typename N>
std::string textOf(N number)
{
    if constexpr (std::is_floating_point_v<N>) {
        if (std::isnan(number))
            return "nan";
        char text[40];
        std::snprintf(text, sizeof text, "%.17g", static_cast<double>(number));
        return text;
    } else {
        return std::to_string(number);
    }
}

template <typename N>
void appendNumbers(Fields& fields, const std::string& type)
{
    using Limits = std::numeric_limits<N>;
    std::set<std::string> texts;
    const auto append = [&](N number) {
        if (texts.insert(textOf(number)).second)
            fields.push_back({type + ' ' + textOf(number), QVariant::fromValue(number)});
    };
    for (const int number : {0,   1,    -1,   2,   5,   -5,  7,     -7,    10,     16,    1000, 127,
                             128, -128, -129, 255, 256, 300, 32767, 32768, -32768, 65535, 65536})
        append(static_cast<N>(number));
    append(Limits::max());
    append(Limits::lowest());
    if constexpr (std::is_floating_point_v<N>) {
        for (const double number : {0.5,
                                    1.5,
                                    2.5,
                                    0.25,
                                    0.75,
                                    0.49999999999999994,
                                    0.5000000000000001,
                                    1.4999999999999998,
                                    127.5,
                                    128.5,
                                    255.5,
                                    32767.5,
                                    65535.5,
                                    2147483647.0,
                                    2147483647.5,
                                    2147483648.0,
                                    2147483648.5,
                                    4294967295.5,
                                    4294967296.0,
                                    4503599627370495.5,
                                    4503599627370497.0,
                                    9007199254740991.0,
                                    9223372036854774784.0,
                                    9223372036854775808.0,
                                    18446744073709549568.0,
                                    18446744073709551616.0,
                                    1e19,
                                    1e20,
                                    3.4e38,
                                    3.5e38,
                                    1e39,
                                    1e300,
                                    1e-300,
                                    1e-46,
                                    5e-324}) {
            if (number > static_cast<double>(Limits::max()))
                continue;
            append(static_cast<N>(number));
            append(static_cast<N>(-number));
        }
        append(Limits::infinity());
        append(-Limits::infinity());
        append(Limits::quiet_NaN());
    } else if constexpr (sizeof(N) == 8) {
        for (const N number : {N(1) << 31, N(1) << 32, (N(1) << 53) + 1, (N(1) << 60) + 1}) {
            append(number);
            append(static_cast<N>(0 - number));
        }
    }
    fields.push_back({type + " null", nullVariant<N>()});
}

void appendTexts(Fields& fields)
{
    for (const char* text : {"",
                             "0",
                             "1",
                             "5",
                             "7",
                             "-7",
                             "2.5",
                             "-2.5",
                             "1e3",
                             "1e39",
                             "1e300",
                             "-1e300",
                             "1e400",
                             "-1e400",
                             "1e-46",
                             "1e-400",
                             "0x10",
                             "010",
                             "x",
                             " 5 ",
                             "256",
                             "128",
                             "32768",
                             "65536",
                             "-1",
                             "3000000000",
                             "4294967296",
                             "9223372036854775808",
                             "18446744073709551615",
                             "18446744073709551616",
                             "-9223372036854775809",
                             "nan",
                             "inf",
                             "-inf",
                             "+5",
                             "1,5",
                             "1,000",
                             "true",
                             "false",
                             "5.",
                             ".5",
                             "5e",
                             "--5",
                             "3.4028235e38",
                             "3.4028236e38",
                             "\t5",
                             "- 5",
                             "INF",
                             "infinity",
                             "-nan",
                             "0b1",
                             "0x1p3",
                             "5f",
                             "1e-5",
                             "1E3",
                             "-0",
                             "00",
                             "TRUE",
                             "2001-02-03",
                             "2001-02-03T00:00:00Z",
                             "00:00:05",
                             "{00000005-0000-0000-0000-000000000000}"}) {
        const std::string quoted = '"' + std::string(text) + '"';
        fields.push_back({"QString " + quoted, QString::fromLatin1(text)});
        fields.push_back({"QByteArray " + quoted, QByteArray(text)});
    }
    fields.push_back({"QString null", QString()});
    fields.push_back({"QByteArray null", QByteArray()});
    fields.push_back({"QString \"5\\0\"", QString::fromLatin1("5\0", 2)});
    fields.push_back({"QByteArray \"5\\0\"", QByteArray("5\0", 2)});
    fields.push_back({"QString of another digit 3", QString(QChar(0x663))});
    // Whitespace and signs outside ASCII. A byte array contains them in UTF-8.
    for (const char16_t* text :
         {u"\u00a05", u"5\u00a0", u"\u00a02.5", u"\u00851", u"\u20095", u"5\u2009", u"\u30005",
          u"\u22125", u"\u22122.5", u"\uff0b5", u"\uff15"}) {
        const QString string = QString::fromUtf16(text);
        std::string quoted = "\"";
        for (const QChar character : string) {
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\u%04x", uint(character.unicode()));
            quoted += character.unicode() < 128 ? std::string(1, character.toLatin1()) : escape;
        }
        fields.push_back({"QString " + quoted + '"', string});
        fields.push_back({"QByteArray " + quoted + '"', string.toUtf8()});
    }
}

void appendOthers(Fields& fields)
{
    const Field others[] = {
        {"invalid", QVariant()},
        {"bool true", true},
        {"bool false", false},
        {"bool null", nullVariant<bool>()},
        {"QChar 5", QChar(u'5')},
        {"QChar 0", QChar(0)},
        {"char16_t 5", QVariant::fromValue(u'5')},
        {"char32_t 5", QVariant::fromValue(U'5')},
        {"qfloat16 2.5", QVariant::fromValue(qfloat16(2.5F))},
        {"nullptr", QVariant::fromValue(nullptr)},
        {"QVariantList", QVariantList{1}},
        {"QVariantList of double 0.5", QVariantList{0.5}},
        {"QVariantList of double 0.49999999999999994", QVariantList{0.49999999999999994}},
        {"QVariantList of QString", QVariantList{QStringLiteral("1")}},
        {"QStringList", QStringList{QStringLiteral("1")}},
        {"QVariantMap", QVariantMap{{QStringLiteral("1"), 1}}},
        {"QVariantMap of double 0.5", QVariantMap{{QStringLiteral("1"), 0.5}}},
        {"QVariantMap of double 0.49999999999999994",
         QVariantMap{{QStringLiteral("1"), 0.49999999999999994}}},
        {"QVariantMap of QString", QVariantMap{{QStringLiteral("1"), QStringLiteral("1")}}},
        {"QVariantHash", QVariantHash{{QStringLiteral("1"), 1}}},
        {"QDateTime", QDateTime::fromSecsSinceEpoch(5, Qt::UTC)},
        {"QDateTime invalid", QDateTime()},
        {"QDateTime at midnight", QDateTime(QDate(2001, 2, 3), QTime(0, 0), Qt::UTC)},
        {"QDate", QDate(2001, 2, 3)},
        {"QDate invalid", QDate()},
        {"QTime", QTime(0, 0, 5)},
        {"QTime invalid", QTime()},
        {"QUrl", QUrl(QStringLiteral("5"))},
        {"QUrl empty", QUrl()},
        {"QUuid", QUuid(5, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0)},
        {"QUuid null", QUuid()},
        {"QPoint", QPoint(1, 2)},
        {"QPointF", QPointF(1, 2)},
        {"QSize", QSize(1, 2)},
        {"QSizeF", QSizeF(1, 2)},
        {"QRect", QRect(1, 2, 3, 4)},
        {"QRectF", QRectF(1, 2, 3, 4)},
        {"QLine", QLine(1, 2, 3, 4)},
        {"QLineF", QLineF(1, 2, 3, 4)},
        {"QBitArray", QBitArray(5, true)},
        {"QLocale", QLocale::c()},
        {"QJsonValue 5", QVariant::fromValue(QJsonValue(5))},
        {"QJsonValue 2.5", QVariant::fromValue(QJsonValue(2.5))},
        {"QJsonValue -2.5", QVariant::fromValue(QJsonValue(-2.5))},
        {"QJsonValue 0.5", QVariant::fromValue(QJsonValue(0.5))},
        {"QJsonValue 9007199254740993", QVariant::fromValue(QJsonValue(qint64(9007199254740993)))},
        {"QJsonValue 1e10", QVariant::fromValue(QJsonValue(1e10))},
        {"QJsonValue 1e19", QVariant::fromValue(QJsonValue(1e19))},
        {"QJsonValue 1e20", QVariant::fromValue(QJsonValue(1e20))},
        {"QJsonValue -1e20", QVariant::fromValue(QJsonValue(-1e20))},
        {"QJsonValue text", QVariant::fromValue(QJsonValue(QStringLiteral("5")))},
        {"QJsonValue true", QVariant::fromValue(QJsonValue(true))},
        {"QJsonValue null", QVariant::fromValue(QJsonValue())},
        {"QJsonArray", QVariant::fromValue(QJsonArray{1})},
        {"QJsonObject", QVariant::fromValue(QJsonObject{{QStringLiteral("1"), 1}})},
        {"QCborValue 5", QVariant::fromValue(QCborValue(5))},
        {"QCborValue -5", QVariant::fromValue(QCborValue(-5))},
        {"QCborValue 2.5", QVariant::fromValue(QCborValue(2.5))},
        {"QCborValue -2.5", QVariant::fromValue(QCborValue(-2.5))},
        {"QCborValue 1e20", QVariant::fromValue(QCborValue(1e20))},
        {"QCborValue -1e20", QVariant::fromValue(QCborValue(-1e20))},
        {"QCborValue true", QVariant::fromValue(QCborValue(true))},
        {"QCborValue text", QVariant::fromValue(QCborValue(QStringLiteral("5")))},
        {"QCborValue null", QVariant::fromValue(QCborValue(nullptr))},
        {"QCborArray", QVariant::fromValue(QCborArray{1})},
        {"QCborMap", QVariant::fromValue(QCborMap{{QStringLiteral("1"), 1}})},
        {"OwnType", QVariant::fromValue(OwnType{5})},
        {"OwnByteEnum 5", QVariant::fromValue(OwnByteEnum::Five)},
        {"OwnLongEnum 5", QVariant::fromValue(OwnLongEnum::Five)},
        {"OwnEnum 2", QVariant::fromValue(static_cast<OwnEnum>(2))},
        {"OwnEnum 5", QVariant::fromValue(Five)}};
    fields.insert(fields.end(), std::begin(others), std::end(others));
    // Values that are marked as null, as a stream may contain them.
    for (const char* bytes :
         {"0000000201fffffff9", "000000030100000007", "00000004010000000000000007",
          "00000005010000000000000007", "00000006014008000000000000", "000000010101",
          "00000021010007", "000000250107", "00000020010000000000000007", "0000000a01000000020037",
          "0000000c010000000137"}) {
        QDataStream stream(QByteArray::fromHex(bytes));
        stream.setVersion(QDataStream::Qt_5_15);
        QVariant value;
        stream >> value;
        fields.push_back({std::string("marked null ") + value.typeName(), value});
    }
}

Fields allFields()
{
    Fields fields;
    appendNumbers<double>(fields, "double");
    appendNumbers<float>(fields, "float");
    appendNumbers<int>(fields, "int");
    appendNumbers<uint>(fields, "uint");
    appendNumbers<qlonglong>(fields, "qlonglong");
    appendNumbers<qulonglong>(fields, "qulonglong");
    appendNumbers<long>(fields, "long");
    appendNumbers<ulong>(fields, "ulong");
    appendNumbers<short>(fields, "short");
    appendNumbers<ushort>(fields, "ushort");
    appendNumbers<signed char>(fields, "signed char");
    appendNumbers<uchar>(fields, "uchar");
    appendNumbers<char>(fields, "char");
    appendTexts(fields);
    appendOthers(fields);
    return fields;
}

void print(const char* operation, const std::string& field, const char* with,
           const std::string& result)
{
    std::printf("%s|%s|%s|%s\n", operation, field.c_str(), with, result.c_str());
}

/// The data type whose element type is \a N.
template <typename N>
constexpr quint32 dataType()
{
    if constexpr (std::is_floating_point_v<N>)
        return sizeof(N) == 4 ? 0x08 : 0x11;
    else if constexpr (std::is_signed_v<N>)
        return sizeof(N) == 8 ? 0x15 : sizeof(N) == 4 ? 4 : sizeof(N) + 1;
    else
        return sizeof(N) == 8 ? 0x1B : sizeof(N) == 4 ? 7 : sizeof(N) + 4;
}

template <typename N>
void printReadings(const Fields& fields, const char* element)
{
    using Handler = GenericValueHandler<N, CANopenObjectValue>;
    GenericSignalImpl<CANopenObjectValue> replacing;
    GenericSignalImpl<CANopenObjectValue> appending;
    for (auto* signal : {&replacing, &appending})
        signal->setDatatype(static_cast<CAN::CANopenDataType>(dataType<N>()));
    appending.setValueHandling(GenericSignal::NewValueHandlingType::Append);
    for (const Field& field : fields) {
        CANopenObjectValue scaled;
        scaled.rawValue = field.value;
        Handler::setTypeBasedScaledValue(scaled, 1, 0);
        print("scaled", field.name, element, textOf(scaled.scaledValue.value<N>()));

        CANopenObjectValue record;
        record.scaledValue = field.value;
        print("maximum of series", field.name, element, textOf(Handler::getMax({record})));
        appending.clearValues();
        appending.setNewValue(record);
        print("median", field.name, element, textOf(appending.calcMedian()));
        record.isInvalid = true; // so it is fed without being scaled
        replacing.clearValues();
        replacing.setNewValue(record, 1, 0);
        print("fed", field.name, element, textOf(replacing.getMax()));
    }
}

} // namespace

int main()
{
    const Fields fields = allFields();
#define PRINT_READINGS(N) printReadings<N>(fields, #N);
    VANTREL_ELEMENT_TYPES(PRINT_READINGS)
#undef PRINT_READINGS
    GenericSignalImpl<CANopenObjectValue> signal;
    for (const Field& field : fields) {
        CANopenObjectValue record;
        record.rawValue = field.value;
        signal.setNewValue(record);
        print("deviators", field.name, "", textOf(signal.getDeviators(1).size()));
        print("isNull", field.name, "", textOf(static_cast<int>(field.value.isNull())));
        for (const Field& other : fields) {
            CANopenObjectValue second;
            second.rawValue = other.value;
            print("equal", field.name, other.name.c_str(), record == second ? "1" : "0");
        }
        if (field.name.rfind("Own", 0) == 0)
            continue; // needs stream operators of its own
        QByteArray bytes;
        QDataStream out(&bytes, QIODevice::WriteOnly);
        out.setVersion(QDataStream::Qt_5_15);
        out << record.rawValue;
        print("streamed", field.name, "", bytes.toHex().toStdString());
    }
    return 0;
}
