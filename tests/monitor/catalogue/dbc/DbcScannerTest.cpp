#include <catalogue/dbc/DbcScanner.h>

#include <gtest/gtest.h>

using monitor::DbcScanner;
using monitor::decodeDbc;

namespace
{

const QString text = QString::fromUtf8("Größe °C");

} // namespace

TEST(DbcText, IsReadAsUtf8OrElseAsCodePage1252)
{
    EXPECT_EQ(decodeDbc(text.toUtf8()), text);
    EXPECT_EQ(decodeDbc(text.toLatin1()), text);
    EXPECT_EQ(decodeDbc("\x80 \xB5 \x99"), QString::fromUtf8("€ µ ™"));
    EXPECT_EQ(decodeDbc("\x81\x8D\x8F\x90\x9D"), QString(5, QChar(0xFFFD)));
}

TEST(DbcText, ByteOrderMarkDeterminesTheEncoding)
{
    const QByteArray littleEndian(reinterpret_cast<const char*>(text.utf16()), 2 * text.size());
    QByteArray bigEndian = littleEndian;
    for (int i = 0; i < bigEndian.size(); i += 2)
        std::swap(bigEndian.data()[i], bigEndian.data()[i + 1]);
    EXPECT_EQ(decodeDbc("\xEF\xBB\xBF" + text.toUtf8()), text);
    EXPECT_EQ(decodeDbc("\xFF\xFE" + littleEndian), text);
    EXPECT_EQ(decodeDbc("\xFE\xFF" + bigEndian), text);
}

TEST(DbcScanner, BlanksLineEndsAndCommentsSeparateWords)
{
    DbcScanner scanner("a\tb\r\nc // d \" e\n// f\n  g:h//");
    for (const char* word : {"a", "b", "c", "g"})
        EXPECT_EQ(scanner.takeWord(), QString(word));
    EXPECT_EQ(scanner.line(), 4);
    EXPECT_EQ(scanner.takeWord(), QString());
    EXPECT_TRUE(scanner.take(':'));
    EXPECT_FALSE(scanner.take(':'));
    EXPECT_EQ(scanner.peekWord(), QString("h"));
    EXPECT_EQ(scanner.takeWord(), QString("h"));
    EXPECT_TRUE(scanner.atEnd());
    EXPECT_TRUE(scanner.peek().isNull());
}

TEST(DbcScanner, TextsCanSpanSeveralLinesAndContainQuotationMarks)
{
    DbcScanner scanner("\"a\nb \\\" \\n //\"\"\" x");
    EXPECT_EQ(scanner.takeText(), QString("a\nb \" \\n //"));
    EXPECT_EQ(scanner.line(), 2);
    EXPECT_EQ(scanner.takeText(), QString(""));
    EXPECT_EQ(scanner.takeText(), std::nullopt);
    EXPECT_EQ(scanner.takeWord(), QString("x"));
    EXPECT_EQ(scanner.lineOfOpenText(), 0);
}

TEST(DbcScanner, UnterminatedTextExtendsToTheEndAndItsLineIsRemembered)
{
    DbcScanner scanner("\n\n\"a\nb");
    EXPECT_EQ(scanner.takeText(), std::nullopt);
    EXPECT_TRUE(scanner.atEnd());
    EXPECT_EQ(scanner.lineOfOpenText(), 3);
}

TEST(DbcScanner, UnterminatedUnitEndsAtTheEndOfItsLine)
{
    DbcScanner scanner("\"km\n/h\" \"a\n SG_ \"c\"");
    EXPECT_EQ(scanner.takeUnit(), QString("km\n/h"));
    EXPECT_EQ(scanner.takeUnit(), std::nullopt);
    EXPECT_EQ(scanner.takeWord(), QString("SG_"));
    EXPECT_EQ(scanner.line(), 3);
    EXPECT_EQ(scanner.takeUnit(), QString("c"));
    EXPECT_EQ(scanner.lineOfOpenText(), 0);
}

TEST(DbcScanner, AllCommonLineEndingsAreAccepted)
{
    DbcScanner scanner("a // b\rc // d\r\n\"e\r\nf\" g");
    EXPECT_EQ(scanner.takeWord(), QString("a"));
    EXPECT_EQ(scanner.takeWord(), QString("c"));
    EXPECT_EQ(scanner.takeText(), QString("e\nf"));
    EXPECT_EQ(scanner.line(), 4);
}

TEST(DbcScanner, SectionEndsAtItsSemicolonOrBeforeAKeywordOnANewLine)
{
    DbcScanner scanner("BA_ \";\" BO_ 1; next \" BO_\n BO_\" \n BO_ x");
    EXPECT_EQ(scanner.takeWord(), QString("BA_"));
    scanner.skipSection();
    EXPECT_EQ(scanner.takeWord(), QString("next"));
    scanner.skipSection();
    EXPECT_EQ(scanner.takeWord(), QString("BO_"));
    EXPECT_EQ(scanner.line(), 3);
}

TEST(DbcScanner, SignalEndsBeforeAnyKeyword)
{
    DbcScanner scanner("A,B; \"SG_\" SG_X SG_ y");
    scanner.skipToKeyword();
    EXPECT_EQ(scanner.takeWord(), QString("SG_"));
    EXPECT_EQ(scanner.takeWord(), QString("y"));
    scanner.skipToKeyword();
    EXPECT_TRUE(scanner.atEnd());
}
