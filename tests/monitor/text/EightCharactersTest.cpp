#include <text/eightCharacters.h>

#include <gtest/gtest.h>

#include <QtCore/QByteArray>

#include <cctype>
#include <random>

using namespace monitor;

namespace
{

/// Eight digits with up to two other characters among them, so that few and many digits lead.
class Samples
{
public:
    QByteArray next(const QByteArray& digits)
    {
        QByteArray text;
        while (text.size() < 8)
            text += digits.at(static_cast<int>(random() % static_cast<uint>(digits.size())));
        for (auto others = random() % 3; others > 0; --others)
            text[static_cast<int>(random() % 8)] = static_cast<char>(random());
        return text;
    }

private:
    std::mt19937 random{8};
};

/// Compares \a counted with the number of leading characters that \a isCounted accepts.
void expectCounts(const QByteArray& digits, int (*counted)(quint64 characters),
                  bool (*isCounted)(unsigned char character))
{
    Samples samples;
    for (int i = 0; i < 100000; ++i) {
        const QByteArray text = samples.next(digits);
        int expected = 0;
        while (expected < 8 && isCounted(static_cast<unsigned char>(text.at(expected))))
            ++expected;
        ASSERT_EQ(counted(eightCharacters(text.constData())), expected) << text.toHex().constData();
    }
}

} // namespace

TEST(EightCharacters, LeadingCharactersAreCounted)
{
    expectCounts("0123456789", leadingDecimalDigits,
                 [](unsigned char c) { return c >= '0' && c <= '9'; });
    expectCounts("0123456789ABCDEFabcdef", leadingHexDigits,
                 [](unsigned char c) { return c < 0x80 && std::isxdigit(c) != 0; });
    expectCounts(" ", leadingBlanks, [](unsigned char c) { return c == ' '; });
    expectCounts("ab!~0", leadingPrintable, [](unsigned char c) { return c > ' ' && c < 0x80; });
}

TEST(EightCharacters, DigitsBecomeNumbers)
{
    for (const quint32 number : {0U, 1U, 10203040U, 12345678U, 90909090U, 99999999U}) {
        const QByteArray text = QByteArray::number(number).rightJustified(8, '0');
        EXPECT_EQ(decimalValue(eightCharacters(text.constData())), number);
    }
    for (const quint32 number : {0U, 1U, 0x9ABCDEFU, 0xFEDCBA98U, 0x18F00E00U, 0xFFFFFFFFU}) {
        const QByteArray text = QByteArray::number(number, 16).rightJustified(8, '0');
        EXPECT_EQ(hexValue(eightCharacters(text.constData())), number);
        EXPECT_EQ(hexValue(eightCharacters(text.toUpper().constData())), number);
        EXPECT_EQ(hexBytes(eightCharacters(text.constData())), qbswap(number));
    }
}

TEST(EightCharacters, FewerDigitsAreFilledUp)
{
    const quint64 characters = eightCharacters("12345678");
    EXPECT_EQ(firstCharacters(characters, 8), characters);
    EXPECT_EQ(firstCharacters(characters, 3), quint64{0x333231});
    EXPECT_EQ(firstCharacters(characters, 0), 0U);
    EXPECT_EQ(decimalValue(withLeadingZeros(characters, 8)), 12345678U);
    EXPECT_EQ(decimalValue(withLeadingZeros(characters, 3)), 123U);
    EXPECT_EQ(decimalValue(withLeadingZeros(characters, 1)), 1U);
}

TEST(EightCharacters, SpacedBytesAreCountedAndRead)
{
    std::mt19937 random(24);
    for (int i = 0; i < 200000; ++i) {
        QByteArray text;
        while (text.size() < spacedBytesSize)
            text += ' ' + QByteArray::number(static_cast<uint>(256 + random() % 256), 16).mid(1);
        for (auto others = random() % 3; others > 0; --others)
            text[static_cast<int>(random() % spacedBytesSize)] = static_cast<char>(random());
        QByteArray expected;
        const auto isDigit = [&text](int place) {
            return std::isxdigit(static_cast<uchar>(text.at(place))) != 0;
        };
        for (int at = 0;
             at < text.size() && text.at(at) == ' ' && isDigit(at + 1) && isDigit(at + 2); at += 3)
            expected += QByteArray::fromHex(text.mid(at + 1, 2));
        quint64 bytes = 0;
        ASSERT_EQ(spacedBytes(text.constData(), bytes), expected.size()) << text.constData();
        for (int byte = 0; byte < expected.size(); ++byte)
            ASSERT_EQ(static_cast<char>(bytes >> 8 * byte), expected.at(byte)) << text.constData();
    }
}
