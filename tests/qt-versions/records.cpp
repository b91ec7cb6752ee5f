// records write VERSION: writes records with raw values of many types to the standard output, at
// the given version of QDataStream. records read VERSION: reads them from the standard input, and
// fails if they are not the same. One process can be built with Qt 5 and the other with Qt 6.

#include <variants.h>

#include <vantrel/values/CANopenObjectValue.h>
#include <vantrel/values/J1939Value.h>

#include <QtCore/QBitArray>
#include <QtCore/QDateTime>
#include <QtCore/QFile>
#include <QtCore/QIODevice>
#include <QtCore/QPoint>
#include <QtCore/QStringList>
#include <QtCore/QUrl>
#include <QtCore/QUuid>
#include <QtCore/QVariant>
#include <QtCore/QVector>

#include <cstdio>
#include <cstdlib>
#include <limits>

namespace
{

template <typename N>
void appendNumbers(QVector<QVariant>& values)
{
    using Limits = std::numeric_limits<N>;
    for (const N number : {N(0), N(7), Limits::lowest(), Limits::max()})
        values.append(QVariant::fromValue(number));
    values.append(nullVariant<N>());
    if (Limits::has_infinity)
        values << QVariant::fromValue(Limits::quiet_NaN())
               << QVariant::fromValue(Limits::infinity())
               << QVariant::fromValue(-Limits::infinity()) << QVariant::fromValue(N(-0.0));
}

/// Raw values of all types that both versions of Qt can write.
QVector<QVariant> rawValues()
{
    QVector<QVariant> values;
    appendNumbers<double>(values);
    appendNumbers<float>(values);
    appendNumbers<int>(values);
    appendNumbers<uint>(values);
    appendNumbers<qlonglong>(values);
    appendNumbers<qulonglong>(values);
    appendNumbers<long>(values);
    appendNumbers<ulong>(values);
    appendNumbers<short>(values);
    appendNumbers<ushort>(values);
    appendNumbers<signed char>(values);
    appendNumbers<uchar>(values);
    appendNumbers<char>(values);
    values << QVariant() << QVariant(true) << QVariant(false) << QVariant(QString())
           << QVariant(QStringLiteral("")) << QVariant(QStringLiteral("12.5 \u00b0C"))
           << QVariant(QByteArray()) << QVariant(QByteArray(""))
           << QVariant(QByteArray("\0\xff", 2)) << QVariant(QChar(u'5'))
           << QVariant(QDate(2026, 1, 31)) << QVariant(QTime(1, 2, 3, 4))
           << QVariant(QDateTime(QDate(2026, 1, 31), QTime(1, 2, 3), Qt::UTC))
           << QVariant(QVariantList{1, QStringLiteral("two"), 3.0})
           << QVariant(QStringList{QStringLiteral("a"), QString()})
           << QVariant(QVariantMap{{QStringLiteral("key"), 1}}) << QVariant(QBitArray(9, true))
           << QVariant(QUuid(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11))
           << QVariant(QUrl(QStringLiteral("file:///a"))) << QVariant(QPoint(1, -2));
    values << QVariant::fromValue(nullptr); // last: its null flag differs
    return values;
}

template <typename T>
T recordWith(const QVariant& raw, int number)
{
    T record;
    record.rawValue = raw;
    record.scaledValue = number + 0.5;
    record.valueTag = number;
    if constexpr (std::is_same_v<T, CANopenObjectValue>) {
        record.auxCode1 = -1;
        record.auxCode2 = 2;
        record.auxNumber1 = number;
        record.auxNumber2 = -0.25;
    }
    return record;
}

template <typename T>
QByteArray bytesOf(const T& record, int version)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream.setVersion(version);
    stream << record;
    return bytes;
}

/// Calls \a call with a record of each type for each raw value.
template <typename Call>
void forEachRecord(Call call)
{
    const QVector<QVariant> values = rawValues();
    for (int i = 0; i < values.size(); ++i) {
        call(recordWith<CANopenObjectValue>(values.at(i), i));
        call(recordWith<J1939Value>(values.at(i), i));
    }
}

int write(int version)
{
    QFile output;
    if (!output.open(stdout, QIODevice::WriteOnly))
        return EXIT_FAILURE;
    QDataStream stream(&output);
    stream.setVersion(version);
    forEachRecord([&](const auto& record) { stream << record; });
    return stream.status() == QDataStream::Ok ? EXIT_SUCCESS : EXIT_FAILURE;
}

int read(int version)
{
    QFile input;
    if (!input.open(stdin, QIODevice::ReadOnly))
        return EXIT_FAILURE;
    QDataStream stream(input.readAll());
    stream.setVersion(version);
    int count = 0;
    int different = 0;
    forEachRecord([&](const auto& written) {
        std::decay_t<decltype(written)> record;
        stream >> record;
        ++count;
        const int type = written.rawValue.userType();
        if (record.rawValue.userType() == type &&
            (type == QMetaType::Nullptr || bytesOf(record, version) == bytesOf(written, version)))
            return;
        ++different;
        std::fprintf(stderr, "record %d: %s was read as %s, or with another value\n", count,
                     written.rawValue.typeName(), record.rawValue.typeName());
    });
    std::printf("%d records, %d different\n", count, different);
    return different == 0 && stream.status() == QDataStream::Ok && stream.atEnd() ? EXIT_SUCCESS
                                                                                  : EXIT_FAILURE;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 3)
        return EXIT_FAILURE;
    const int version = std::atoi(argv[2]);
    return QByteArray(argv[1]) == "write" ? write(version) : read(version);
}
