#include <engine/saving/PlainRecord.h>
#include <readSeries.h>
#include <records.h>
#include <variants.h>

#include <QtCore/QBitArray>
#include <QtCore/QBuffer>
#include <QtCore/QDateTime>
#include <QtCore/QPoint>
#include <QtCore/QStringList>

using monitor::nextRecordIsPlain;

namespace
{

template <typename T>
class PlainRecord : public testing::Test
{
protected:
    static T recordOf(const QVariant& raw, const QVariant& scaled)
    {
        T record;
        record.rawValue = raw;
        record.scaledValue = scaled;
        return record;
    }

    static QByteArray written(const T& record, int version = QDataStream::Qt_5_15)
    {
        QByteArray bytes;
        QDataStream stream(&bytes, QIODevice::WriteOnly);
        stream.setVersion(version);
        stream << record;
        return bytes;
    }

    static bool isPlain(const QByteArray& bytes)
    {
        QDataStream stream(bytes);
        return nextRecordIsPlain(stream);
    }

    /// A record whose raw value has the type id \a typeId and consists of zeros.
    static QByteArray ofType(quint32 typeId)
    {
        QByteArray bytes;
        QDataStream stream(&bytes, QIODevice::WriteOnly);
        stream << qint16(1) << typeId << qint8(0);
        return bytes + QByteArray(64, '\0');
    }
};
TYPED_TEST_SUITE(PlainRecord, RecordTypes);

QVector<QVariant> plainValues()
{
    return {QVariant(),
            true,
            1,
            1U,
            1LL,
            1ULL,
            0.5,
            0.5F,
            ownVariant<signed char>(-1),
            ownVariant<unsigned char>(1),
            ownVariant<short>(-1),
            ownVariant<unsigned short>(1),
            QVariant::fromValue('c'),
            QVariant::fromValue(1L),
            QVariant::fromValue(1UL),
            QString(),
            QStringLiteral("rpm"),
            QByteArray(),
            QByteArray("\0\1", 2)};
}

} // namespace

TYPED_TEST(PlainRecord, PlainValuesAreAcceptedAsRawAndScaledValue)
{
    for (const QVariant& value : plainValues()) {
        EXPECT_TRUE(this->isPlain(this->written(this->recordOf(value, 1)))) << value.typeName();
        EXPECT_TRUE(this->isPlain(this->written(this->recordOf(1, value)))) << value.typeName();
    }
}

TYPED_TEST(PlainRecord, OtherValuesAreRejectedAsRawAndScaledValue)
{
    const QVector<QVariant> others{
        QVariantList{1}, QVariantMap{}, QStringList{}, QDateTime::currentDateTime(),
        QPoint(1, 2),    QBitArray(3),  QChar('c'),    QDate(2020, 1, 1)};
    for (const QVariant& value : others) {
        EXPECT_FALSE(this->isPlain(this->written(this->recordOf(value, 1)))) << value.typeName();
        EXPECT_FALSE(this->isPlain(this->written(this->recordOf(1, value)))) << value.typeName();
    }
}

TYPED_TEST(PlainRecord, OnlyTheTypeIdsOfPlainValuesAreAccepted)
{
    const QVector<quint32> plain{0, 1, 2, 3, 4, 5, 6, 10, 12, 32, 33, 34, 35, 36, 37, 38, 40};
    for (quint32 typeId = 0; typeId < 2000; ++typeId)
        EXPECT_EQ(this->isPlain(this->ofType(typeId)), plain.contains(typeId)) << typeId;
    for (const quint32 typeId : {0x7fffffffU, 0x80000000U, 0xffffffffU})
        EXPECT_FALSE(this->isPlain(this->ofType(typeId))) << typeId;
}

TYPED_TEST(PlainRecord, TruncationWithinEitherValueIsRejected)
{
    for (const QVariant& value : plainValues()) {
        const QByteArray whole = this->written(this->recordOf(value, value));
        const auto tail = this->written(TypeParam()).size() - 2 - 2 * 5;
        for (int length = 0; length < whole.size() - tail; ++length)
            EXPECT_FALSE(this->isPlain(whole.left(length))) << value.typeName() << ' ' << length;
        for (auto length = whole.size() - tail; length <= whole.size(); ++length)
            EXPECT_TRUE(this->isPlain(whole.left(length))) << value.typeName() << ' ' << length;
    }
}

TYPED_TEST(PlainRecord, TruncationLeavesPositionAndStatusOfTheStreamUnchanged)
{
    const QByteArray before("before");
    const QByteArray whole = this->written(this->recordOf(QStringLiteral("rpm"), 0.5));
    for (int length = 0; length <= whole.size(); ++length) {
        QDataStream stream(before + whole.left(length));
        stream.skipRawData(static_cast<int>(before.size()));
        static_cast<void>(nextRecordIsPlain(stream));
        EXPECT_EQ(stream.device()->pos(), before.size()) << length;
        EXPECT_EQ(stream.status(), QDataStream::Ok) << length;
    }
}

TYPED_TEST(PlainRecord, AcceptedRecordIsReadAsWritten)
{
    for (const QVariant& value : plainValues()) {
        QDataStream stream(this->written(this->recordOf(value, 7)));
        ASSERT_TRUE(nextRecordIsPlain(stream)) << value.typeName();
        TypeParam record;
        stream >> record;
        EXPECT_EQ(record.rawValue, value) << value.typeName();
        EXPECT_EQ(record.rawValue.userType(), value.userType()) << value.typeName();
        EXPECT_EQ(record.scaledValue, QVariant(7)) << value.typeName();
        EXPECT_TRUE(stream.atEnd()) << value.typeName();
    }
}

TYPED_TEST(PlainRecord, TextsUpToTheMaximumLengthInBytesAreAccepted)
{
    QDataStream text(this->written(this->recordOf(QString(50, 'x'), 1)));
    EXPECT_TRUE(nextRecordIsPlain(text, 100));
    EXPECT_FALSE(nextRecordIsPlain(text, 99));
    QDataStream bytes(this->written(this->recordOf(1, QByteArray(50, 'x'))));
    EXPECT_TRUE(nextRecordIsPlain(bytes, 50));
    EXPECT_FALSE(nextRecordIsPlain(bytes, 49));
}

TYPED_TEST(PlainRecord, TextWithAnOddNumberOfBytesIsRejected)
{
    // In the second value, because the byte left over there would pass for the fields that follow.
    QByteArray bytes = this->written(this->recordOf(QVariant(), QStringLiteral("ab")));
    ASSERT_EQ(bytes.mid(12, 4), QByteArray::fromHex("00000004"));
    bytes[15] = 3;
    EXPECT_FALSE(this->isPlain(bytes));
}

TYPED_TEST(PlainRecord, UnknownVersionIsRejected)
{
    QByteArray bytes = this->written(this->recordOf(1, 1));
    for (const char* version : {"0000", "0002", "0101", "ffff"})
        EXPECT_FALSE(this->isPlain(bytes.replace(0, 2, QByteArray::fromHex(version)))) << version;
}

TYPED_TEST(PlainRecord, UsesByteOrderAndPrecisionOfTheStream)
{
    for (const auto order : {QDataStream::BigEndian, QDataStream::LittleEndian}) {
        for (const auto precision : {QDataStream::SinglePrecision, QDataStream::DoublePrecision}) {
            QBuffer buffer;
            buffer.open(QIODevice::ReadWrite);
            QDataStream stream(&buffer);
            stream.setByteOrder(order);
            stream.setFloatingPointPrecision(precision);
            stream << this->recordOf(0.5F, 0.25) << this->recordOf(0.5, QPoint());
            buffer.seek(0);
            ASSERT_TRUE(nextRecordIsPlain(stream));
            TypeParam record;
            stream >> record;
            EXPECT_EQ(record.scaledValue, QVariant(0.25));
            EXPECT_FALSE(nextRecordIsPlain(stream));
        }
    }
}

TYPED_TEST(PlainRecord, StreamVersionsWithOtherTypeIdsAreRejected)
{
    for (int version = QDataStream::Qt_1_0; version <= QDataStream::Qt_5_15; ++version) {
        QDataStream stream(this->written(this->recordOf(1, 1), version));
        stream.setVersion(version);
        EXPECT_EQ(nextRecordIsPlain(stream), version >= QDataStream::Qt_5_0) << version;
    }
}

TYPED_TEST(PlainRecord, FailedStreamIsRejectedAndKeepsItsStatus)
{
    QDataStream stream(this->written(this->recordOf(1, 1)));
    stream.setStatus(QDataStream::ReadCorruptData);
    EXPECT_FALSE(nextRecordIsPlain(stream));
    EXPECT_EQ(stream.status(), QDataStream::ReadCorruptData);
}

/// The function shown in docs/host-guide.md.
class DocumentedReader : public testing::Test
{
protected:
    static QByteArray written(const QVariant& raw)
    {
        QByteArray bytes;
        QDataStream stream(&bytes, QIODevice::WriteOnly);
        stream << rawRecord<J1939Value>(raw);
        return bytes;
    }

    static QVector<QVariant> rawValuesRead(const QByteArray& bytes)
    {
        QDataStream stream(bytes);
        QVector<QVariant> rawValues;
        for (const J1939Value& record : readSeries(stream))
            rawValues.append(record.rawValue);
        return rawValues;
    }
};

TEST_F(DocumentedReader, ReadsEveryRecordOfAPlainStream)
{
    EXPECT_EQ(rawValuesRead({}), QVector<QVariant>{});
    EXPECT_EQ(rawValuesRead(written(1) + written(2) + written(3)), (QVector<QVariant>{1, 2, 3}));
}

TEST_F(DocumentedReader, StopsBeforeARecordThatIsNotPlain)
{
    const QByteArray list = written(QVariantList{1});
    EXPECT_EQ(rawValuesRead(written(1) + list + written(2)), QVector<QVariant>{1});
}

TEST_F(DocumentedReader, OmitsATruncatedRecord)
{
    const QByteArray whole = written(2);
    for (int length = 0; length < whole.size(); ++length)
        EXPECT_EQ(rawValuesRead(written(1) + whole.left(length)), QVector<QVariant>{1}) << length;
}
