#include <records.h>
#include <variants.h>

#include <vantrel/handlers/readElement.h>

#include <QtCore/QDataStream>
#include <QtCore/QDateTime>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>

namespace
{

/// The defined result, computed with Qt alone.
template <typename N>
N readByQt(const QVariant& field)
{
    if (field.userType() == typeIdOf<N>)
        return *static_cast<const N*>(field.constData());
    QVariant copy = field;
    return convertTo<N>(copy) ? *static_cast<const N*>(copy.constData()) : N(0);
}

template <typename N>
bool sameBits(N a, N b)
{
    return std::memcmp(&a, &b, sizeof a) == 0;
}

template <typename Stored>
void appendEdges(QVector<QVariant>& fields)
{
    using Limits = std::numeric_limits<Stored>;
    for (const Stored value :
         {Stored(0), Stored(1), Stored(-1), Stored(127), Stored(128), Stored(255), Stored(300),
          Stored(32768), Stored(65536), Limits::min(), Limits::max(), Limits::lowest()})
        fields.append(ownVariant<Stored>(value));
    fields.append(nullVariant<Stored>());
    if constexpr (std::is_integral_v<Stored> && sizeof(Stored) == 8) {
        // Just above the midpoint of two floats: rounding to a double first would give the
        // midpoint.
        const Stored aboveMiddle = (Stored(1) << 60) + (Stored(1) << 36) + 1;
        fields.append(ownVariant<Stored>(aboveMiddle));
        fields.append(ownVariant<Stored>(0 - aboveMiddle));
    }
    if constexpr (std::is_floating_point_v<Stored>) {
        for (const double value : {0.5, 1.5, 2.5, -0.5, -1.5, -0.0, 0.49999999999999994, 1e-300})
            fields.append(ownVariant(static_cast<Stored>(value)));
        fields.append(ownVariant(Limits::quiet_NaN()));
        fields.append(ownVariant(Limits::infinity()));
    }
}

/// Variants of every kind that a field may hold.
QVector<QVariant> edgeFields()
{
    QVector<QVariant> fields;
#define APPEND_EDGES(Stored) appendEdges<Stored>(fields);
    VANTREL_ELEMENT_TYPES(APPEND_EDGES)
#undef APPEND_EDGES
    for (const char* text : {"", "0", "7", "-7", "2.5", "1e3", "1e400", "0x10", "x", " 5 ", "256",
                             "99999999999999999999", "nan", "inf"}) {
        fields.append(QString::fromLatin1(text));
        fields.append(QByteArray(text));
    }
    const long plainLong = -70000;
    fields << QVariant() << QVariant(true) << QVariant(false) << QVariant(QChar('5'))
           << QVariant::fromValue(plainLong) << QVariant(QVariantList{1})
           << QVariant(QDateTime::fromSecsSinceEpoch(5)) << QVariant(QString())
           << QVariant::fromValue<char>('a') << QVariant::fromValue(nullptr);
    // Null variants with values other than zero, as a stream may contain them.
    for (const char* bytes :
         {"0000000201fffffff9", "000000030100000007", "00000004010000000000000007",
          "00000005010000000000000007", "00000006014008000000000000"}) {
        QDataStream stream(QByteArray::fromHex(bytes));
        fields.append(QVariant());
        stream >> fields.last();
    }
    return fields;
}

template <typename N>
class ReadElement : public testing::Test
{
};
TYPED_TEST_SUITE(ReadElement, ElementTypes);

} // namespace

TYPED_TEST(ReadElement, AgreesWithQtOnEdgeValuesOfEveryStoredType)
{
    for (const QVariant& field : edgeFields()) {
        EXPECT_TRUE(sameBits(readElement<TypeParam>(field), readByQt<TypeParam>(field)))
            << (field.typeName() != nullptr ? field.typeName() : "invalid") << " "
            << field.toString().toStdString() << ": " << +readElement<TypeParam>(field) << ", not "
            << +readByQt<TypeParam>(field);
    }
}

TYPED_TEST(ReadElement, ElementValueAgreesWithQVariantValueOnEdgeValues)
{
    for (const QVariant& field : edgeFields()) {
        EXPECT_TRUE(sameBits(elementValue<TypeParam>(field), field.value<TypeParam>()))
            << (field.typeName() != nullptr ? field.typeName() : "invalid") << " "
            << field.toString().toStdString() << ": " << +elementValue<TypeParam>(field) << ", not "
            << +field.value<TypeParam>();
    }
}

TEST(ReadElementAsDouble, ElementValueAgreesWithToDoubleOnEdgeValues)
{
    for (const QVariant& field : edgeFields())
        EXPECT_TRUE(sameBits(elementValue<double>(field), field.toDouble())) << field.typeName();
}

TYPED_TEST(ReadElement, AgreesWithQtOnRandomIntegers)
{
    std::mt19937_64 random(5);
    for (int i = 0; i < 20000; ++i) {
        const auto bits = random() >> (random() % 64);
        for (const QVariant& field :
             {QVariant(static_cast<int>(bits)), QVariant(static_cast<uint>(bits)),
              QVariant(static_cast<qlonglong>(bits)), QVariant(static_cast<qulonglong>(bits))}) {
            ASSERT_TRUE(sameBits(readElement<TypeParam>(field), readByQt<TypeParam>(field)))
                << "case " << i << ": " << field.typeName() << " " << bits;
        }
    }
}
