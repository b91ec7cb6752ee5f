#include <records.h>

#include <QtCore/QByteArray>
#include <QtCore/QDataStream>
#include <QtCore/QDateTime>
#include <QtCore/QPoint>

#include <array>
#include <limits>

namespace
{

CANopenObjectValue sample(CANopenObjectValue value)
{
    value.rawValue = 258;
    value.scaledValue = 0.5;
    value.auxCode1 = -2;
    value.auxCode2 = 3;
    value.auxNumber1 = 1.0;
    value.auxNumber2 = -2.0;
    value.valueTag = -5;
    return value;
}

J1939Value sample(J1939Value value)
{
    value.rawValue = 258;
    value.scaledValue = 0.5;
    value.auxCode1 = -2;
    value.auxCode2 = 3;
    value.valueTag = -5;
    return value;
}

template <typename T>
T sampleOf()
{
    return sample(T());
}

/// A record that differs from sampleOf() in every field, to see which fields a read leaves
/// unchanged.
template <typename T>
T target()
{
    T value;
    value.rawValue = QStringLiteral("old raw");
    value.scaledValue = QStringLiteral("old scaled");
    value.valueTag = 77;
    value.isInvalid = true;
    value.auxCode1 = 44;
    value.auxCode2 = 55;
    if constexpr (std::is_same_v<T, CANopenObjectValue>) {
        value.auxNumber1 = 66.0;
        value.auxNumber2 = 67.0;
    }
    return value;
}

/// All fields of a record, including those that are not in its stream format.
QVector<QVariant> allFields(const CANopenObjectValue& value)
{
    return {value.rawValue, value.scaledValue, value.valueTag,   value.isInvalid,
            value.auxCode1, value.auxCode2,    value.auxNumber1, value.auxNumber2};
}

QVector<QVariant> allFields(const J1939Value& value)
{
    return {value.rawValue,  value.scaledValue, value.valueTag,
            value.isInvalid, value.auxCode1,    value.auxCode2};
}

QVector<QVariant> streamedFields(const CANopenObjectValue& value)
{
    return {value.rawValue,   value.scaledValue, value.auxCode1, value.auxCode2,
            value.auxNumber1, value.auxNumber2,  value.valueTag};
}

QVector<QVariant> streamedFields(const J1939Value& value)
{
    return {value.rawValue, value.scaledValue, value.valueTag};
}

template <typename T>
QByteArray written(const T& value, int version = QDataStream::Qt_5_15,
                   QDataStream::ByteOrder order = QDataStream::BigEndian)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream.setVersion(version);
    stream.setByteOrder(order);
    stream << value;
    return bytes;
}

/// Big-endian QVariant encodings of Qt 4.0 and later: type id, null flag, value.
const QByteArray int258 = QByteArray::fromHex("00000002 00 00000102");
const QByteArray half = QByteArray::fromHex("00000006 00 3fe0000000000000");

QByteArray expectedBytes(const CANopenObjectValue&)
{
    return QByteArray::fromHex("0001") + int258 + half +
           QByteArray::fromHex("fe 03 3ff0000000000000 c000000000000000 fffffffb");
}

QByteArray expectedBytes(const J1939Value&)
{
    return QByteArray::fromHex("0001") + int258 + half + QByteArray::fromHex("fffffffb");
}

template <typename T>
class RecordStream : public testing::Test
{
};
TYPED_TEST_SUITE(RecordStream, RecordTypes);

} // namespace

TYPED_TEST(RecordStream, WritesTheFieldsInTheOrderOfTheFormat)
{
    const auto value = sampleOf<TypeParam>();
    EXPECT_EQ(written(value).toHex(), expectedBytes(value).toHex());
}

TEST(CANopenRecordStream, TakesTwentyFourBytesPlusTheVariants)
{
    EXPECT_EQ(written(sampleOf<CANopenObjectValue>()).size(), 24 + int258.size() + half.size());
}

TEST(J1939RecordStream, TakesSixBytesPlusTheVariants)
{
    EXPECT_EQ(written(sampleOf<J1939Value>()).size(), 6 + int258.size() + half.size());
}

TEST(CANopenRecordStream, ReadingRestoresEveryFieldExceptIsInvalid)
{
    QDataStream stream(written(sampleOf<CANopenObjectValue>()));
    auto value = target<CANopenObjectValue>();
    stream >> value;
    EXPECT_EQ(streamedFields(value), streamedFields(sampleOf<CANopenObjectValue>()));
    EXPECT_TRUE(value.isInvalid);
    EXPECT_TRUE(stream.atEnd());
    EXPECT_EQ(stream.status(), QDataStream::Ok);
}

TEST(J1939RecordStream, ReadingRestoresEveryFieldExceptIsInvalidAndTheAuxCodes)
{
    QDataStream stream(written(sampleOf<J1939Value>()));
    auto value = target<J1939Value>();
    stream >> value;
    EXPECT_EQ(streamedFields(value), streamedFields(sampleOf<J1939Value>()));
    EXPECT_TRUE(value.isInvalid);
    EXPECT_EQ(value.auxCode1, 44);
    EXPECT_EQ(value.auxCode2, 55);
    EXPECT_TRUE(stream.atEnd());
    EXPECT_EQ(stream.status(), QDataStream::Ok);
}

TYPED_TEST(RecordStream, OperatorsReturnTheirStream)
{
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    EXPECT_EQ(&(out << sampleOf<TypeParam>()), &out);
    QDataStream in(bytes);
    TypeParam value;
    EXPECT_EQ(&(in >> value), &in);
    EXPECT_EQ(&(in >> value), &in); // at the end of the stream
}

TYPED_TEST(RecordStream, EveryKindOfVariantIsRestored)
{
    const QVector<QVariant> kinds{QVariant(),
                                  true,
                                  -7,
                                  7U,
                                  std::numeric_limits<qlonglong>::min(),
                                  std::numeric_limits<qulonglong>::max(),
                                  1.5F,
                                  -0.1,
                                  QVariant::fromValue<signed char>(-3),
                                  QVariant::fromValue<short>(-300),
                                  QVariant::fromValue<uchar>(200),
                                  QVariant::fromValue<ushort>(60000),
                                  QStringLiteral("Öl 5 °C"),
                                  QByteArray("\0\1\2", 3),
                                  QDateTime(QDate(2026, 1, 31), QTime(12, 30), Qt::UTC),
                                  QVariantList{1, QStringLiteral("two"), 3.0},
                                  QPoint(3, -4)};
    for (const QVariant& kind : kinds) {
        TypeParam original;
        original.rawValue = kind;
        original.scaledValue = kind;
        QDataStream stream(written(original));
        auto value = target<TypeParam>();
        stream >> value;
        EXPECT_EQ(value.rawValue, kind) << kind.typeName();
        EXPECT_EQ(value.rawValue.userType(), kind.userType()) << kind.typeName();
        EXPECT_EQ(value.scaledValue, kind) << kind.typeName();
    }
}

TYPED_TEST(RecordStream, AnEmptyStreamLeavesTheRecordUnchanged)
{
    QDataStream stream(QByteArray{});
    auto value = target<TypeParam>();
    stream >> value;
    EXPECT_EQ(allFields(value), allFields(target<TypeParam>()));
    EXPECT_EQ(stream.status(), QDataStream::ReadPastEnd);
}

TYPED_TEST(RecordStream, AnUnknownVersionConsumesTwoBytesAndLeavesTheRecordUnchanged)
{
    for (const char* version : {"0002", "0000", "ffff", "0101", "7fff", "8001"}) {
        QByteArray bytes = written(sampleOf<TypeParam>());
        bytes.replace(0, 2, QByteArray::fromHex(version));
        QDataStream stream(bytes);
        auto value = target<TypeParam>();
        stream >> value;
        EXPECT_EQ(allFields(value), allFields(target<TypeParam>())) << version;
        EXPECT_EQ(stream.device()->pos(), 2) << version;
        EXPECT_EQ(stream.status(), QDataStream::Ok) << version;
    }
}

TYPED_TEST(RecordStream, TheNextReadStartsRightAfterAnUnknownVersion)
{
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    out << qint16(2) << sampleOf<TypeParam>();
    QDataStream in(bytes);
    auto value = target<TypeParam>();
    in >> value >> value;
    EXPECT_EQ(streamedFields(value), streamedFields(sampleOf<TypeParam>()));
}

TYPED_TEST(RecordStream, AVectorOfRecordsIsRestored)
{
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    out << QVector<TypeParam>(100, sampleOf<TypeParam>());
    QDataStream in(bytes);
    QVector<TypeParam> records;
    in >> records;
    ASSERT_EQ(records.size(), 100);
    for (const TypeParam& record : records)
        EXPECT_EQ(streamedFields(record), streamedFields(sampleOf<TypeParam>()));
    EXPECT_TRUE(in.atEnd());
}

TYPED_TEST(RecordStream, EveryTruncationSetsTheStatusAndKeepsFieldsThatAreNotStreamed)
{
    const QByteArray whole = written(sampleOf<TypeParam>());
    for (int length = 0; length < whole.size(); ++length) {
        QDataStream stream(whole.left(length));
        auto value = target<TypeParam>();
        stream >> value;
        EXPECT_EQ(stream.status(), QDataStream::ReadPastEnd) << length;
        EXPECT_TRUE(value.isInvalid) << length;
        if (length < 2) {
            EXPECT_EQ(allFields(value), allFields(target<TypeParam>())) << length;
        }
        // Values that are complete in the stream have been read.
        if (length >= 2 + int258.size()) {
            EXPECT_EQ(value.rawValue, QVariant(258)) << length;
        }
        if (length >= 2 + int258.size() + half.size()) {
            EXPECT_EQ(value.scaledValue, QVariant(0.5)) << length;
        }
    }
}

TYPED_TEST(RecordStream, UsesTheByteOrderAndVersionOfTheStream)
{
    for (const auto order : {QDataStream::BigEndian, QDataStream::LittleEndian}) {
        for (int version = QDataStream::Qt_4_0; version <= QDataStream::Qt_5_15; ++version) {
            QDataStream stream(written(sampleOf<TypeParam>(), version, order));
            stream.setVersion(version);
            stream.setByteOrder(order);
            auto value = target<TypeParam>();
            stream >> value;
            EXPECT_EQ(streamedFields(value), streamedFields(sampleOf<TypeParam>())) << version;
            EXPECT_TRUE(stream.atEnd()) << version;
        }
    }
}

TYPED_TEST(RecordStream, ADifferentByteOrderIsAnUnknownVersion)
{
    QDataStream stream(
        written(sampleOf<TypeParam>(), QDataStream::Qt_5_15, QDataStream::LittleEndian));
    auto value = target<TypeParam>();
    stream >> value;
    EXPECT_EQ(allFields(value), allFields(target<TypeParam>()));
    EXPECT_EQ(stream.device()->pos(), 2);
}

TEST(CANopenRecordStream, UsesTheFloatingPointPrecisionOfTheStream)
{
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    out.setFloatingPointPrecision(QDataStream::SinglePrecision);
    out << sampleOf<CANopenObjectValue>();
    // Both numbers and the double variant take four bytes less each.
    EXPECT_EQ(bytes.size(), 24 + int258.size() + half.size() - 3 * 4);
    QDataStream in(bytes);
    in.setFloatingPointPrecision(QDataStream::SinglePrecision);
    CANopenObjectValue value;
    in >> value;
    EXPECT_EQ(streamedFields(value), streamedFields(sampleOf<CANopenObjectValue>()));
}

TYPED_TEST(RecordStream, WritingKeepsTheStatusOfTheStream)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream.setStatus(QDataStream::ReadCorruptData);
    stream << sampleOf<TypeParam>();
    EXPECT_EQ(stream.status(), QDataStream::ReadCorruptData);
}

TYPED_TEST(RecordStream, OperatorsKeepTheSettingsOfTheStream)
{
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::ReadWrite);
    out.setByteOrder(QDataStream::LittleEndian);
    out.setVersion(QDataStream::Qt_5_6);
    out.setFloatingPointPrecision(QDataStream::SinglePrecision);
    TypeParam value;
    out << sampleOf<TypeParam>();
    out.device()->seek(0);
    out >> value;
    EXPECT_EQ(out.byteOrder(), QDataStream::LittleEndian);
    EXPECT_EQ(out.version(), int(QDataStream::Qt_5_6));
    EXPECT_EQ(out.floatingPointPrecision(), QDataStream::SinglePrecision);
}

TYPED_TEST(RecordStream, AFlaggedRecordComesBackAsAValidOne)
{
    auto flagged = sampleOf<TypeParam>();
    flagged.isInvalid = true;
    QDataStream stream(written(flagged));
    TypeParam value;
    stream >> value;
    EXPECT_EQ(streamedFields(value), streamedFields(flagged));
    EXPECT_FALSE(value.isInvalid);
}
